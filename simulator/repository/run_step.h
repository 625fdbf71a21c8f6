// Runs the events of a scenario on a repository.
#pragma once

#include "engine/engine.h"
#include "simulator/repository/repository.h"

namespace simulator {

// Changes the target's attributes as the step asks (it clears first, then sets), then raises its event. The names in
// the step must be valid.
engine::Outcome run_step(const PolicyFile &file, const Repository &repository, const Step &step);

}  // namespace simulator
