// The differences between the operations on policy-maps and on class-maps: their texts, tags and sizes.
#pragma once

#include "support/repository.h"

namespace rig {

struct PolicyMaps {
  using Record = zar_pmap;
  static constexpr Kind kKind = Kind::pmap;
  static constexpr const char *kCreate = "create_policy", *kStore = "store_policy", *kRetrieve = "retrieve_policy";
  static constexpr uint32_t kPoolTag = 0x3e00037, kNameTag = 0x3e00038, kKeyTag = 0x3e00039;

  static uint32_t create(uint32_t clid, const zar_map_info *info, uint32_t *out) {
    return zar_create_policy(clid, info, out);
  }
  static constexpr auto store = zar_store_policy;
  static constexpr auto retrieve = zar_retrieve_policy;
  static avl_tree *&tree(zar_db &database) { return database.pmap_tree; }
  static Handles stored(const zar_db *database) { return World::pmaps_in(database); }

  static Line no_place(const char *caller, uint32_t) {
    return error("(ERR): %s: input policy map handle cannot be NULL", caller);
  }
  static Line no_record(uint32_t clid, const char *) {
    return error("(ERR): create_policy: memory alloc for pmap failed clid:%d", clid);
  }
  static Line no_handle(uint32_t clid, const char *name) {
    return error("(ERR): create_policy: Could not create id for pmap  clid:%d, name:%s", clid, name);
  }
  static Line created(uint32_t handle) { return info("(info): create_policy: successful, pmap:0x%x", handle); }
  static Line bad_handle() { return error("(ERR): store_policy: Error: invalid pmap handle"); }
  static Line was_stored(uint32_t handle, const char *key) {
    return info("(info): store_policy: successful, hdl:0x%x, hash string:%s", handle, key);
  }
  static Line insert_failed(const char *key) { return error("(ERR): PMAP avl: insert failed, hash str:%s", key); }
  static Line insert_error(const void *record, const void *database) {
    return error("(ERR): PMAP avl: insert error, pmap_ptr:0x%p, db:0x%p", record, database);
  }
  static constexpr const char *kFound = "(info): retrieve_policy: successful, pmap:%s";
  static constexpr const char *kSearchErrorBegin = "(ERR): PMAP avl: search error, pmap_ptr:0x";
};

struct ClassMaps {
  using Record = zar_cmap;
  static constexpr Kind kKind = Kind::cmap;
  static constexpr const char *kCreate = "create_class", *kStore = "store_class", *kRetrieve = "retrieve_class";
  static constexpr uint32_t kPoolTag = 0x3e0003a, kNameTag = 0x3e0003b, kKeyTag = 0x3e0003c;

  static uint32_t create(uint32_t clid, const zar_map_info *info, uint32_t *out) {
    return zar_create_class(clid, info, 2, out);
  }
  static constexpr auto store = zar_store_class;
  static constexpr auto retrieve = zar_retrieve_class;
  static avl_tree *&tree(zar_db &database) { return database.cmap_tree; }
  static Handles stored(const zar_db *database) { return World::cmaps_in(database); }

  static Line no_place(const char *caller, uint32_t clid) {
    return error("(ERR): %s: clid:%d, input class map handle cannot be NULL", caller, clid);
  }
  static Line no_record(uint32_t clid, const char *name) {
    return error("(ERR): create_class: memory alloc for cmap failed clid:%d, name:%s", clid, name);
  }
  static Line no_handle(uint32_t clid, const char *name) {
    return error("(ERR): create_class: Could not create id for cmap clid:%d, name:%s", clid, name);
  }
  static Line created(uint32_t handle) { return info("(info): create_class: successful, cmap:0x%x", handle); }
  static Line bad_handle() { return error("(ERR): store_class: Error: invalid cmap handle"); }
  static Line was_stored(uint32_t, const char *) { return info("(info): store_class: successful"); }
  static Line insert_failed(const char *key) { return error("(ERR): CMAP avl: insert failed, hash str:%s", key); }
  static Line insert_error(const void *record, const void *database) {
    return error("(ERR): CMAP avl: insert error, cmap_ptr:0x%p, db:0x%p", record, database);
  }
  static constexpr const char *kFound = "(info): retrieve_class: successful, cmap:%s";
  static constexpr const char *kSearchErrorBegin = "(ERR): CMAP avl: search error, cmap_ptr:0x";
};

struct FamilyNames {
  template <typename Family>
  static std::string GetName(int) {
    return std::is_same_v<Family, PolicyMaps> ? "Policy" : "Class";
  }
};
using BothFamilies = ::testing::Types<PolicyMaps, ClassMaps>;

}  // namespace rig
