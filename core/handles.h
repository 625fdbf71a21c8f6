// Handles as typed names of records.
#pragma once

#include <utility>

#include "core/kinds.h"
#include "zar/core.h"

namespace zar {

// A handle for 'record', or 0.
uint32_t issue_handle(void *record, Kind kind);

// The context of 'handle' when it names a record of one of two kinds or has no kind; traces what is wrong with it.
void *resolve_as(uint32_t handle, Kind kind);
// The same for the three kinds of maps.
void *resolve_as_any_map(uint32_t handle);

// The record that 'handle' names as 'Record', or NULL.
template <class Record>
Record *resolve(uint32_t handle) {
  return static_cast<Record *>(resolve_as(handle, kKindOf<Record>));
}

// The map that 'handle' names, of whatever map kind, seen as 'Map': only the name key and the handle, which stand at the
// same place in all three, may be read of it.
template <class Map>
Map *resolve_any_map(uint32_t handle) {
  return static_cast<Map *>(resolve_as_any_map(handle));
}

// Whether 'record', as a tree or a search gave it, really is a 'Record'. Any kind of map can stand in a map tree.
template <class Record>
bool is_kind(const Record &record) {
  Kind kind = kinds::of(record.handle);
  return kind == kKindOf<Record> || kind == Kind::none;
}

// The same, with the trace that a look-up of its handle would give.
template <class Record>
bool require_kind(const Record &record) {
  return resolve<Record>(record.handle) == &record;
}

// The record of 'handle' is about to be freed: from now on no operation resolves the handle, so that what runs while the
// contents are freed finds no such record. The handle itself is released with the record.
void retire(uint32_t handle);

// A handle that goes back unless it is kept.
class HeldHandle {
 public:
  HeldHandle() = default;
  HeldHandle(const HeldHandle &) = delete;
  HeldHandle &operator=(const HeldHandle &) = delete;
  ~HeldHandle() { give_back(); }

  // False when there was no handle to be had.
  template <class Record>
  bool issue(Record *record) {
    handle_ = record->handle = issue_handle(record, kKindOf<Record>);
    return handle_ != 0;
  }
  uint32_t keep() { return std::exchange(handle_, 0); }
  void give_back() { zar_handle_release(keep()); }
  // Leaves the handle live without its record; no operation resolves it any more.
  void orphan() { kinds::remember(keep(), Kind::orphan); }

 private:
  uint32_t handle_ = 0;
};

}  // namespace zar
