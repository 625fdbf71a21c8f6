// The filters of class-maps: an ordered list in which every insertion gives its position.
#include "core/callbacks.h"
#include "core/checks.h"
#include "core/queue.h"
#include "objects/leaves.h"
#include "zar/compose.h"

using namespace zar;

namespace {

// The class-map and the filter of an operation; both are checked before either refuses.
struct ClassAndFilter {
  ClassAndFilter(const char *name, uint32_t cmap_handle, uint32_t filter_handle)
      : cmap(require<zar_cmap>(name, cmap_handle)), filter(require_filter(name, filter_handle)) {}
  explicit operator bool() const { return cmap && filter; }

  zar_cmap *cmap;
  zar_filter *filter;
};

bool has_flag(const zar_filter &filter, uint32_t no_match) {
  return filter.no_match == static_cast<uint8_t>(no_match);
}

}  // namespace

uint32_t zar_add_filter_to_class(uint32_t cmap, uint32_t filter) {
  static constexpr char kName[] = "add_filter_to_class";
  ClassAndFilter given(kName, cmap, filter);
  if (!given) return kInvalidArgument;
  append(given.cmap->filters, given.filter);
  TRACE_INFO("(info): %s: filter:0x%x added to class:0x%x", kName, filter, cmap);
  return kSuccess;
}

uint32_t zar_add_filter_to_class_before_filter(uint32_t cmap, uint32_t filter, uint32_t reference) {
  static constexpr char kName[] = "add_filter_to_class_before_filter";
  ClassAndFilter given(kName, cmap, filter);
  if (!given) return kInvalidArgument;
  Place place = insert_before_handle(given.cmap->filters, given.filter, reference, [=] {
    TRACE_INFO("(info): %s: adding filter:0x%x to class:0x%x before filter:0x%xas first entry", kName, filter, cmap,
               reference);
  });
  if (place == Place::nowhere) {
    TRACE_ERROR("(ERR): %s: Error: Could not find filter hdl:0x%x in class-map to insert before", kName, reference);
    return kInvalidArgument;
  }
  TRACE_INFO("(info): %s: filter:0x%x added to class:0x%x", kName, filter, cmap);
  return kSuccess;
}

uint32_t zar_add_filter_to_class_after_filter(uint32_t cmap, uint32_t filter, uint32_t reference) {
  static constexpr char kName[] = "add_filter_to_class_after_filter";
  ClassAndFilter given(kName, cmap, filter);
  if (!given) return kInvalidArgument;
  if (insert_after_handle(given.cmap->filters, given.filter, reference) == Place::nowhere) {
    TRACE_ERROR("(ERR): %s: Error: Could not find filter hdl:0x%x in class-map to insert after", kName, reference);
    return kInvalidArgument;
  }
  TRACE_INFO("(info): %s: filter:0x%x added to class:0x%x after filter:0x%x", kName, filter, cmap, reference);
  return kSuccess;
}

uint32_t zar_retrieve_filter(uint32_t cmap_handle, const zar_filter_context *context, uint32_t no_match,
                             uint32_t *filter_out) {
  static constexpr char kName[] = "retrieve_filter";
  bool valid = filter_place_given(kName, filter_out);
  valid &= zar_verify_filter_context(context, kName) == kSuccess;
  auto *cmap = require<zar_cmap>(kName, cmap_handle);
  if (!cmap || !valid) return kInvalidArgument;

  // The contents are compared before the flag, so the compare function also sees filters that differ in the flag.
  const auto *match = find<zar_filter>(cmap->filters, [=](const zar_filter &filter) {
    return zar_match_filter_parameters(&filter, context) && has_flag(filter, no_match);
  });
  *filter_out = match ? match->handle : 0;
  TRACE_INFO("(info): %s: retrieved matching filter:0x%x in class:0x%x", kName, *filter_out, cmap_handle);
  return kSuccess;
}

// The 'no_match' flag is not compared.
uint32_t zar_match_filter_parameters(const zar_filter *filter, const zar_filter_context *context) {
  if (!filter || !context) return kNo;
  if (filter->filter_free_fn != context->filter_free_fn) return kNo;
  if (filter->filter_eval_fn != context->filter_eval_fn) return kNo;
  if (!filter->filter_compare_fn) return kNo;
  return call("filter_compare_fn", filter->filter_compare_fn, filter->filter_data, context->filter_data) ? kYes : kNo;
}

uint32_t zar_remove_filter_from_class(uint32_t cmap, uint32_t filter) {
  ClassAndFilter given("remove_filter_from_class", cmap, filter);
  if (!given) return kInvalidArgument;
  unlink(given.cmap->filters, given.filter);
  return kSuccess;
}
