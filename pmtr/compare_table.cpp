// The compare table: whether a subscriber's values satisfy a statement.
//
// It has a slot for each filter type. The engine initialises the table for a statement's class-map, enters each of the
// subscriber's values, and asks for the result. There is only one table, so one evaluation at a time.
#include "core/checks.h"
#include "zar/compose.h"
#include "zar/pmtr.h"

using namespace zar;

namespace {

constexpr uint32_t kSlots = 5;
constexpr uint8_t kNotConfigured = 0, kNotMatched = 'N', kMatched = 'M';

uint8_t zar_internal_cmap_compare_table[kSlots];

}  // namespace

void zar_init_internal_cmap_compare(uint32_t cmap_handle) {
  const auto *cmap = resolve<zar_cmap>(cmap_handle);
  for (uint32_t slot = 0; slot < kSlots; ++slot) {
    bool configured = cmap && (cmap->filter_type_mask >> slot & 1);
    zar_internal_cmap_compare_table[slot] = configured ? kNotMatched : kNotConfigured;
  }
}

void zar_add_to_internal_cmap_compare(uint32_t cmap, const zar_filter_context *filter, uint32_t no_match,
                                      uint32_t slot) {
  if (slot >= kSlots) return;
  uint32_t found = 0;
  bool matched = zar_retrieve_filter(cmap, filter, no_match, &found) == kSuccess && found != 0;
  zar_internal_cmap_compare_table[slot] = matched ? kMatched : kNotMatched;
}

uint32_t zar_internal_cmap_compare(void) {
  bool any_matched = false;
  for (uint8_t slot : zar_internal_cmap_compare_table) {
    if (slot == kNotMatched) return kNo;
    any_matched |= slot == kMatched;
  }
  return any_matched ? kYes : kNo;
}
