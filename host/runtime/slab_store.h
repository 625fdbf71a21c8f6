// Memory for records of one size: slabs out of one address range, and an intrusive list of the free records.
//
// Taking and returning a record must cost less than half of malloc and free, and returning must still detect whether
// the record is in use and from this store. So all slabs of the process are in one reserved range of addresses, with a
// separate table of the page owners: four bytes per page, dense, and hot in the first-level cache. A record is checked
// with one load from it, one multiplication for the division by the record size, and one read of the record itself:
//
// 1. An address outside the used part of the range, or in a page of another store, is foreign.
// 2. An offset in the slab that is not a multiple of the record size is not the start of a record.
// 3. A record in the free list has its own address, inverted, in its second word. Content that looks like this by
//    chance is distinguished by a walk over the free list, which is needed only for such a record.
//
// Records that are large enough to be in trees are aligned to cache lines. The part that a search reads, from the
// second word (the children) to the ninth (where maps have the pointer to their key), is then in one line instead of
// two or three.
//
// A new slab goes into the free list as a whole, and the live records are counted by a walk when requested: taking and
// returning have one path each and share one count.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>

#include "host/runtime/placement.h"

namespace runtime {

class SlabStore {
 public:
  // For records of 'size' bytes, which it allocates 'per_slab' at a time (more, if that would leave part of a page
  // unused).
  constexpr SlabStore(size_t size, uint32_t per_slab, Placement placement = Placement::dense)
      : stride_(stride_for(size, placement)),
        multiple_of_stride_(UINT64_MAX / stride_for(size, placement) + 1),
        first_at_(is_by_lines(size, placement) ? kLine - sizeof(void *) : 0),
        per_slab_(per_slab) {}
  SlabStore(const SlabStore &) = delete;
  SlabStore &operator=(const SlabStore &) = delete;

  // A record with undefined content, or NULL.
  void *take() noexcept { return free_ || grow() ? take_without_growing() : nullptr; }
  // The same, if there is a free record.
  void *take_without_growing() noexcept {
    FreeRecord *record = free_;
    if (!record) [[unlikely]]
      return nullptr;
    free_ = record->next;
    record->mark = 0;
    ++taken_;
    fill(record, kTakenFiller);
    return record;
  }

  // Takes 'record' back; false if it is not a record of this store in use.
  bool give(void *record) noexcept {
    bool out = is_out(record);
    if (out) put_back(record);
    return out;
  }
  // The same without searching the free records: also false for one that might be there.
  bool give_without_search(void *record) noexcept {
    if (!is_place_of_record(record) || looks_free(record)) [[unlikely]]
      return false;
    put_back(record);
    return true;
  }
  // Takes back a record that is known to be in use.
  void put_back(void *record) noexcept {
    fill(record, kGivenFiller);
    free_ = new (record) FreeRecord{free_, mark_of(record)};
  }

  bool is_out(const void *record) const noexcept {
    return is_place_of_record(record) && (!looks_free(record) || !in_free_list(record));
  }

  // The store to which the page of 'address' belongs, or NULL.
  static SlabStore *owner_of(const void *address) noexcept {
    uint64_t distance = distance_in_range(address);
    return distance < range_.used ? range_.stores[range_.pages[distance / kPageSize].store] : nullptr;
  }

  size_t stride() const { return stride_; }
  size_t live() const { return n_records_ - n_free(); }
  size_t total() const { return taken_; }

 private:
  struct FreeRecord {
    FreeRecord *next;
    uintptr_t mark;
  };
  struct Page {
    uint16_t store;    // index in 'stores'; 0 for none
    uint16_t in_slab;  // the number of this page in its slab
  };
  struct Range {
    char *begin = nullptr;
    uint64_t used = 0;       // bytes taken by slabs
    uint64_t committed = 0;  // accessible bytes
    uint64_t reserved = 0;
    Page *pages = nullptr;
    SlabStore **stores = nullptr;
    uint32_t n_stores = 0;
  };

  static constexpr uint64_t kPageSize = 4096;
  static constexpr size_t kLine = 64;
  static constexpr size_t kLargestSlab = size_t{4} << 20;
  static constexpr unsigned char kTakenFiller = 0xa5, kGivenFiller = 0xdb;

  static constexpr bool is_by_lines(size_t size, Placement placement) {
    return placement == Placement::by_lines && size > 2 * kLine;
  }
  static constexpr size_t stride_for(size_t size, Placement placement) {
    if (is_by_lines(size, placement)) return rounded_up(size, kLine);
    return size < sizeof(FreeRecord) ? sizeof(FreeRecord) : rounded_up(size, alignof(FreeRecord));
  }
  static constexpr size_t rounded_up(size_t size, size_t step) { return (size + step - 1) & ~(step - 1); }
  static uint64_t distance_in_range(const void *address) {
    return reinterpret_cast<uintptr_t>(address) - reinterpret_cast<uintptr_t>(range_.begin);
  }
  static uintptr_t mark_of(const void *record) { return ~reinterpret_cast<uintptr_t>(record); }
  static bool looks_free(const void *record) {
    return static_cast<const FreeRecord *>(record)->mark == mark_of(record);
  }

  bool is_place_of_record(const void *record) const noexcept {
    uint64_t distance = distance_in_range(record);
    if (distance >= range_.used) return false;
    Page page = range_.pages[distance / kPageSize];
    // An address before the first record underflows, and so is far beyond the last one.
    uint64_t in_slab = uint64_t{page.in_slab} * kPageSize + distance % kPageSize - first_at_;
    // A multiple of the stride, times the rounded-up inverse of the stride, leaves less than the inverse.
    return page.store == number_ && in_slab < used_per_slab_ && in_slab * multiple_of_stride_ < multiple_of_stride_;
  }
  bool in_free_list(const void *record) const noexcept;
  size_t n_free() const noexcept;
  bool grow() noexcept;
  bool enter_into_range() noexcept;
  static bool reserve_range() noexcept;
  static bool commit(uint64_t bytes) noexcept;
  char *new_slab(size_t bytes) noexcept;

  // Undefined content is made conspicuous where speed does not matter.
  void fill([[maybe_unused]] void *record, [[maybe_unused]] unsigned char filler) const {
#ifndef NDEBUG
    std::memset(record, filler, stride_);
#endif
  }

  static constinit Range range_;

  FreeRecord *free_ = nullptr;
  size_t taken_ = 0;
  size_t stride_;
  uint64_t multiple_of_stride_;
  size_t first_at_;           // bytes in a slab before the first record
  size_t used_per_slab_ = 0;  // bytes in a slab that hold whole records
  uint16_t number_ = 0;       // index in 'stores'; 0 until the first slab
  uint32_t per_slab_;
  size_t n_records_ = 0;  // in all slabs
};

}  // namespace runtime
