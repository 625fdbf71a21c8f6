// How maps of the three kinds are created, stored and retrieved.
#pragma once

#include "core/checks.h"
#include "core/maps.h"
#include "core/names.h"
#include "core/pool.h"
#include "core/queue.h"
#include "core/text.h"
#include "platform/tags.h"
#include "zar/objects.h"

namespace zar {

// A map under construction. Everything acquired is released unless the map is finished, in reverse order of the
// members: handle, name, domain, record.
template <class Map>
class MapDraft {
 public:
  explicit MapDraft(Pool<Map> &pool) : record_(pool.take()) {}

  explicit operator bool() const { return static_cast<bool>(record_); }
  Map *operator->() const { return record_.get(); }
  Map &operator*() const { return *record_; }

  bool issue_handle() { return handle_.issue(record_.get()); }
  bool intern_name(const char *name, uint32_t tag) { return name_.intern(record_->name, name, tag); }
  bool intern_domain(const char *domain) { return domain_.intern(record_->domain, domain, ZAR_TAG_DOMAIN_TEXT); }

  // The finished map's handle.
  uint32_t finish() {
    domain_.keep();
    name_.keep();
    record_.keep();
    return handle_.keep();
  }

 private:
  Pooled<Map> record_;
  HeldText domain_;
  HeldText name_;
  HeldHandle handle_;
};

// Creates a map from checked arguments. 'fill' and 'complete' set the fields that only this kind has, once the record
// has its handle and texts: before and after the name key is built.
template <MapDescription Maps, class Fill, class Complete>
uint32_t create_map(uint32_t clid, const zar_map_info &info, uint32_t *handle_out, Fill fill, Complete complete) {
  MapDraft<typename Maps::Record> draft(Maps::pool());
  if (!draft) {
    Maps::trace_no_record(clid, info);
    return kNoMemory;
  }
  if (!draft.issue_handle()) {
    TRACE_ERROR(Maps::kNoHandle, clid, info.map_name);
    return kFailed;
  }
  if (!draft.intern_name(info.map_name, Maps::kNameTag)) {
    TRACE_ERROR(Maps::kNoName, clid, info.map_name);
    return kFailed;
  }
  if (!draft.intern_domain(info.domain)) {
    TRACE_ERROR(Maps::kNoDomain, clid, info.domain);
    return kFailed;
  }
  draft->domain_type = info.domain_type;
  fill(*draft);
  draft->hash_str = bstrdup_named(NameKey(info).text(), Maps::kKeyTag);
  if (!draft->hash_str) {
    TRACE_ERROR(Maps::kNoKey, clid, info.map_name);
    return kFailed;
  }
  complete(*draft);
  *handle_out = draft.finish();
  TRACE_INFO(Maps::kCreated, *handle_out);
  return kSuccess;
}

// Inserts any kind of map into this kind's tree under its name key.
template <MapDescription Maps>
uint32_t store_map(uint32_t clid, uint32_t handle) {
  if (!valid_clid(Maps::kStore, clid)) return kInvalidArgument;
  auto *record = resolve_any_map<typename Maps::Record>(handle);
  if (!record) {
    TRACE_ERROR(Maps::kStoreInvalid);
    return kInvalidArgument;
  }
  zar_db *database = database_of(clid, Maps::kStore);
  if (!database) return kFailed;
  if (!Maps::insert(database, record)) {
    TRACE_ERROR(Maps::kStoreFailed);
    return kTreeFailed;
  }
  Maps::trace_stored(handle, *record);
  return kSuccess;
}

template <MapDescription Maps>
bool may_retrieve(uint32_t clid, const zar_map_info *info, const uint32_t *handle_out) {
  if constexpr (Maps::kStopsAtFirstFault) {
    return valid_clid(Maps::kRetrieve, clid) && Maps::place_given(Maps::kRetrieve, clid, handle_out) &&
           zar_verify_map_info(info, Maps::kRetrieve) == kSuccess;
  }
  bool valid = valid_clid(Maps::kRetrieve, clid);
  valid &= Maps::place_given(Maps::kRetrieve, clid, handle_out);
  return zar_verify_map_info(info, Maps::kRetrieve) == kSuccess && valid;
}

// Not finding a map is a success with handle 0. Names compare as in the tree, so a key that begins with a stored one
// may find that map.
template <MapDescription Maps>
uint32_t retrieve_map(uint32_t clid, const zar_map_info *info, uint32_t *handle_out) {
  if (!may_retrieve<Maps>(clid, info, handle_out)) return kInvalidArgument;

  NameKey key(*info);
  auto probe = probe_for<typename Maps::Record>(key);
  zar_db *database = database_of(clid, Maps::kRetrieve);
  if (!database) return kFailed;

  typename Maps::Record *found = nullptr;
  if (!Maps::search(database, &probe, &found)) {
    TRACE_INFO(Maps::kRetrieveFailed, clid, info->map_name);
    return kTreeFailed;
  }
  if (found) {
    *handle_out = found->handle;
    TRACE_INFO(Maps::kRetrieved, key.text());
  } else {
    TRACE_INFO(Maps::kNoMatch, clid, info->map_name);
    *handle_out = 0;
  }
  return kSuccess;
}

// ---- Deleting maps of all kinds

// Frees what a map holds apart from its lists: handle, interned texts, name key, record.
template <class Map>
void release_key(Map &map) {
  if (map.hash_str) bfree_named(map.hash_str);
  map.hash_str = nullptr;
}

}  // namespace zar
