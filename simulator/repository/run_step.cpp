#include "simulator/repository/run_step.h"

namespace simulator {

engine::Outcome run_step(const PolicyFile &file, const Repository &repository, const Step &step) {
  const uint32_t target = repository.target_handle(step.target.value);
  if (engine::Attributes *attributes = engine::attributes_of(target)) {
    for (const Name &attribute : step.clear)
      attributes->clear(engine::register_attribute(attribute.value));
    for (const Assignment &given : step.set) {
      attributes->set(engine::register_attribute(given.attribute.value), given.text);
    }
  }
  return engine::raise_event(target, file.event_id(step.event.value));
}

}  // namespace simulator
