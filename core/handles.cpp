#include "core/handles.h"

#include "core/debug/ledger.h"
#include "core/trace.h"
#include "platform/tags.h"

using namespace zar;

namespace {

constexpr uint32_t kSizing = 256;

// One table for all kinds of records; 'limit_units' caps the live handles in units of 65,536.
uint16_t table_id;
uint32_t live_count;
uint8_t limit_units;

void count_one_less() {
  if (live_count > 0) --live_count;
}

void drop(uint32_t handle) {
  kinds::forget(handle);
  debug::note_released(handle);
  id_delete(handle, table_id);
  count_one_less();
}

void *destroyed(uint32_t handle) {
  TRACE_ERROR("(ERR): ZAR: Handle [0x%x] destroyed already\n", handle);
  return nullptr;
}

void *of_another_kind(uint32_t handle, Kind kind) {
  if (kind == Kind::ending) return destroyed(handle);
  TRACE_ERROR("(ERR): ZAR: Handle [0x%x] names a record of another kind\n", handle);
  return nullptr;
}

bool is_map(Kind kind) {
  return kind == Kind::pmap || kind == Kind::cmap || kind == Kind::pmtr_map;
}

}  // namespace

uint16_t zar_handle_table_init(void) {
  // The name mentions policy-maps only, although all kinds share the table.
  const char name[] = "ZAR PMAP HANDLE IDs";
  table_id = id_create_new_table(kSizing, kSizing, name, ZAR_TAG_HANDLE);
  limit_units = 1;
  live_count = 0;
  kinds::forget_all();
  debug::forget_all();
  return table_id;
}

uint32_t zar_handle_table_destroy(void) {
  debug::forget_all();
  return id_destroy_table(table_id);
}

uint32_t zar_handle_alloc(void *record) {
  return issue_handle(record, Kind::none);
}

void zar_handle_release(uint32_t handle) {
  if (handle != 0) drop(handle);
}

void *zar_handle_get_context(uint32_t handle) {
  constexpr uint32_t kLive = 0, kDeleted = 2;
  if (handle == 0) {
    TRACE_INFO("(info): ZAR Handle provided is invalid\n");
    return nullptr;
  }
  uint32_t status = kLive;
  void *record = id_to_ptr(handle, &status, table_id);
  if (status == kLive && record) [[likely]]
    return record;
  if (status == kDeleted) destroyed(handle);
  if (status == kLive) {
    // A live id without a record is corruption; ending the id makes later look-ups report it as released.
    TRACE_ERROR("(ERR): ZAR Found NULL context with handle [0x%x]\n", handle);
    drop(handle);
  }
  return nullptr;
}

namespace zar {

uint32_t issue_handle(void *record, Kind kind) {
  if (!record) return 0;
  if (live_count >= uint32_t{limit_units} << 16 || !kinds::has_room()) {
    TRACE_ERROR("(ERR): ZAR Handle alloc reached max limit\n");
    return 0;
  }
  uint32_t handle = id_get(record, table_id, ZAR_TAG_HANDLE);
  // A refused id is also counted: the count is of attempts that the cap allowed.
  ++live_count;
  if (handle != 0) {
    kinds::remember(handle, kind);
    debug::note_issued(handle, record, kind);
  }
  return handle;
}

void *resolve_as(uint32_t handle, Kind kind) {
  void *record = zar_handle_get_context(handle);
  if (!record) return nullptr;
  Kind known = kinds::of_live(handle);
  if (known == kind || known == Kind::none) [[likely]]
    return record;
  return of_another_kind(handle, known);
}

void *resolve_as_any_map(uint32_t handle) {
  void *record = zar_handle_get_context(handle);
  if (!record) return nullptr;
  Kind known = kinds::of_live(handle);
  if (is_map(known) || known == Kind::none) return record;
  return of_another_kind(handle, known);
}

// A caller's own record may have a number that is no handle.
void retire(uint32_t handle) {
  if (handle != 0) kinds::change(handle, Kind::ending);
}

}  // namespace zar
