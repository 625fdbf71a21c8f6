// What a host does between its calls of the library.
#pragma once

#include <cstdint>

#include "zar/zar.h"

// 1 to 5: the engine refuses its next request of that kind (calls::Refusal). Anything else: none.
uint32_t host_has_the_engine_refuse(uint32_t request);
// The engine counts in the public records.
void host_counts_an_execution(zar_action *action, uint32_t times);
void host_counts_a_match(zar_filter *filter, uint32_t times);
// The engine puts something of its own into the target's policy context, if there is one.
void host_keeps_a_context(zar_target *target);
// A client beyond the third is no longer active.
void host_ends_a_client(uint32_t clid);
