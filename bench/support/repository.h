// The library as in a daemon: started, with the reference engine as the first client and one client that measures.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "zar/zar.h"

namespace bench {

inline constexpr char kDomain[] = "traffic";
inline constexpr uint32_t kControl = 1;

// Starts the library on first use.
uint32_t clid();

// Ends the process if a call that a benchmark relies on does not succeed.
void must(uint32_t status, const char *what);

// Distinct names like those that operators choose: a few words, and a number.
std::vector<std::string> names(uint32_t count, const char *suffix = "");

inline zar_map_info info_of(const char *name) {
  return {.domain = kDomain, .domain_type = kControl, .map_name = name, .hidden = 0};
}

// A policy-map that is not stored. Inline, since it is measured.
inline uint32_t new_policy(uint32_t clid, const char *name) {
  zar_map_info info = info_of(name);
  uint32_t pmap = 0;
  must(zar_create_policy(clid, &info, &pmap), "zar_create_policy");
  return pmap;
}

// Inline for the same reason.
inline void delete_target(uint32_t clid, uint32_t target) {
  zar_target_info *info = nullptr;
  must(zar_remove_target(clid, target, &info), "zar_remove_target");
  must(zar_delete_target(target), "zar_delete_target");
}

// Contexts of an action that does nothing and of a filter that matches; 'text' is their data and their configuration
// text.
zar_action_context action_context(const char *text);
zar_filter_context filter_context(const char *text);

}  // namespace bench
