// Named allocation: memory blocks counted by their allocation tag.
#include <array>
#include <cstring>
#include <new>
#include <unordered_map>

#include "host/runtime/monitor.h"
#include "host/runtime/services.h"
#include "host/runtime/sized_store.h"

using namespace runtime;

namespace {

struct TagCount {
  uint32_t tag;
  BlockCount count;
};

// The counts by tag. Callers use a few dozen tags that differ in their low bits, so a small table of guesses finds
// nearly every tag immediately; a block's note then refers to its count directly.
class TagCounts {
 public:
  uint32_t index_of(uint32_t tag) {
    uint32_t &guess = guesses_[tag % kGuesses];
    if (guess < counts_.size() && counts_[guess].tag == tag) [[likely]]
      return guess;
    return guess = found_or_added(tag);
  }
  BlockCount &at(uint32_t index) { return counts_[index].count; }
  const std::vector<TagCount> &all() const { return counts_; }

 private:
  static constexpr uint32_t kGuesses = 128;

  uint32_t found_or_added(uint32_t tag) {
    auto next = static_cast<uint32_t>(counts_.size());
    auto [entry, added] = indexes_.try_emplace(tag, next);
    if (added) counts_.push_back({tag, {}});
    return entry->second;
  }

  std::array<uint32_t, kGuesses> guesses_{};
  std::vector<TagCount> counts_;
  std::unordered_map<uint32_t, uint32_t> indexes_;
};

struct Blocks {
  SizedStore store;
  TagCounts counts;
};

Blocks &blocks() {
  return immortal<Blocks>();
}

// The note about a block: the index of its count, and its size. Sizes beyond 32 bits are requested only by mistake.
void *take(size_t size, uint32_t tag) noexcept {
  if (size > UINT32_MAX) return nullptr;
  auto &[store, counts] = blocks();
  uint32_t index = 0;
  try {
    index = counts.index_of(tag);
  } catch (const std::bad_alloc &) {
    return nullptr;
  }
  void *block = store.take(size, {index, static_cast<uint32_t>(size)});
  if (!block) return nullptr;
  BlockCount &count = counts.at(index);
  ++count.blocks;
  count.bytes += size;
  ++count.total;
  return block;
}

}  // namespace

void *bcalloc_named(size_t count, size_t size, uint32_t tag) {
  size_t bytes = 0;
  bool overflows = __builtin_mul_overflow(count, size, &bytes);
  if (refused(Service::block, tag, overflows ? SIZE_MAX : bytes)) return nullptr;
  void *block = overflows ? nullptr : take(bytes, tag);
  if (!block) {
    note_out_of_memory();
    return nullptr;
  }
  return std::memset(block, 0, bytes);
}

char *bstrdup_named(const char *text, uint32_t tag) {
  if (!text) return nullptr;
  size_t length = std::strlen(text);
  if (refused(Service::duplicate, tag, length, {text, length})) return nullptr;
  void *copy = take(length + 1, tag);
  if (!copy) {
    note_out_of_memory();
    return nullptr;
  }
  return static_cast<char *>(std::memcpy(copy, text, length + 1));
}

void bfree_named(void *memory) {
  if (!memory) return;
  auto &[store, counts] = blocks();
  const SizedStore::Note *note = store.note_of(memory);
  if (!note) {
    complain("%p was freed, which is no block that is out", memory);
    return;
  }
  BlockCount &count = counts.at(note->first);
  --count.blocks;
  count.bytes -= note->second;
  store.put_back(memory);
}

namespace runtime {

std::map<uint32_t, BlockCount> blocks_by_tag() {
  std::map<uint32_t, BlockCount> result;
  for (const TagCount &entry : blocks().counts.all())
    result[entry.tag] = entry.count;
  return result;
}

size_t live_blocks() {
  size_t live = 0;
  for (const TagCount &entry : blocks().counts.all())
    live += entry.count.blocks;
  return live;
}

}  // namespace runtime
