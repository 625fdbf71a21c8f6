// Pools of records, one for each kind, and owners that return a record to its pool unless it is kept.
#pragma once

#include <cstring>
#include <utility>

#include "core/debug/ledger.h"
#include "core/under_way.h"
#include "platform/runtime.h"
#include "platform/tags.h"
#include "zar/core.h"

namespace zar {

// Arguments common to all pools.
constexpr uint32_t kPoolFlags = 0x111;

template <class Record>
class Pooled;

// A pool that is created on first use and never destroyed. If that fails, the next caller that needs it tries again;
// until then it returns no records.
template <class Record>
class Pool {
 public:
  constexpr Pool(uint32_t per_chunk, uint32_t tag) : per_chunk_(per_chunk), tag_(tag) {}
  // A pool that the platform knows by name instead of by tag.
  constexpr Pool(uint32_t per_chunk, const char *const *name) : per_chunk_(per_chunk), name_(name) {}

  // Creates the pool if there is none yet; false if that fails.
  bool ready() { return ready_with_tag(tag_); }
  // The same for a pool whose tag is that of its first user.
  bool ready_with_tag(uint32_t tag) {
    if (!pool_) pool_ = make(tag);
    return pool_ != nullptr;
  }

  // A zeroed record that is returned unless it is kept; empty if there is none.
  Pooled<Record> take() { return take_with_tag(tag_); }
  Pooled<Record> take_with_tag(uint32_t tag) {
    ready_with_tag(tag);
    return take_if_ready();
  }
  // The same after a call of ready(): a pool that could not be created then is not tried again.
  Pooled<Record> take_if_ready() {
    void *memory = pool_ ? chunk_malloc(pool_) : nullptr;
    if (!memory) return {};
    std::memset(memory, 0, sizeof(Record));
    return Pooled<Record>(this, static_cast<Record *>(memory));
  }

  uint32_t give_back(Record *record) {
    note_freed(record);
    debug::note_given_back(record);
    return chunk_free(pool_, record);
  }

 private:
  chunk_pool *make(uint32_t tag) const {
    if (name_) return chunk_create(*name_, sizeof(Record), per_chunk_, kPoolFlags, 0, 0);
    return chunk_create_bmalloc(sizeof(Record), per_chunk_, kPoolFlags, 0, tag);
  }

  chunk_pool *pool_ = nullptr;
  uint32_t per_chunk_;
  uint32_t tag_ = 0;
  const char *const *name_ = nullptr;
};

template <class Record>
class Pooled {
 public:
  Pooled() = default;
  Pooled(Pool<Record> *pool, Record *record) : pool_(pool), record_(record) {}
  Pooled(Pooled &&other) noexcept : pool_(other.pool_), record_(other.keep()) {}
  Pooled &operator=(Pooled &&other) noexcept {
    std::swap(pool_, other.pool_);
    std::swap(record_, other.record_);
    return *this;
  }
  ~Pooled() {
    if (record_) pool_->give_back(record_);
  }

  explicit operator bool() const { return record_ != nullptr; }
  Record *operator->() const { return record_; }
  Record &operator*() const { return *record_; }
  Record *get() const { return record_; }
  Record *keep() { return std::exchange(record_, nullptr); }

 private:
  Pool<Record> *pool_ = nullptr;
  Record *record_ = nullptr;
};

// An element of a target's 'active_pmaps' and, where readers of the public record do not see it, its counterpart in the
// policy-map's 'target_refs'. That list may be long; thanks to this member it is not searched.
struct TargetPmap : zar_target_pmap {
  zar_pmap_target_ref *counterpart;  // NULL until the pair is linked both ways
};

inline constinit Pool<zar_domain_entry> domain_entry_pool{20, ZAR_TAG_DOMAIN_RECORD};
inline constinit Pool<zar_db> database_pool{20, ZAR_TAG_DATABASE_RECORD};
inline constinit Pool<zar_client_data> client_pool{20, ZAR_TAG_CLIENT_RECORD};
inline constinit Pool<zar_pmap> pmap_pool{20, ZAR_TAG_PMAP_RECORD};
inline constinit Pool<zar_cmap> cmap_pool{20, ZAR_TAG_CMAP_RECORD};
inline constinit Pool<zar_action> action_pool{50, ZAR_TAG_ACTION_RECORD};
inline constinit Pool<zar_filter> filter_pool{50, ZAR_TAG_FILTER_RECORD};
inline constinit Pool<zar_event_tuple> event_tuple_pool{30, ZAR_TAG_EVENT_TUPLE};
inline constinit Pool<zar_event_context> event_context_pool{30, ZAR_TAG_EVENT_CONTEXT};
inline constinit Pool<zar_class_action> class_action_pool{30, ZAR_TAG_CLASS_ACTION};
inline constinit Pool<zar_pmap_cmap_ref> pmap_cmap_ref_pool{30, ZAR_TAG_PMAP_CMAP_REF};
inline constinit Pool<zar_cmap_pmap_ref> cmap_pmap_ref_pool{30, ZAR_TAG_CMAP_PMAP_REF};
inline constinit Pool<zar_target> target_pool{50, ZAR_TAG_TARGET_RECORD};
inline constinit Pool<TargetPmap> target_pmap_pool{30, ZAR_TAG_TARGET_PMAP};
inline constinit Pool<zar_pmap_target_ref> pmap_target_ref_pool{30, ZAR_TAG_PMAP_TARGET_REF};
inline constinit Pool<zar_target_policy_context> policy_context_pool{30, ZAR_TAG_POLICY_CONTEXT};
inline constinit Pool<zar_pmtr_map> pmtr_map_pool{20, &zar_db_pmtr_map_chunk_str};
inline constinit Pool<zar_pmtr_map_stmt> pmtr_map_stmt_pool{20, &zar_db_pmtr_map_stmt_chunk_str};

}  // namespace zar
