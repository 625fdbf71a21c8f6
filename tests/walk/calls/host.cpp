#include "tests/walk/calls/host.h"

#include "tests/walk/calls/client.h"

uint32_t host_has_the_engine_refuse(uint32_t request) {
  calls::engine().refusal = request <= 5 ? static_cast<calls::Refusal>(request) : calls::Refusal::none;
  return request;
}

void host_counts_an_execution(zar_action *action, uint32_t times) {
  if (action != nullptr) action->executed_count += times;
}

void host_counts_a_match(zar_filter *filter, uint32_t times) {
  if (filter == nullptr) return;
  filter->exec_count += times;
  filter->hit_count += times / 2;
  filter->miss_count += times / 3;
  filter->comp_count += times / 4;
}

void host_keeps_a_context(zar_target *target) {
  if (target != nullptr && target->policy_context != nullptr) target->policy_context->ae_context = target;
}

void host_ends_a_client(uint32_t clid) {
  constexpr uint32_t kStays = 3;
  if (clid > kStays && clid <= zar_current_max_clients) zar_clients_info[clid - 1]->status = 0;
}
