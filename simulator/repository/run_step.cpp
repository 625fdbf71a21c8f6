#include "simulator/repository/run_step.h"

namespace simulator {

void change_attributes(const Repository &repository, const Step &step) {
  engine::Attributes *attributes = engine::attributes_of(repository.target_handle(step.target.value));
  if (!attributes) return;
  for (const Name &attribute : step.clear)
    attributes->clear(engine::register_attribute(attribute.value));
  for (const Assignment &given : step.set)
    attributes->set(engine::register_attribute(given.attribute.value), given.text);
}

engine::Outcome run_step(const PolicyFile &file, const Repository &repository, const Step &step) {
  change_attributes(repository, step);
  return engine::raise_event(repository.target_handle(step.target.value), file.event_id(step.event.value));
}

}  // namespace simulator
