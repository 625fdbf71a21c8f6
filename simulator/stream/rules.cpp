#include "simulator/stream/rules.h"

#include "simulator/text/text.h"
#include "zar/zar.h"

namespace simulator::stream {

Rules::Rules(const PolicyFile &file) {
  for (const PolicyMap &policy : file.policy_maps) {
    for (const EventRules &event : policy.events) {
      for (const Rule &rule : event.rules) {
        rules_.push_back({&policy, &event, &rule});
        by_name_.emplace(rules_.back().name(), static_cast<uint32_t>(rules_.size() - 1));
      }
    }
  }
}

uint32_t Rules::number_of(const zar_pmap &pmap, const zar_event_tuple &tuple, const zar_class_action &record) {
  if (const auto known = by_record_.find(&record); known != by_record_.end()) return known->second;
  const std::string name =
      concat(zar_get_pmap_name(pmap.handle), "/", zar_get_event_name(tuple.handle), "/", uint32_t{record.class_num});
  const uint32_t number = by_name_.find(name)->second;
  by_record_.emplace(&record, number);
  return number;
}

}  // namespace simulator::stream
