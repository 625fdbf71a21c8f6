// The lines that the operations of several subsystems trace.
#pragma once

#include "support/trace.h"

namespace rig {

// ---- Arguments

inline Line wrong_clid(const char *operation, uint32_t clid, uint32_t clients = 2) {
  return error("(ERR): %s: Wrong clid:%d, expected range: 1 - %d", operation, clid, clients);
}
inline Line no_pmap(const char *operation) {
  return info("(info): %s: Error: input pmap context cannot be NULL", operation);
}
inline Line no_cmap(const char *operation) {
  return error("(ERR): %s: input class map handle context cannot be NULL", operation);
}
inline Line no_event(const char *operation) {
  return error("(ERR): %s: input event class action handle context cannot be NULL", operation);
}
inline Line no_rule(const char *operation) {
  return error("(ERR): %s: input class action handle context cannot be NULL", operation);
}
inline Line no_action(const char *operation) {
  return error("(ERR): %s: Error: input action context cannot be NULL", operation);
}
inline Line no_filter(const char *operation) {
  return error("(ERR): %s: Error: input filter context cannot be NULL", operation);
}
inline Line no_target(const char *operation) {
  return info("(info): %s: Error: input target context cannot be NULL", operation);
}
inline Line no_pmtr_map(const char *operation) {
  return error("(ERR): %s: input pmtr-map handle context cannot be NULL", operation);
}

// ---- Handles

inline Line invalid_handle() {
  return info("(info): ZAR Handle provided is invalid\n");
}
inline Line destroyed_already(uint32_t handle) {
  return error("(ERR): ZAR: Handle [0x%x] destroyed already\n", handle);
}
inline Line another_kind(uint32_t handle) {
  return error("(ERR): ZAR: Handle [0x%x] names a record of another kind\n", handle);
}

// ---- Look-ups

inline Line own_database(const char *operation) {
  return info("(info): %s: using client specific database", operation);
}
inline Line default_database(const char *operation) {
  return info("(info): %s: using default database", operation);
}
inline Line inactive_client(const char *operation, uint32_t clid) {
  return error("(ERR): %s: clid:%d, Client status in ZAR is INACTIVE", operation, clid);
}

}  // namespace rig
