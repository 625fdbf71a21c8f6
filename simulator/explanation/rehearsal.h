// Shows what an event would do, and leaves the repository unchanged.
#pragma once

#include "simulator/explanation/explanation.h"
#include "simulator/repository/repository.h"

namespace simulator {

// Does what run_step does, then restores the attributes of the target and the counters of filters and actions. Raising
// an event changes nothing else.
EventExplanation rehearse(const PolicyFile &file, const Repository &repository, const Step &step);

}  // namespace simulator
