// Runs the events of a scenario on a repository.
#pragma once

#include "engine/engine.h"
#include "simulator/repository/repository.h"

namespace simulator {

// Changes the target's attributes as the step asks: it clears first, then sets. The names in the step must be valid.
void change_attributes(const Repository &repository, const Step &step);
// The same, then raises its event.
engine::Outcome run_step(const PolicyFile &file, const Repository &repository, const Step &step);

}  // namespace simulator
