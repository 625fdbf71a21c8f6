// Runs the events of a scenario on a repository.
#pragma once

#include "engine/engine.h"
#include "simulator/repository/repository.h"

namespace simulator {

// Changes the target's attributes as the step asks (first what it clears, then what it sets), then raises its event. The
// step's names are good ones.
engine::Outcome run_step(const PolicyFile &file, const Repository &repository, const Step &step);

}  // namespace simulator
