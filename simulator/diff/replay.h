// Replays a scenario on a policy file, and compares what two files decide.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "simulator/diff/renames.h"
#include "simulator/explanation/explanation.h"
#include "simulator/policy/model.h"
#include "simulator/text/text.h"

namespace simulator::diff {

// One of two files that are compared, with the names that the other has for its objects.
class Side {
 public:
  enum class Is : uint8_t { before, after };

  // Both must outlive the side.
  Side(const PolicyFile &file, const Renames &renames, Is is) : file_(&file), renames_(&renames), is_(is) {}

  const PolicyFile &file() const { return *file_; }
  // The name that this file has for what the other one calls 'name'.
  const std::string &own_name(Named kind, const std::string &name) const {
    return is_ == Is::before ? renames_->in_old(kind, name) : renames_->in_new(kind, name);
  }
  // The name that the new file has for what this one calls 'name'.
  const std::string &common_name(Named kind, const std::string &name) const {
    return is_ == Is::before ? renames_->in_new(kind, name) : name;
  }

 private:
  const PolicyFile *file_;
  const Renames *renames_;
  Is is_;
};

// The result of one event, under the names of the new file.
struct Decided {
  std::string impossible{};  // why the event could not be raised; all else is then empty
  std::string verdict{};
  std::vector<std::string> rules{};  // that ran, each "POLICY/EVENT CLASS-MAP": numbers alone decide nothing
  std::map<std::string, std::optional<std::string>> changed{};  // attributes with their new values; nothing: cleared
  std::vector<std::string> log{};

  bool operator==(const Decided &) const = default;
};

// Replays every step of 'steps' on a repository of the file that it builds and takes down. Nothing when anything goes
// wrong with the repository; 'problems' then says what.
std::optional<std::vector<Decided>> replay(const Side &side, const std::vector<Step> &steps, Complaints &problems);

// The result of a step.
struct ReplayedStep {
  Step step;                       // the part that the file knows
  std::string impossible{};        // why the event could not be raised; all else is then empty
  EventExplanation explanation{};  // valid as long as the file
};
// The results of the steps at these numbers (from 0), each after all steps before it.
std::optional<std::vector<ReplayedStep>> replayed_at(const Side &side, const std::vector<Step> &steps,
                                                     const std::set<size_t> &numbers, Complaints &problems);
// The result of the step at 'number' (from 0), after all steps before it.
std::optional<ReplayedStep> replay_to(const Side &side, const std::vector<Step> &steps, size_t number,
                                      Complaints &problems);

}  // namespace simulator::diff
