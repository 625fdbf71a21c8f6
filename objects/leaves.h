// Actions, filters and events as the other subsystems use them.
#pragma once

#include "zar/objects.h"

namespace zar {

// 0 if a caller's context has everything that the library requires; 1, with a trace for each fault, otherwise.
uint32_t zar_verify_action_context(const zar_action_context *context, const char *caller);
uint32_t zar_verify_filter_context(const zar_filter_context *context, const char *caller);

// 0 if a filter's record is complete; 1, with a trace for each function that it lacks, otherwise.
uint32_t zar_verify_filter_content(const zar_filter *filter, const char *caller);

// The filter that 'handle' names if its record is complete. Both faults are traced in the same way, as a missing record.
zar_filter *require_filter(const char *name, uint32_t handle);

// Frees a filter with its data, handle and record.
void zar_free_filter(zar_filter *filter);

}  // namespace zar
