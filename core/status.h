// The statuses of operations. Callers know them by number.
#pragma once

#include <cstdint>

namespace zar {

enum Status : uint32_t {
  kSuccess = 0,
  kCheckFailed = 1,       // from the verify operations
  kFailed = 37,           // a step failed
  kNoMemory = 38,         // a pool or an allocation returned nothing
  kInvalidArgument = 39,  // an argument was refused
  kNothingFound = 40,     // nothing (more) to find in a parameter-map
  kTreeFailed = 41,       // a tree refused an insert, a delete, a search or a walk
};

// The results of the tree operations, the counting operations and the matchers.
constexpr uint32_t kYes = 1;
constexpr uint32_t kNo = 0;

// The domain type of a CONTROL policy-map, the one whose rule list holds events.
constexpr uint32_t kControl = 1;

}  // namespace zar
