// The ledger of a debug build as its checks read it. A note stays when its record goes, so that a list that still holds
// the record is caught.
#pragma once

#include "core/debug/ledger.h"

namespace zar::debug {

enum class State : uint8_t {
  nameless,  // its handle was released
  live,
  gone,  // it is back in its pool
};

// What is known of a record that the library issued a handle for.
struct Note {
  void *record;
  uint32_t handle;  // 0 unless it is live
  Kind kind;
  State state;
  bool lost_reference;      // of a policy-map: a use of a class-map could not be counted
  bool identity_known;      // 'identity' was taken
  uint64_t identity;        // a digest of what never changes
  const void *list;         // in which list it was met by the last check
  uint64_t sequence;        // when it was first met in 'list'
  uint64_t pass;            // the last check that met it in 'list'
  uint32_t listings;        // in how many places this check met it
  uint32_t uses;            // of a class-map: rules of the policy-map at hand that use it
  const void *used_by;      // whom 'uses' is about
  const void *referred_by;  // whose references named it last
  uint64_t referrers;       // the sum of the digests of those who refer to it
  bool stored;              // this check met it in a tree
  uint32_t next_of_record;  // the next note in the same bucket; 0: none
  uint32_t next_of_handle;
  uint32_t place;  // in the row of those that live
};

// The note of a record, or NULL for a caller's own: one that the library never knew, or whose handle was released while
// the record stayed.
Note *note_of(const void *record);

// Whether a note could not be taken; from then on nothing is known for certain until the ledger begins anew.
bool overflowed();

// How many records have a note, those that have gone included.
uint32_t noted_count();

uint32_t live_count();
Note &live(uint32_t place);

uint32_t database_count();
const zar_db &database(uint32_t number);

}  // namespace zar::debug
