#include "simulator/stream/target_kinds.h"

#include "simulator/text/text.h"

namespace simulator::stream {

namespace {

std::string kind_text(const std::string &policies, std::string_view client) {
  return client.empty() ? policies : concat(policies, " (client ", client, ")");
}

}  // namespace

TargetKinds::TargetKinds(const PolicyFile &file) {
  for (const Target &target : file.targets)
    by_target_.emplace(target.name.value, kind_text(policies_text(target), target.client ? target.client->value : ""));
}

std::string_view TargetKinds::kind_of(const Played &played) {
  if (!played.error.empty() || !played.request) return {};
  const Request &request = *played.request;
  switch (request.is) {
    case Request::Is::add_target:
      by_target_.emplace(request.target, kind_text(comma_separated(request.policies), request.client.value_or("")));
      return {};
    case Request::Is::delete_target:
      if (const auto gone = by_target_.find(request.target); gone != by_target_.end()) by_target_.erase(gone);
      return {};
    case Request::Is::event:
      break;
  }
  const auto known = by_target_.find(request.target);
  return known == by_target_.end() ? std::string_view() : std::string_view(known->second);
}

}  // namespace simulator::stream
