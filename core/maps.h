// The three kinds of maps and their differences: policy-maps, class-maps and parameter-maps are created, stored,
// retrieved and walked by the same templates, over one description for each kind. Differences between the texts are
// intentional: parameter-maps report some failures in the words of class-maps, and one message omits an argument that
// its siblings pass.
#pragma once

#include <concepts>

#include "core/checks.h"
#include "core/pool.h"
#include "core/trace.h"
#include "platform/tags.h"
#include "zar/core.h"

namespace zar {

// How a tree compares a key with one of its own: over the length of the shorter one, so that two keys are equal if one
// begins with the other, or over the length of the key in the tree, so that only a longer key equals it.
enum class KeyRule { common_length, tree_length };

struct PolicyMaps {
  using Record = zar_pmap;
  static Pool<zar_pmap> &pool() { return pmap_pool; }
  static constexpr uint32_t kNameTag = ZAR_TAG_PMAP_NAME;
  static constexpr uint32_t kKeyTag = ZAR_TAG_PMAP_KEY;
  static constexpr auto insert = zar_avl_insert_pmap;
  static constexpr auto search = zar_avl_search_pmap;
  static constexpr auto get_first = zar_avl_get_first_pmap;
  static constexpr auto get_next = zar_avl_get_next_pmap;
  static bool place_given(const char *name, uint32_t, const uint32_t *place) { return pmap_place_given(name, place); }
  static constexpr bool kStopsAtFirstFault = false;

  static void trace_no_record(uint32_t clid, const zar_map_info &) {
    TRACE_ERROR("(ERR): create_policy: memory alloc for pmap failed clid:%d", clid);
  }
  static constexpr char kNoHandle[] = "(ERR): create_policy: Could not create id for pmap  clid:%d, name:%s";
  static constexpr char kNoName[] = "(ERR): create_policy: Could not add map name to SDB  clid:%d, name:%s";
  static constexpr char kNoDomain[] = "(ERR): create_policy: Could not add domain name to SDB  clid:%d, name:%s";
  static constexpr char kNoKey[] = "(ERR): create_policy: Could not create hash string  clid:%d, name:%s";
  static constexpr char kCreated[] = "(info): create_policy: successful, pmap:0x%x";

  static constexpr char kStore[] = "store_policy";
  static constexpr char kStoreInvalid[] = "(ERR): store_policy: Error: invalid pmap handle";
  static constexpr char kStoreFailed[] = "(ERR): store_policy: Error: avl insert failed";
  static void trace_stored(uint32_t handle, const zar_pmap &record) {
    TRACE_INFO("(info): store_policy: successful, hdl:0x%x, hash string:%s", handle, or_null(record.hash_str));
  }

  static constexpr char kRetrieve[] = "retrieve_policy";
  static constexpr char kRetrieveFailed[] = "(info): retrieve_policy: search failed  clid:%d, name:%s";
  static constexpr char kNoMatch[] = "(info): retrieve_policy: search failed as there is no match clid:%d, name:%s";
  static constexpr char kRetrieved[] = "(info): retrieve_policy: successful, pmap:%s";

