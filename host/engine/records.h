// The numbers in repository records that the engine uses, and the state that it keeps outside the records.
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

// The state of a target, created on first use; NULL if the handle is not a target's or there is no memory.
TargetState *state_of(uint32_t target);

// The current observer, or NULL.
extern Observer *current_observer;

}  // namespace engine
