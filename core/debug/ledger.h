// What the library reports to the checks of a debug build: which records are live, and where memory ran out.
//
// The checks after each operation need a starting point: unstored maps, and events and rules outside maps, are in no
// tree. So a ledger notes every record for which the library issues a handle. In all other builds these functions are
// empty.
#pragma once

#include "core/kinds.h"

namespace zar::debug {

#ifdef ZAR_CHECKS

void note_issued(uint32_t handle, void *record, Kind kind);
// The record no longer has a handle: it is about to be freed, or belongs to someone else from now on.
void note_released(uint32_t handle);
// The record was returned to its pool.
void note_given_back(const void *record);
void note_database(zar_db *database);
// There was no memory to count a use of a class-map by the policy-map: its references may lack one from now on.
void note_lost_reference(const zar_pmap *pmap);
// The handle table is created again, or destroyed.
void forget_all();

#else

inline void note_issued(uint32_t, void *, Kind) {}
inline void note_released(uint32_t) {}
inline void note_given_back(const void *) {}
inline void note_database(zar_db *) {}
inline void note_lost_reference(const zar_pmap *) {}
inline void forget_all() {}

#endif

}  // namespace zar::debug
