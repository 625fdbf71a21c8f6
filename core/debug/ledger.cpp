#include "core/debug/notes.h"

namespace zar::debug {

namespace {

constexpr uint32_t kMostNotes = 1u << 18;
constexpr uint32_t kBuckets = 1u << 16;
constexpr uint32_t kMostDatabases = 4096;

// Note 0 is unused and stays nameless, so that zeros are an empty ledger.
Note notes[kMostNotes];
uint32_t noted;
uint32_t of_record[kBuckets];
uint32_t of_handle[kBuckets];
uint32_t living[kMostNotes];
uint32_t n_living;
zar_db *databases[kMostDatabases];
uint32_t n_databases;
bool full;

uint32_t bucket_of(uint64_t key) {
  return static_cast<uint32_t>(key * 0x9e3779b97f4a7c15u >> 48);
}
uint32_t &record_bucket(const void *record) {
  return of_record[bucket_of(reinterpret_cast<uintptr_t>(record))];
}

uint32_t find_record(const void *record) {
  uint32_t note = record_bucket(record);
  while (note != 0 && notes[note].record != record)
    note = notes[note].next_of_record;
  return note;
}

// The link to the note of 'handle', or the last one of its bucket.
uint32_t &find_handle(uint32_t handle) {
  uint32_t *link = &of_handle[bucket_of(handle)];
  while (*link != 0 && notes[*link].handle != handle)
    link = &notes[*link].next_of_handle;
  return *link;
}

uint32_t new_note(void *record) {
  if (noted + 1 >= kMostNotes) {
    full = true;
    return 0;
  }
  uint32_t note = ++noted;
  notes[note] = {};
  notes[note].record = record;
  notes[note].next_of_record = record_bucket(record);
  record_bucket(record) = note;
  return note;
}

// Removes the note from the list of live notes.
void bury(Note &note) {
  if (note.state != State::live) return;
  find_handle(note.handle) = note.next_of_handle;
  uint32_t last = living[--n_living];
  living[note.place] = last;
  notes[last].place = note.place;
  note.handle = 0;
  note.state = State::nameless;
}

}  // namespace

void note_issued(uint32_t handle, void *record, Kind kind) {
  // A record for which a caller makes a handle belongs to the caller.
  if (kind == Kind::none) return;
  uint32_t number = find_record(record);
  if (number == 0) number = new_note(record);
  if (number == 0) return;
  Note fresh{};
  fresh.record = record;
  fresh.handle = handle;
  fresh.kind = kind;
  fresh.state = State::live;
  fresh.next_of_record = notes[number].next_of_record;
  fresh.next_of_handle = of_handle[bucket_of(handle)];
  fresh.place = n_living;
  notes[number] = fresh;
  of_handle[bucket_of(handle)] = number;
  living[n_living++] = number;
}

void note_released(uint32_t handle) {
  if (uint32_t number = find_handle(handle)) bury(notes[number]);
}

void note_given_back(const void *record) {
  uint32_t number = find_record(record);
  if (number == 0) return;
  bury(notes[number]);
  notes[number].state = State::gone;
}

void note_database(zar_db *database) {
  if (n_databases == kMostDatabases)
    full = true;
  else
    databases[n_databases++] = database;
}

void note_lost_reference(const zar_pmap *pmap) {
  if (Note *note = note_of(pmap)) note->lost_reference = true;
}

void forget_all() {
  for (uint32_t note = 1; note <= noted; ++note) {
    record_bucket(notes[note].record) = 0;
    of_handle[bucket_of(notes[note].handle)] = 0;
  }
  noted = n_living = n_databases = 0;
  full = false;
}

Note *note_of(const void *record) {
  Note &note = notes[find_record(record)];
  return note.state == State::nameless ? nullptr : &note;
}

bool overflowed() {
  return full;
}

uint32_t noted_count() {
  return noted;
}
uint32_t live_count() {
  return n_living;
}
Note &live(uint32_t place) {
  return notes[living[place]];
}

uint32_t database_count() {
  return n_databases;
}
const zar_db &database(uint32_t number) {
  return *databases[number];
}

}  // namespace zar::debug
