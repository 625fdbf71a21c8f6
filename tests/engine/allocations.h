// How often the process has requested memory from the heap. A program that links allocations.cpp replaces operator new.
#pragma once

#include <cstddef>

namespace test {

size_t allocations();

}  // namespace test
