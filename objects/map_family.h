// The three kinds of maps (policy-maps, class-maps, parameter-maps) are created, stored and retrieved in the same way.
// The common code is here, as templates over a description of the kind; the differences, mainly texts and tags, are in
// the description, in the subsystem that owns the kind.
//
// A description has:
//   Record, pool()                      the record and its pool
//   kNameTag, kKeyTag                   allocation tags of the interned name and of the name key
//   insert(), search()                  the operations on its tree
//   place_given(name, clid, place)      the check of the place for the handle
//   kRetrieveStopsAtFirstFault          whether a retrieve refuses at the first fault or checks everything first
//   the texts, k...
#pragma once

#include "core/checks.h"
#include "core/names.h"
#include "core/pool.h"
#include "core/queue.h"
#include "core/text.h"
#include "zar/objects.h"

namespace zar {

constexpr uint32_t kDomainTextTag = 0x3e00033;

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
  bool intern_domain(const char *domain) { return domain_.intern(record_->domain, domain, kDomainTextTag); }

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
template <class Kind, class Fill, class Complete>
uint32_t create_map(uint32_t clid, const zar_map_info &info, uint32_t *handle_out, Fill fill, Complete complete) {
  MapDraft<typename Kind::Record> draft(Kind::pool());
  if (!draft) {
    Kind::trace_no_record(clid, info);
    return kNoMemory;
  }
  if (!draft.issue_handle()) {
    TRACE_ERROR(Kind::kNoHandle, clid, info.map_name);
    return kFailed;
  }
  if (!draft.intern_name(info.map_name, Kind::kNameTag)) {
    TRACE_ERROR(Kind::kNoName, clid, info.map_name);
    return kFailed;
  }
  if (!draft.intern_domain(info.domain)) {
    TRACE_ERROR(Kind::kNoDomain, clid, info.domain);
    return kFailed;
  }
  draft->domain_type = info.domain_type;
  fill(*draft);
  draft->hash_str = bstrdup_named(NameKey(info).text(), Kind::kKeyTag);
  if (!draft->hash_str) {
    TRACE_ERROR(Kind::kNoKey, clid, info.map_name);
    return kFailed;
  }
  complete(*draft);
  *handle_out = draft.finish();
  TRACE_INFO(Kind::kCreated, *handle_out);
  return kSuccess;
}

// Inserts any kind of map into this kind's tree under its name key.
template <class Kind>
uint32_t store_map(uint32_t clid, uint32_t handle) {
  if (!valid_clid(Kind::kStore, clid)) return kInvalidArgument;
  auto *record = resolve_any_map<typename Kind::Record>(handle);
  if (!record) {
    TRACE_ERROR(Kind::kStoreInvalid);
    return kInvalidArgument;
  }
  zar_db *database = database_of(clid, Kind::kStore);
  if (!database) return kFailed;
  if (!Kind::insert(database, record)) {
    TRACE_ERROR(Kind::kStoreFailed);
    return kTreeFailed;
  }
  Kind::trace_stored(handle, *record);
  return kSuccess;
}

template <class Kind>
bool may_retrieve(uint32_t clid, const zar_map_info *info, const uint32_t *handle_out) {
  if constexpr (Kind::kRetrieveStopsAtFirstFault) {
    return valid_clid(Kind::kRetrieve, clid) && Kind::place_given(Kind::kRetrieve, clid, handle_out) &&
           zar_verify_map_info(info, Kind::kRetrieve) == kSuccess;
  }
  bool valid = valid_clid(Kind::kRetrieve, clid);
  valid &= Kind::place_given(Kind::kRetrieve, clid, handle_out);
  return zar_verify_map_info(info, Kind::kRetrieve) == kSuccess && valid;
}

// Not finding a map is a success with handle 0. Names compare as in the tree, so a key that begins with a stored one
// may find that map.
template <class Kind>
uint32_t retrieve_map(uint32_t clid, const zar_map_info *info, uint32_t *handle_out) {
  if (!may_retrieve<Kind>(clid, info, handle_out)) return kInvalidArgument;

  NameKey key(*info);
  auto probe = probe_for<typename Kind::Record>(key);
  zar_db *database = database_of(clid, Kind::kRetrieve);
  if (!database) return kFailed;

  typename Kind::Record *found = nullptr;
  if (!Kind::search(database, &probe, &found)) {
    TRACE_INFO(Kind::kSearchFailed, clid, info->map_name);
    return kTreeFailed;
  }
  if (found) {
    *handle_out = found->handle;
    TRACE_INFO(Kind::kRetrieved, key.text());
  } else {
    TRACE_INFO(Kind::kNoMatch, clid, info->map_name);
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
