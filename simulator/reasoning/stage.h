// A repository on which findings and proofs are played: events on targets with given attributes.
//
// The repository is built from a copy of the file's objects with targets of its own, one for each list of policy-maps
// that is asked for. It is built on first use; a process has one repository at a time.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/explanation/explanation.h"
#include "simulator/reasoning/inputs.h"
#include "simulator/repository/repository.h"

namespace simulator::reasoning {

using Policies = std::vector<std::string>;

class Stage {
 public:
  explicit Stage(const PolicyFile &file);

  // The lists of policy-maps that are active together on targets of the file and contain this one, each once; if there
  // are none, the one and 'others' together.
  std::vector<Policies> casts_with(const std::string &policy, const Policies &others) const;

  // What the event does on a target that has these attributes, no others, and these policy-maps. Nothing when the
  // library refuses to build that; problems() then says why. The explanation refers to the copy of the file.
  std::optional<EventExplanation> play(const Policies &policies, const std::string &event, const Input &input);

  // What went wrong with the repository, which is taken down.
  Complaints finish();

 private:
  bool prepare(const Policies &policies);

  const PolicyFile *given_;
  PolicyFile file_;
  std::unique_ptr<Repository> repository_;
  std::map<Policies, std::string> targets_;  // names
};

// How often the rule, a POLICY/EVENT/NUMBER, ran in this event and in those that it raised.
size_t times_run(const EventExplanation &explanation, std::string_view rule);
// Whether an event was refused because events were nested too deep.
bool was_too_deep(const EventExplanation &explanation);

}  // namespace simulator::reasoning