  struct Tree {
    using Record = zar_pmap;
    static avl_tree *of(const zar_db &database) { return database.pmap_tree; }
    static const char *key(const Record &record) { return or_null(record.hash_str); }
    static constexpr auto kKeys = KeyRule::common_length;
    static constexpr bool kDeleteErrorTellsPlace = true;
    static constexpr char kCompare[] = "(info): PMAP avl comp, nas:0x%p, tree:0x%p";
    static constexpr char kCompareKeys[] = "(info): PMAP avl comp, nas_str:%s, tree_str:%s";
    static constexpr char kInsertFailed[] = "(ERR): PMAP avl: insert failed, hash str:%s";
    static constexpr char kInsertError[] = "(ERR): PMAP avl: insert error, pmap_ptr:0x%p, db:0x%p";
    static constexpr char kSearchError[] = "(ERR): PMAP avl: search error, pmap_ptr:0x%p, db:0x%p";
    static constexpr char kDeleteFailed[] = "(ERR): PMAP avl: delete failed, hash str:%s";
    static constexpr char kDeleteError[] = "(ERR): PMAP avl: delete error, pmap_ptr:0x%p, db:0x%p, result:0x%p";
    static constexpr char kNoFirst[] = "(info): PMAP avl: get first, no first pmap";
    static constexpr char kFirstError[] = "(ERR): PMAP avl: get first error, pmap_ptr:0x%p, db:0x%p";
    static constexpr char kNoNext[] = "(info): PMAP avl: get next, no next pmap";
    static constexpr char kNextError[] = "(ERR): PMAP avl: get next error, pmap_ptr:0x%p, db:0x%p, next:0x%p";
    static constexpr char kRemoveError[] = "(ERR): PMAP avl: remove tree: error, database ptr cannot be NULL";
    static constexpr char kFreeNull[] = "(ERR): PMAP avl: Received NULL in free pmap";
  };

  struct Walk {
    static constexpr char kFirst[] = "get_first_policy";
    static constexpr char kFirstFailed[] = "(ERR): Error: getting first pmap";
    static constexpr char kNoFirst[] = "(info): %s: success, no first policy in the database";
    static constexpr char kFirstFound[] = "(info): %s: success, first policy:0x%x";
    static constexpr char kNext[] = "get_next_policy";
    static constexpr char kNextFailed[] = "(ERR): Error: getting next pmap";
    static constexpr char kNoNext[] = "(info): %s: success, no next policy in the database";
    // The next policy-map reports itself as the first.
    static constexpr char kNextFound[] = "(info): %s: success, first policy:0x%x";
  };
};

struct ClassMaps {
  using Record = zar_cmap;
  static Pool<zar_cmap> &pool() { return cmap_pool; }
  static constexpr uint32_t kNameTag = ZAR_TAG_CMAP_NAME;
  static constexpr uint32_t kKeyTag = ZAR_TAG_CMAP_KEY;
  static constexpr auto insert = zar_avl_insert_cmap;
  static constexpr auto search = zar_avl_search_cmap;
  static constexpr auto get_first = zar_avl_get_first_cmap;
  static constexpr auto get_next = zar_avl_get_next_cmap;
  static constexpr auto place_given = cmap_place_given;
  static constexpr bool kStopsAtFirstFault = false;

  static void trace_no_record(uint32_t clid, const zar_map_info &info) {
    TRACE_ERROR("(ERR): create_class: memory alloc for cmap failed clid:%d, name:%s", clid, info.map_name);
  }
  static constexpr char kNoHandle[] = "(ERR): create_class: Could not create id for cmap clid:%d, name:%s";
  static constexpr char kNoName[] = "(ERR): create_class: Could not add map name to SDB  clid:%d, name:%s";
  static constexpr char kNoDomain[] = "(ERR): create_class: Could not add domain name to SDB  clid:%d, name:%s";
  static constexpr char kNoKey[] = "(ERR): create_class: Could not create hash string  clid:%d, name:%s";
  static constexpr char kCreated[] = "(info): create_class: successful, cmap:0x%x";

  static constexpr char kStore[] = "store_class";
  static constexpr char kStoreInvalid[] = "(ERR): store_class: Error: invalid cmap handle";
  static constexpr char kStoreFailed[] = "(ERR): store_class: Error: avl insert failed";
  static void trace_stored(uint32_t, const zar_cmap &) { TRACE_INFO("(info): store_class: successful"); }

  static constexpr char kRetrieve[] = "retrieve_class";
  static constexpr char kRetrieveFailed[] = "(info): retrieve_class: search failed  clid:%d, name:%s";
  static constexpr char kNoMatch[] = "(info): retrieve_class: search failed as there is no match clid:%d, name:%s";
  static constexpr char kRetrieved[] = "(info): retrieve_class: successful, cmap:%s";

