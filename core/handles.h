// Handles as typed references to records.
#pragma once

#include <utility>

#include "core/kinds.h"
#include "zar/core.h"

namespace zar {

// A handle for 'record', or 0.
uint32_t issue_handle(void *record, Kind kind);

// The context of 'handle' if it names a record of one of two kinds or has no kind; otherwise traces the reason.
void *resolve_as(uint32_t handle, Kind kind);
// The same for the three kinds of maps.
void *resolve_as_any_map(uint32_t handle);

// The record that 'handle' names as 'Record', or NULL.
template <class Record>
Record *resolve(uint32_t handle) {
  return static_cast<Record *>(resolve_as(handle, kKindOf<Record>));
}

// The map of any kind that 'handle' names, seen as 'Map': only its name key and handle, which are at the same offsets
// in all three, may be read.
template <class Map>
Map *resolve_any_map(uint32_t handle) {
  return static_cast<Map *>(resolve_as_any_map(handle));
}

// Whether 'record', as returned by a tree or a search, really is a 'Record'. Any kind of map can be in a map tree.
template <class Record>
bool is_kind(const Record &record) {
  Kind kind = kinds::of(record.handle);
  return kind == kKindOf<Record> || kind == Kind::none;
}

// The same, with the trace of a look-up of its handle.
template <class Record>
bool require_kind(const Record &record) {
  return resolve<Record>(record.handle) == &record;
}

// The record of 'handle' is about to be freed: from now on no operation resolves the handle, so callbacks that run
// while the contents are freed find no such record. The handle itself is released with the record.
void retire(uint32_t handle);

// A handle that is released unless it is kept.
class HeldHandle {
 public:
  HeldHandle() = default;
  HeldHandle(const HeldHandle &) = delete;
  HeldHandle &operator=(const HeldHandle &) = delete;
  ~HeldHandle() { give_back(); }

  // False if no handle could be issued.
  template <class Record>
  bool issue(Record *record) {
    handle_ = record->handle = issue_handle(record, kKindOf<Record>);
    return handle_ != 0;
  }
  uint32_t keep() { return std::exchange(handle_, 0); }
  void give_back() { zar_handle_release(keep()); }
  // Leaves the handle live without its record; operations no longer resolve it.
  void orphan() { kinds::change(keep(), Kind::orphan); }

 private:
  uint32_t handle_ = 0;
};

}  // namespace zar
