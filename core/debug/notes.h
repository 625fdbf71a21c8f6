// The ledger of a debug build as its checks read it. A note stays when its record is freed, so that a list that still
// holds the record is detected.
#pragma once

#include "core/debug/ledger.h"

namespace zar::debug {

enum class State : uint8_t {
  nameless,  // its handle was released
  live,
  gone,  // it is back in its pool
};

// What is known about a record for which the library issued a handle.
struct Note {
  void *record;
  uint32_t handle;  // 0 unless it is live
  Kind kind;
  State state;
  bool lost_reference;      // of a policy-map: a use of a class-map could not be counted
  bool identity_known;      // 'identity' was taken
  uint64_t identity;        // a digest of the fields that never change
  const void *list;         // the list in which the last check found it
  uint64_t sequence;        // when it was first found in 'list'
  uint64_t pass;            // the last check that found it in 'list'
  uint32_t listings;        // how many times this check found it
  uint32_t uses;            // of a class-map: rules of the current policy-map that use it
  const void *used_by;      // the policy-map of 'uses'
  const void *referred_by;  // the record whose references named it last
  uint64_t referrers;       // the sum of the digests of the records that refer to it
  bool stored;              // this check found it in a tree
  uint32_t next_of_record;  // the next note in the same bucket; 0: none
  uint32_t next_of_handle;
  uint32_t place;  // in the list of live notes
};

// The note of a record, or NULL for a caller's own: one that the library never knew, or whose handle was released while
// the record stayed.
Note *note_of(const void *record);

// Whether a note could not be taken; from then on nothing is certain until the ledger is cleared.
bool overflowed();

// The number of records with a note, including deleted ones.
uint32_t noted_count();

uint32_t live_count();
Note &live(uint32_t place);

uint32_t database_count();
const zar_db &database(uint32_t number);

}  // namespace zar::debug
