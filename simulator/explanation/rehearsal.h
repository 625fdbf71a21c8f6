// Shows what an event would do, and leaves the repository unchanged.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "simulator/explanation/recorder.h"
#include "simulator/repository/repository.h"

namespace simulator {

// Undoes every count right after the engine has counted, so that events leave the counters as they were.
class Rehearsal final : public Recorder {
 public:
  using Recorder::Recorder;

  void filter_evaluated(const zar_filter &filter, bool holds) override;
  void class_evaluated(const zar_cmap &cmap, bool matches, const zar_filter *decided_by) override;
  void action_ends(const zar_action &action, uint32_t result) override;
};

// Restores the attributes of a target.
class KeptAttributes {
 public:
  explicit KeptAttributes(engine::Attributes &attributes);
  ~KeptAttributes();
  KeptAttributes(const KeptAttributes &) = delete;
  KeptAttributes &operator=(const KeptAttributes &) = delete;

 private:
  engine::Attributes &attributes_;
  std::vector<std::pair<engine::AttributeId, std::string>> kept_;
};

// Does what run_step does, then restores the attributes of the target and the counters of filters and actions. Raising
// an event changes nothing else.
EventExplanation rehearse(const PolicyFile &file, const Repository &repository, const Step &step);

}  // namespace simulator
