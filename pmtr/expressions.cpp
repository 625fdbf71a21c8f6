// The search for a statement's filter expression that begins with a keyword.
#include <cstdio>

#include "core/callbacks.h"
#include "core/text.h"
#include "platform/tags.h"
#include "pmtr/statements.h"

using namespace zar;

namespace {

constexpr char kName[] = "get_pmtr_filter_expr_by_type";
constexpr uint32_t kCopyRoom = 10;
constexpr uint32_t kPositions = 256;  // the range of the one-byte position counter

enum class Comparison { differs, matches, out_of_positions };

// Whether 'expression' begins with all of 'keyword' and is longer.
Comparison compare(const char *expression, const char *keyword) {
  uint32_t position = 0;
  while (keyword[position]) {
    if (expression[position] != keyword[position]) return Comparison::differs;
    if (++position == kPositions) return Comparison::out_of_positions;
  }
  return expression[position] ? Comparison::matches : Comparison::differs;
}

// A copy of the filter's text, empty if it has none; no copy if there is no memory.
OwnedText copy_expression(const zar_filter &filter) {
  OwnedText text(call("filter_str_fn", filter.filter_str_fn, filter.filter_data));
  const char *expression = text ? text.get() : "";
  const size_t size = std::strlen(expression) + kCopyRoom;
  OwnedText copy = OwnedText::of_size(size, ZAR_TAG_EXPRESSION_COPY);
  if (copy) std::snprintf(copy.get(), size, "%s", expression);
  return copy;
}

// The first expression that begins with the keyword is copied to the caller's buffer, whose size is unknown.
uint32_t search(const queue_head &filters, const char *keyword, char *text_out) {
  for (const zar_filter &filter : Elements<zar_filter>(filters)) {
    if (!filter.filter_str_fn) return kNothingFound;
    OwnedText copy = copy_expression(filter);
    if (!copy) {
      TRACE_ERROR("(ERR): get_nvgen_str: Error: unable to malloc_named nvgen_str for filter:0x%p", address(&filter));
      return kNothingFound;
    }
    Comparison comparison = keyword ? compare(copy.get(), keyword) : Comparison::differs;
    if (comparison == Comparison::out_of_positions) return kNothingFound;
    if (comparison == Comparison::differs) continue;

    const size_t size = std::strlen(copy.get()) + 1;
    strncpy_s(text_out, size, copy.get(), size);
    TRACE_INFO("(info): matched: %s. returning: %s and %s", keyword, copy.get(), text_out);
    return kSuccess;
  }
  return kNothingFound;
}

}  // namespace

uint32_t kel_pmtr_map_get_filter_expr_by_type(uint32_t pmtr_map, uint32_t map_index, const char *keyword,
                                              char *text_out) {
  const auto *map = require<zar_pmtr_map>(kName, pmtr_map);
  if (!map) return kInvalidArgument;
  if (!text_out) {
    TRACE_ERROR("(ERR): %s: Error: input text buffer cannot be NULL", kName);
    return kInvalidArgument;
  }
  const uint8_t index = static_cast<uint8_t>(map_index);
  const zar_pmtr_map_stmt *statement = find_statement(*map, index);
  if (!statement) {
    TRACE_ERROR("(ERR): %s: pmtr_map stmt not found for map-index %d", kName, index);
    return kInvalidArgument;
  }
  const auto *cmap = require<zar_cmap>(kName, statement->internal_cmap);
  return cmap ? search(cmap->filters, keyword, text_out) : kInvalidArgument;
}
