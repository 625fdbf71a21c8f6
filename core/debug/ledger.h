// What the library tells the checks of a debug build while it works: which records live, and where memory ran out.
//
// The checks after each operation have to start from somewhere: unstored maps, loose events and rules stand in no tree.
// So a ledger beside the handle table notes every record that the library issues a handle for. In all other builds these
// functions are empty.
#pragma once

#include "core/kinds.h"

namespace zar::debug {

#ifdef ZAR_CHECKS

void note_issued(uint32_t handle, void *record, Kind kind);
// The record has no handle any more: it is about to go, or else somebody else's from now on.
void note_released(uint32_t handle);
// The record went back to its pool.
void note_given_back(const void *record);
void note_database(zar_db *database);
// There was no memory to count a use of a class-map by the policy-map: its references may lack one from now on.
void note_lost_reference(const zar_pmap *pmap);
// The handle table begins anew, or ends.
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
