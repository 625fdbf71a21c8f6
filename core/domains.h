// The claimed domains as the other subsystems walk them.
#pragma once

#include <cstring>

#include "core/queue.h"
#include "zar/core.h"

namespace zar {

inline bool is_domain(const zar_domain_entry &entry, const char *domain) {
  return std::strcmp(entry.domain, domain) == 0;
}

}  // namespace zar
