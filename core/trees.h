// What the deletions need from the trees beyond the exported operations.
#pragma once

#include "zar/core.h"

namespace zar {

// Remove exactly this record. If it is not in the tree, the exported deletions would remove another one with an equal
// key instead; these return false, with the trace of a failed deletion.
bool remove_itself(zar_db *database, zar_pmap *record);
bool remove_itself(zar_db *database, zar_cmap *record);
bool remove_itself(zar_db *database, zar_pmtr_map *record);

}  // namespace zar
