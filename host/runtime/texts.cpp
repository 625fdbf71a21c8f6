// The string database: equal texts share one block, which counts them.
//
// The blocks are found through an open-addressing table with the hash next to each pointer, so an existing text costs
// one hash, one line of the table and one block. The memory store of the blocks checks whether a removed reference is
// live, so a dead one is never read.
#include <algorithm>
#include <cstring>
#include <new>

#include "host/runtime/monitor.h"
#include "host/runtime/services.h"
#include "host/runtime/sized_store.h"

using namespace runtime;

struct sdb_block {
  uint32_t count;
  uint32_t length;

  char *text() { return reinterpret_cast<char *>(this + 1); }
  std::string_view view() { return {text(), length}; }
};

namespace {

uint64_t mixed(uint64_t a, uint64_t b) {
  __extension__ using Wide = unsigned __int128;
  Wide product = static_cast<Wide>(a) * b;
  return static_cast<uint64_t>(product) ^ static_cast<uint64_t>(product >> 64);
}

template <class Word>
uint64_t read(const char *text) {
  Word word = 0;
  std::memcpy(&word, text, sizeof word);
  return word;
}

// Up to seven characters as a number. It contains every character, possibly some twice: overlapping reads of fixed
// length are faster than one of variable length.
uint64_t short_word(const char *text, size_t length) {
  if (length >= 4) return read<uint32_t>(text) << 32 | read<uint32_t>(text + length - 4);
  if (length == 0) return 0;
  return read<uint8_t>(text) << 16 | read<uint8_t>(text + length / 2) << 8 | read<uint8_t>(text + length - 1);
}

uint32_t hash_of(std::string_view text) {
  constexpr uint64_t kFirst = 0xa0761d6478bd642fu, kSecond = 0xe7037ed1a0b428dbu;
  uint64_t hash = text.size();
  const char *at = text.data();
  if (text.size() >= sizeof(uint64_t)) {
    const char *last = at + text.size() - sizeof(uint64_t);
    for (; at < last; at += sizeof(uint64_t))
      hash = mixed(read<uint64_t>(at) ^ kSecond, hash ^ kFirst);
    hash = mixed(read<uint64_t>(last) ^ kSecond, hash ^ kFirst);
  } else {
    hash = mixed(short_word(at, text.size()) ^ kSecond, hash ^ kFirst);
  }
  return static_cast<uint32_t>(hash ^ hash >> 32);
}

class TextTable {
 public:
  // The block of 'text', or NULL.
  sdb_block *find(std::string_view text, uint32_t hash) const {
    if (entries_.empty()) return nullptr;
    for (size_t at = hash & mask(); entries_[at].block; at = (at + 1) & mask())
      if (entries_[at].hash == hash && entries_[at].block->view() == text) return entries_[at].block;
    return nullptr;
  }

  // Makes room for one more, so that adding cannot fail.
  void reserve() {
    if ((n_used_ + 1) * 2 <= entries_.size()) return;
    std::vector<Entry> old(std::max<size_t>(entries_.size() * 2, kSmallest));
    old.swap(entries_);
    n_used_ = 0;
    for (const Entry &entry : old)
      if (entry.block) add(entry.block, entry.hash);
  }

  void add(sdb_block *block, uint32_t hash) {
    size_t at = hash & mask();
    while (entries_[at].block)
      at = (at + 1) & mask();
    entries_[at] = {hash, block};
    ++n_used_;
  }

  void remove(const sdb_block *block, uint32_t hash) {
    size_t hole = hash & mask();
    while (entries_[hole].block != block)
      hole = (hole + 1) & mask();
    // The following entries move up if the hole would separate them from their slots.
    for (size_t at = (hole + 1) & mask(); entries_[at].block; at = (at + 1) & mask()) {
      size_t distance_from_home = (at - entries_[at].hash) & mask(), distance_from_hole = (at - hole) & mask();
      if (distance_from_home < distance_from_hole) continue;
      entries_[hole] = entries_[at];
      hole = at;
    }
    entries_[hole] = {};
    --n_used_;
  }

  template <class Visit>
  void for_each(Visit visit) const {
    for (const Entry &entry : entries_)
      if (entry.block) visit(*entry.block);
  }

 private:
  struct Entry {
    uint32_t hash = 0;
    sdb_block *block = nullptr;
  };
  static constexpr size_t kSmallest = 64;

  size_t mask() const { return entries_.size() - 1; }

  std::vector<Entry> entries_;  // at most half of them used
  size_t n_used_ = 0;
};

struct Texts {
  TextTable table;
  SizedStore store;  // the note about a block is its hash
};

Texts &texts() {
  return immortal<Texts>();
}

sdb_block *new_block(std::string_view text, uint32_t hash) noexcept {
  try {
    texts().table.reserve();
  } catch (const std::bad_alloc &) {
    return nullptr;
  }
  void *memory = texts().store.take(sizeof(sdb_block) + text.size() + 1, {hash, 0});
  if (!memory) return nullptr;
  auto block = new (memory) sdb_block{0, static_cast<uint32_t>(text.size())};
  std::memcpy(block->text(), text.data(), text.size());
  block->text()[text.size()] = '\0';
  texts().table.add(block, hash);
  return block;
}

}  // namespace

uint32_t sdb_add_block(const char *text, uint32_t length, sdb_ref *out, uint32_t tag) {
  if (!text || !out) {
    complain("a text was interned without %s", text ? "a place for the reference" : "a text");
    return 0;
  }
  // A text ends at its terminator, whatever length was passed, so that equal texts share one block.
  std::string_view view(text, strnlen(text, length));
  if (refused(Service::text, tag, view.size(), view)) return 0;
  uint32_t hash = hash_of(view);
  sdb_block *block = texts().table.find(view, hash);
  if (!block) block = new_block(view, hash);
  if (!block || block->count == UINT32_MAX) {
    note_out_of_memory();
    return 0;
  }
  ++block->count;
  *out = block;
  return 1;
}

uint32_t sdb_remove_block(sdb_ref reference, uint32_t tag) {
  const SizedStore::Note *note = reference ? texts().store.note_of(reference) : nullptr;
  if (!note) {
    complain("a text was given back that is not interned: %p, tag 0x%x", static_cast<void *>(reference), tag);
    return 0;
  }
  note_text_removal(reference->view(), tag);
  if (--reference->count > 0) return 1;
  texts().table.remove(reference, note->first);
  texts().store.put_back(reference);
  return 1;
}

const char *sdb_string_addr_ptr(sdb_ref reference) {
  return reference ? reference->text() : nullptr;
}

namespace runtime {

std::map<std::string, uint32_t> interned_texts() {
  std::map<std::string, uint32_t> result;
  texts().table.for_each([&result](sdb_block &block) { result.emplace(block.view(), block.count); });
  return result;
}

}  // namespace runtime
