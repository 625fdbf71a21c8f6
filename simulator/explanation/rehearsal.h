// An event that leaves no trace: what it would do, on a repository that stays as it is.
#pragma once

#include "simulator/explanation/explanation.h"
#include "simulator/repository/repository.h"

namespace simulator {

// Does what run_step does and takes it back: the attributes of the target, the counters of filters and actions. Nothing
// else changes when an event is raised.
EventExplanation rehearse(const PolicyFile &file, const Repository &repository, const Step &step);

}  // namespace simulator
