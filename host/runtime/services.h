// The services as this library defines them. It hides everything by default; their declarations have no visibility
// attribute, so they get it here.
#pragma once

#include <cstddef>
#include <cstdint>

#pragma GCC visibility push(default)
#include "platform/runtime.h"
#pragma GCC visibility pop