  struct Tree {
    using Record = zar_cmap;
    static avl_tree *of(const zar_db &database) { return database.cmap_tree; }
    static const char *key(const Record &record) { return or_null(record.hash_str); }
    static constexpr auto kKeys = KeyRule::tree_length;
    static constexpr bool kDeleteErrorTellsPlace = true;
    static constexpr char kCompare[] = "(info): CMAP avl comp, nas:0x%p, tree:0x%p";
    static constexpr char kCompareKeys[] = "(info): CMAP avl comp, nas_str:%s, tree_str:%s";
    static constexpr char kInsertFailed[] = "(ERR): CMAP avl: insert failed, hash str:%s";
    static constexpr char kInsertError[] = "(ERR): CMAP avl: insert error, cmap_ptr:0x%p, db:0x%p";
    static constexpr char kSearchError[] = "(ERR): CMAP avl: search error, cmap_ptr:0x%p, db:0x%p";
    static constexpr char kDeleteFailed[] = "(ERR): CMAP avl: delete failed, hash str:%s";
    static constexpr char kDeleteError[] = "(ERR): CMAP avl: delete error, cmap_ptr:0x%p, db:0x%p, result:0x%p";
    static constexpr char kNoFirst[] = "(info): CMAP avl, get first: no first cmap";
    static constexpr char kFirstError[] = "(ERR): CMAP avl: get first error, cmap_ptr:0x%p, db:0x%p";
    static constexpr char kNoNext[] = "(info): CMAP avl: get next, no next cmap";
    static constexpr char kNextError[] = "(ERR): CMAP avl: get next error, cmap_ptr:0x%p, db:0x%p, next:0x%p";
    static constexpr char kRemoveError[] = "(ERR): CMAP avl: remove tree error, database ptr cannot be NULL";
    static constexpr char kFreeNull[] = "(ERR): CMAP avl: Received NULL in free cmap";
  };

  struct Walk {
    static constexpr char kFirst[] = "get_first_class";
    static constexpr char kFirstFailed[] = "(ERR): Error: getting first cmap";
    static constexpr char kNoFirst[] = "(info): %s: success, no first cmap in the database";
    static constexpr char kFirstFound[] = "(info): %s: success, first class:0x%x";
    static constexpr char kNext[] = "get_next_class";
    static constexpr char kNextFailed[] = "(ERR): Error: getting next cmap";
    static constexpr char kNoNext[] = "(info): %s: success, no next cmap in the database";
    static constexpr char kNextFound[] = "(info): %s: success, next cmap:0x%x";
  };
};

struct ParameterMaps {
  using Record = zar_pmtr_map;
  static Pool<zar_pmtr_map> &pool() { return pmtr_map_pool; }
  static constexpr uint32_t kNameTag = ZAR_TAG_PMTR_MAP_NAME;
  static constexpr uint32_t kKeyTag = ZAR_TAG_PMTR_MAP_KEY;
  static constexpr auto insert = zar_avl_insert_pmtr_map;
  static constexpr auto search = zar_avl_search_pmtr_map;
  static constexpr auto get_first = zar_avl_get_first_pmtr_map;
  static constexpr auto get_next = zar_avl_get_next_pmtr_map;
  static constexpr auto place_given = pmtr_map_place_given;
  static constexpr bool kStopsAtFirstFault = true;

  static void trace_no_record(uint32_t clid, const zar_map_info &info) {
    TRACE_ERROR("(ERR): create_pmtr_map: memory alloc for pmtr_map failed clid:%d, name:%s", clid, info.map_name);
  }
  static constexpr char kNoHandle[] = "(ERR): create_pmtr_map: Could not create id for pmtr-map clid:%d, name:%s";
  static constexpr char kNoName[] = "(ERR): create_pmtr_map: Could not add pmtr-map name to SDB clid:%d, name:%s";
  static constexpr char kNoDomain[] = "(ERR): create_pmtr_map: Could not add domain name to SDB  clid:%d, name:%s";
  static constexpr char kNoKey[] = "(ERR): create_pmtr_map: Could not create hash string  clid:%d, name:%s";
  static constexpr char kCreated[] = "(info): create_pmtr_map: successful, pmtr_map:0x%x";

