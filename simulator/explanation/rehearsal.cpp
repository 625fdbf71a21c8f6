#include "simulator/explanation/rehearsal.h"

#include "zar/zar.h"

namespace simulator {

namespace {

// The counters are the only fields of a record that code outside the library may write.
template <class Record>
Record &writable(const Record &record) {
  return *static_cast<Record *>(zar_handle_get_context(record.handle));
}

}  // namespace

void Rehearsal::filter_evaluated(const zar_filter &filter, bool holds) {
  zar_filter &record = writable(filter);
  --record.exec_count;
  --(holds ? record.hit_count : record.miss_count);
  Recorder::filter_evaluated(filter, holds);
}

void Rehearsal::class_evaluated(const zar_cmap &cmap, bool matches, const zar_filter *decided_by) {
  if (decided_by) --writable(*decided_by).comp_count;
  Recorder::class_evaluated(cmap, matches, decided_by);
}

void Rehearsal::action_ends(const zar_action &action, uint32_t result) {
  --writable(action).executed_count;
  Recorder::action_ends(action, result);
}

KeptAttributes::KeptAttributes(engine::Attributes &attributes) : attributes_(attributes) {
  for (const engine::AttributeId attribute : attributes.present())
    kept_.emplace_back(attribute, attributes.find(attribute)->text);
}

KeptAttributes::~KeptAttributes() {
  for (const engine::AttributeId attribute : attributes_.present())
    attributes_.clear(attribute);
  for (const auto &[attribute, text] : kept_)
    attributes_.set(attribute, text);
}

EventExplanation rehearse(const PolicyFile &file, const Repository &repository, const Step &step) {
  Rehearsal rehearsal(file);
  // If the target has no state for attributes, there is nothing to restore, and no event can be raised on it.
  std::optional<KeptAttributes> kept;
  if (engine::Attributes *attributes = engine::attributes_of(repository.target_handle(step.target.value)))
    kept.emplace(*attributes);
  return rehearsal.raise(repository, step);
}

}  // namespace simulator
