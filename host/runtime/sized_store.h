// Memory of any size, with a note of eight bytes about each block. Freeing a block detects whether it is in use.
//
// Small blocks come from slabs of one size each, with the note after the content; the owner of their page says to which
// slab they belong. The rest, and everything in a build for the sanitizers, is a heap block of exactly the requested
// size, so that an access past the end is detected; a table keeps their notes. It stores their addresses disguised, so
// that a block that its user lost counts as a leak.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <utility>

#include "host/runtime/record_store.h"
#include "host/runtime/slab_store.h"

namespace runtime {

class SizedStore {
 public:
  struct Note {
    uint32_t first;
    uint32_t second;
  };

  SizedStore() : SizedStore(std::make_index_sequence<kSmallSizes>()) {}

  // A block with undefined content, aligned to 16 bytes, or NULL.
  void *take(size_t size, Note note) noexcept {
    if (kRecordsOnHeap || size > kLargestSmall - sizeof(Note)) return take_from_heap(size, note);
    SlabStore &slabs = small_[(size + sizeof(Note) - 1) / kStep];
    void *block = slabs.take();
    if (block) *note_in(slabs, block) = note;
    return block;
  }

  // The note about a block in use; NULL for anything else.
  const Note *note_of(const void *block) const noexcept {
    const SlabStore *slabs = small_of(block);
    if (!slabs) return note_on_heap(block);
    return slabs->is_out(block) ? note_in(*slabs, block) : nullptr;
  }

  // Frees a block that is in use.
  void put_back(void *block) noexcept {
    if (SlabStore *slabs = small_of(block))
      slabs->put_back(block);
    else
      give_to_heap(block);
  }

 private:
  static constexpr size_t kStep = 16, kSmallSizes = 16, kLargestSmall = kStep * kSmallSizes;
  static constexpr uint32_t kPerSlab = 32;

  template <size_t... index>
  explicit SizedStore(std::index_sequence<index...>) : small_{SlabStore((index + 1) * kStep, kPerSlab)...} {}

  // The slabs to which the page of 'block' belongs, or NULL.
  const SlabStore *small_of(const void *block) const noexcept {
    const SlabStore *owner = SlabStore::owner_of(block);
    return owner >= small_.data() && owner < small_.data() + small_.size() ? owner : nullptr;
  }
  SlabStore *small_of(void *block) noexcept { return const_cast<SlabStore *>(std::as_const(*this).small_of(block)); }
  static Note *note_in(const SlabStore &slabs, const void *block) {
    return reinterpret_cast<Note *>(static_cast<char *>(const_cast<void *>(block)) + slabs.stride() - sizeof(Note));
  }
  static uintptr_t disguised(uintptr_t address) { return ~address; }
  void *take_from_heap(size_t size, Note note) noexcept;
  const Note *note_on_heap(const void *block) const noexcept;
  void give_to_heap(void *block) noexcept;

  std::array<SlabStore, kSmallSizes> small_;
  std::unordered_map<uintptr_t, Note> on_heap_;
};

}  // namespace runtime
