// Filters as a client of the repository keeps them: the data behind a filter context, and the operations on it.
#pragma once

#include <array>
#include <span>
#include <vector>

#include "engine/engine.h"
#include "simulator/policy/model.h"
#include "zar/types.h"

namespace simulator::client {

// Returns a context for a filter of a policy file, with data of its own. Once a filter of the repository is made from
// the context, that filter owns the data; until then the caller must call give_back.
zar_filter_context make_filter_context(const Filter &filter);
void give_back(const zar_filter_context &context);

// The filter behind a record of the repository; it lives as long as the record.
const Filter &filter_of(const zar_filter &record);

// Whether a value passes the filter's test. NULL is the value of an absent attribute and passes no test.
bool matches(const Filter &filter, const engine::Attribute *value);
// The same, with no-match applied.
bool holds(const Filter &filter, const engine::Attribute *value);

// What the compare function receives beside a filter's data: the data of another filter, or a value that a target
// offers to the statements of a parameter-map.
struct Comparand {
  enum class Is : uint8_t { filter, value };
  Is is;
};

struct OfferedData : Comparand {
  engine::AttributeId attribute = engine::kNoAttribute;
  const engine::Attribute *value = nullptr;  // NULL: the target has no such attribute
  bool inverted = false;                     // a filter is equal when it does not match the value
};

// What a target offers to a parameter-map: its value of each attribute that the map tests, in the order of the filter
// types. Attributes that the target lacks are offered too, since no-match filters need them.
class Offer {
 public:
  Offer(const engine::Run &run, const std::vector<engine::AttributeId> &attributes);
  Offer(const Offer &) = delete;
  Offer &operator=(const Offer &) = delete;

  std::span<const engine::OfferedValue> values() const { return {values_.data(), count_}; }

 private:
  std::array<OfferedData, engine::kFilterTypes> plain_{};
  std::array<OfferedData, engine::kFilterTypes> inverted_{};
  std::array<engine::OfferedValue, engine::kFilterTypes> values_{};
  size_t count_ = 0;
};

// Filter data that is not freed yet.
size_t live_filter_data();

}  // namespace simulator::client
