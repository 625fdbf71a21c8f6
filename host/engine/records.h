// The numbers in repository records that the engine acts on, and the state it keeps beside the records.
#pragma once

#include <cstdint>

#include "engine/engine.h"

namespace engine {

inline constexpr uint32_t kInvalidArgument = 39;

inline constexpr uint32_t kControl = 1;  // domain type

enum ClassMatch : uint32_t { kClassMatchAll = 1, kClassMatchAny = 2, kClassMatchNone = 3 };
enum EventMatch : uint32_t { kEventMatchAll = 1, kEventMatchFirst = 2 };
enum ExecCriteria : uint32_t { kRunAll = 1, kStopOnFailure = 2, kStopOnSuccess = 3 };

// What the engine keeps for a target, in 'ae_context' of the target's policy context.
struct TargetState {
  Attributes attributes;
};

// The state of a target, made on first use; NULL when the handle is not a target's or memory is short.
TargetState *state_of(uint32_t target);

// The observer in force, or NULL.
extern Observer *current_observer;

}  // namespace engine
