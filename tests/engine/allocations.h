// How often the process has asked the heap for memory. Whoever links allocations.cpp replaces operator new.
#pragma once

#include <cstddef>

namespace test {

size_t allocations();

}  // namespace test
