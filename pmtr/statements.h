// The statements of parameter-maps as the other files of this folder use them.
#pragma once

#include "core/checks.h"
#include "core/queue.h"
#include "zar/pmtr.h"

namespace zar {

// The first statement with this map-index, or NULL. One whose contents are being freed does not count.
inline zar_pmtr_map_stmt *find_statement(const zar_pmtr_map &map, uint32_t map_index) {
  return find<zar_pmtr_map_stmt>(map.stmt_queue, [map_index](const zar_pmtr_map_stmt &other) {
    return other.map_index == map_index && !is_ending(&other);
  });
}

// Traces whether a statement was deleted.
void trace_statement_removal(uint32_t map_index, bool removed);

}  // namespace zar
