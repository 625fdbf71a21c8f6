// Texts of the platform: interned ones, and blocks of named memory, both in owners until they are kept.
#pragma once

#include <cstdint>
#include <cstring>
#include <utility>

#include "platform/runtime.h"

namespace zar {

inline const char *text_of(sdb_ref reference) {
  return sdb_string_addr_ptr(reference);
}

inline uint32_t length_of(const char *text) {
  return static_cast<uint32_t>(std::strlen(text));
}

// An interned text that is released unless it is kept.
class HeldText {
 public:
  HeldText() = default;
  HeldText(const HeldText &) = delete;
  HeldText &operator=(const HeldText &) = delete;
  ~HeldText() {
    if (held_) sdb_remove_block(*place_, tag_);
  }

  // Interns 'text' into 'place'; false if the string database refuses.
  bool intern(sdb_ref &place, const char *text, uint32_t tag) {
    place_ = &place;
    tag_ = tag;
    held_ = sdb_add_block(text, length_of(text), &place, tag) != 0;
    return held_;
  }
  void keep() { held_ = false; }

 private:
  sdb_ref *place_ = nullptr;
  uint32_t tag_ = 0;
  bool held_ = false;
};

// A text in named memory that is freed unless it is kept; empty if there was no memory.
class OwnedText {
 public:
  OwnedText() = default;
  explicit OwnedText(char *text) : text_(text) {}
  ~OwnedText() { give_back(); }

  static OwnedText copy_of(const char *text, uint32_t tag) { return OwnedText(bstrdup_named(text, tag)); }
  // Room for 'size' bytes, zeroed.
  static OwnedText of_size(size_t size, uint32_t tag) {
    return OwnedText(static_cast<char *>(bcalloc_named(1, size, tag)));
  }

  explicit operator bool() const { return text_ != nullptr; }
  char *get() const { return text_; }
  char *keep() { return std::exchange(text_, nullptr); }
  void give_back() {
    if (text_) bfree_named(keep());
  }

 private:
  char *text_ = nullptr;
};

// A zeroed 'Record' in named memory, or NULL.
template <class Record>
Record *allocate(uint32_t tag) {
  return static_cast<Record *>(bcalloc_named(1, sizeof(Record), tag));
}

// 'count' pointers to records, all NULL, in named memory; or NULL.
template <class Record>
Record **allocate_table(size_t count, uint32_t tag) {
  return static_cast<Record **>(bcalloc_named(count, sizeof(void *), tag));
}

}  // namespace zar