  static constexpr char kStore[] = "store_pmtr_map";
  static constexpr char kStoreInvalid[] = "(ERR): store_pmtr_map: Error: invalid pmtr_map handle";
  static constexpr char kStoreFailed[] = "(ERR): store_pmtr_map: Error: avl insert failed";
  static void trace_stored(uint32_t, const zar_pmtr_map &) { TRACE_INFO("(info): store_pmtr_map: successful"); }

  static constexpr char kRetrieve[] = "retrieve_pmtr_map";
  static constexpr char kRetrieveFailed[] = "(info): retrieve_pmtr_map: search failed  clid:%d, name:%s";
  static constexpr char kNoMatch[] = "(info): retrieve_pmtr_map: search failed as there is no match clid:%d, name:%s";
  static constexpr char kRetrieved[] = "(info): retrieve_pmtr_map: successful, pmtr_map:%s";

  struct Tree {
    using Record = zar_pmtr_map;
    static avl_tree *of(const zar_db &database) { return database.pmtr_map_tree; }
    static const char *key(const Record &record) { return or_null(record.hash_str); }
    static constexpr auto kKeys = KeyRule::tree_length;
    static constexpr bool kDeleteErrorTellsPlace = false;
    static constexpr char kCompare[] = "(info): PMTR-MAP avl comp, nas:0x%p, tree:0x%p";
    static constexpr char kCompareKeys[] = "(info): PMTR-MAP avl comp, nas_str:%s, tree_str:%s";
    static constexpr char kInsertFailed[] = "(ERR): CMAP avl: insert failed, hash str:%s";
    static constexpr char kInsertError[] = "(ERR): PMTR-MAP avl: insert error, pmtr_map_ptr:0x%p, db:0x%p";
    static constexpr char kSearchError[] = "(ERR): PMTR-MAP avl: search error, cmap_ptr:0x%p, db:0x%p";
    static constexpr char kDeleteFailed[] = "(ERR): CMAP avl: delete failed, hash str:%s";
    static constexpr char kDeleteError[] = "(ERR): PMTR-MAP avl: delete error, cmap_ptr:0x%p, db:0x%p";
    static constexpr char kNoFirst[] = "(info): PMTR-MAP avl, get first: no first pmtr-map";
    static constexpr char kFirstError[] = "(ERR): PMTR-MAP avl: get first error, pmtr_map_ptr:0x%p, db:0x%p";
    static constexpr char kNoNext[] = "(info): PMTR-MAP avl, get next: no next pmtr-map";
    static constexpr char kNextError[] = "(ERR): PMTR-MAP avl: get next error, pmtr_map_ptr:0x%p, db:0x%p, next:0x%p";
    static constexpr char kRemoveError[] = "(ERR): PMTR-MAP avl: remove tree error, database ptr cannot be NULL";
    static constexpr char kFreeNull[] = "(ERR): PMTR-MAP avl: Received NULL in free pmtr-map";
  };

