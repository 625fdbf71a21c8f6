// The services as this library defines them. It hides everything by default, except what this header declares.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/runtime.h"
