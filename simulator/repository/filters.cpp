#include "simulator/repository/filters.h"

#include <algorithm>

#include <re2/re2.h>

#include "platform/runtime.h"
#include "simulator/repository/tags.h"

namespace simulator::client {

bool matches(const Filter &filter, const engine::Attribute *value) {
  if (!value) return false;
  switch (filter.kind) {
    case FilterKind::equals:
      return value->text == filter.text;
    case FilterKind::prefix:
      return value->text.starts_with(filter.text);
    case FilterKind::regex:
      return RE2::PartialMatch(value->text, *filter.pattern);
    case FilterKind::range:
      return value->numeric && value->number >= filter.low && value->number <= filter.high;
    case FilterKind::present:
      return true;
  }
  return false;
}

namespace {

size_t n_live_filters = 0;

struct FilterData : Comparand {
  explicit FilterData(const Filter &of)
      : Comparand{Is::filter}, filter(of), attribute(engine::register_attribute(of.attribute.value)) {
    ++n_live_filters;
  }
  ~FilterData() { --n_live_filters; }
  FilterData(const FilterData &) = delete;
  FilterData &operator=(const FilterData &) = delete;

  Filter filter;
  engine::AttributeId attribute;
};

FilterData &filter_data_of(void *filter_data) {
  return *static_cast<FilterData *>(filter_data);
}

// Patterns are compared by their texts.
bool same_test(const Filter &a, const Filter &b) {
  return a.kind == b.kind && a.text == b.text && a.low == b.low && a.high == b.high;
}

uint32_t evaluate(void *filter_data, void *run) {
  const FilterData &data = filter_data_of(filter_data);
  return matches(data.filter, engine::Run::from(run).attribute(data.attribute)) ? 1 : 0;
}

char *describe_filter(void *filter_data) {
  return bstrdup_named(to_string(filter_data_of(filter_data).filter).c_str(), kFilterTextTag);
}

// Two filters are compared by their tests; a filter and an offered value by whether the filter holds for the value.
uint32_t compare_filters(void *stored, void *comparand) {
  const FilterData &data = filter_data_of(stored);
  if (static_cast<const Comparand *>(comparand)->is == Comparand::Is::value) {
    const auto &offered = *static_cast<const OfferedData *>(comparand);
    return data.attribute == offered.attribute && matches(data.filter, offered.value) != offered.inverted;
  }
  const FilterData &other = filter_data_of(comparand);
  return data.attribute == other.attribute && same_test(data.filter, other.filter);
}

// The maker of a filter context keeps it on its stack: there is no block to free.
void free_filter_data(void *filter_data, void *) {
  delete static_cast<FilterData *>(filter_data);
}

zar_filter_context context_with(void *filter_data) {
  return {filter_data, free_filter_data, evaluate, describe_filter, compare_filters};
}

}  // namespace

const Filter &filter_of(const zar_filter &record) {
  return filter_data_of(record.filter_data).filter;
}

bool holds(const Filter &filter, const engine::Attribute *value) {
  return matches(filter, value) != filter.no_match;
}

zar_filter_context make_filter_context(const Filter &filter) {
  return context_with(new FilterData(filter));
}

void give_back(const zar_filter_context &context) {
  context.filter_free_fn(context.filter_data, nullptr);
}

Offer::Offer(const engine::Run &run, const std::vector<engine::AttributeId> &attributes)
    : count_(std::min<size_t>(attributes.size(), engine::kFilterTypes)) {
  for (size_t type = 0; type < count_; ++type) {
    const engine::Attribute *value = run.attribute(attributes[type]);
    plain_[type] = {{Comparand::Is::value}, attributes[type], value, false};
    inverted_[type] = {{Comparand::Is::value}, attributes[type], value, true};
    values_[type] = {static_cast<uint32_t>(type), context_with(&plain_[type]), context_with(&inverted_[type])};
  }
}

size_t live_filter_data() {
  return n_live_filters;
}

}  // namespace simulator::client
