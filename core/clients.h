// The client table as the other subsystems use it.
#pragma once

#include "zar/core.h"

namespace zar {

// 0 if the entry of 'clid', which must be in range, exists and is active; 1, with a trace, otherwise.
uint32_t zar_verify_client_active(uint32_t clid, const char *caller);

// The entry of 'clid', which must be in range.
inline zar_client_data *client_entry(uint32_t clid) {
  return zar_clients_info[clid - 1];
}

}  // namespace zar
