// The claims of a policy file: whether they hold on every target.
#pragma once

#include "simulator/policy/model.h"
#include "simulator/prove/answer.h"

namespace simulator::prove {

// An answer for each claim, in their order.
Answers prove_claims(const PolicyFile &file, const Clock &clock);

// The lists of policy-maps that the targets of a file have, each once, in the order of the file.
std::vector<reasoning::Policies> lists_of_targets(const PolicyFile &file);

}  // namespace simulator::prove
