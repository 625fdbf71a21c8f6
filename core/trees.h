// What the deletions need of the trees beyond the exported operations.
#pragma once

#include "zar/core.h"

namespace zar {

// Take out that very record, where the exported deletions would take out another one with an equal key instead when the
// record is not in the tree. False, with the trace of a failed deletion, when it is not there.
bool remove_itself(zar_db *database, zar_pmap *record);
bool remove_itself(zar_db *database, zar_cmap *record);
bool remove_itself(zar_db *database, zar_pmtr_map *record);

}  // namespace zar