  struct Walk {
    static constexpr char kFirst[] = "get_first_pmtr_map";
    static constexpr char kFirstFailed[] = "(ERR): Error: getting first pmtr_map";
    static constexpr char kNoFirst[] = "(info): %s: success, no first pmtr_map in the database";
    static constexpr char kFirstFound[] = "(info): %s: success, first pmtr-map:0x%x";
    static constexpr char kNext[] = "get_next_pmtr_map";
    static constexpr char kNextFailed[] = "(ERR): Error: getting next pmtr_map";
    static constexpr char kNoNext[] = "(info): %s: success, no next pmtr_map in the database";
    static constexpr char kNextFound[] = "(info): %s: success, next pmtr-map:0x%x";
  };
};

// The description of the maps that are records of this kind.
template <class Record>
struct MapsOf;
template <>
struct MapsOf<zar_pmap> : PolicyMaps {};
template <>
struct MapsOf<zar_cmap> : ClassMaps {};
template <>
struct MapsOf<zar_pmtr_map> : ParameterMaps {};

template <class Text>
concept MessageText = std::convertible_to<Text, const char *>;

// What the operations on a tree of maps need: the tree of a database, its keys, and the texts.
template <class Tree>
concept MapTreeDescription = requires(const zar_db &database, const typename Tree::Record &record) {
  { Tree::of(database) } -> std::same_as<avl_tree *>;
  { Tree::key(record) } -> std::same_as<const char *>;
  { Tree::kKeys } -> std::convertible_to<KeyRule>;
  { Tree::kDeleteErrorTellsPlace } -> std::convertible_to<bool>;
  { Tree::kCompare } -> MessageText;
  { Tree::kCompareKeys } -> MessageText;
  { Tree::kInsertFailed } -> MessageText;
  { Tree::kInsertError } -> MessageText;
  { Tree::kSearchError } -> MessageText;
  { Tree::kDeleteFailed } -> MessageText;
  { Tree::kDeleteError } -> MessageText;
  { Tree::kNoFirst } -> MessageText;
  { Tree::kFirstError } -> MessageText;
  { Tree::kNoNext } -> MessageText;
  { Tree::kNextError } -> MessageText;
  { Tree::kRemoveError } -> MessageText;
  { Tree::kFreeNull } -> MessageText;
};

// The texts of the walk over the maps of a database.
template <class Walk>
concept MapWalkDescription = requires {
  { Walk::kFirst } -> MessageText;
  { Walk::kFirstFailed } -> MessageText;
  { Walk::kNoFirst } -> MessageText;
  { Walk::kFirstFound } -> MessageText;
  { Walk::kNext } -> MessageText;
  { Walk::kNextFailed } -> MessageText;
  { Walk::kNoNext } -> MessageText;
  { Walk::kNextFound } -> MessageText;
};

// What making, storing and retrieving need.
template <class Maps, class Record = typename Maps::Record>
concept StoredMapDescription = requires(Record *record, Record **out, zar_db *database, const zar_map_info &info) {
  // The record's pool, and the allocation tags of its interned name and of its name key.
  { Maps::pool() } -> std::same_as<Pool<Record> &>;
  { Maps::kNameTag } -> std::convertible_to<uint32_t>;
  { Maps::kKeyTag } -> std::convertible_to<uint32_t>;
  // The operations on its tree.
  { Maps::insert(database, record) } -> std::same_as<uint32_t>;
  { Maps::search(database, record, out) } -> std::same_as<uint32_t>;
  { Maps::get_first(database, out) } -> std::same_as<uint32_t>;
  { Maps::get_next(database, record, out) } -> std::same_as<uint32_t>;
  // The check of the place for a handle, and whether a retrieve or a walk stops at the first fault of its arguments.
  { Maps::place_given("", 0U, nullptr) } -> std::same_as<bool>;
  { Maps::kStopsAtFirstFault } -> std::convertible_to<bool>;
  Maps::trace_no_record(0U, info);
  Maps::trace_stored(0U, *record);
  { Maps::kNoHandle } -> MessageText;
  { Maps::kNoName } -> MessageText;
  { Maps::kNoDomain } -> MessageText;
  { Maps::kNoKey } -> MessageText;
  { Maps::kCreated } -> MessageText;
  { Maps::kStore } -> MessageText;
  { Maps::kStoreInvalid } -> MessageText;
  { Maps::kStoreFailed } -> MessageText;
  { Maps::kRetrieve } -> MessageText;
  { Maps::kRetrieveFailed } -> MessageText;
  { Maps::kNoMatch } -> MessageText;
  { Maps::kRetrieved } -> MessageText;
};

template <class Maps>
concept MapDescription =
    StoredMapDescription<Maps> && MapTreeDescription<typename Maps::Tree> && MapWalkDescription<typename Maps::Walk>;
static_assert(MapDescription<PolicyMaps> && MapDescription<ClassMaps> && MapDescription<ParameterMaps>);

}  // namespace zar
