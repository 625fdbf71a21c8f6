// Attribute names, and the attributes of a target.
#include <charconv>
#include <deque>
#include <limits>
#include <unordered_map>

#include "engine/engine.h"

namespace engine {

namespace {

struct Names {
  std::unordered_map<std::string_view, AttributeId> ids;  // the keys are in 'names'
  std::deque<std::string> names;                          // by id
};

Names &names() {
  static Names all;
  return all;
}

}  // namespace

AttributeId register_attribute(std::string_view name) {
  Names &all = names();
  if (const auto known = all.ids.find(name); known != all.ids.end()) return known->second;
  if (all.names.size() >= kMaxAttributes) return kNoAttribute;

  const auto id = static_cast<AttributeId>(all.names.size());
  all.ids.emplace(all.names.emplace_back(name), id);
  return id;
}

void forget_attributes() {
  names() = {};
}

const std::string &attribute_name(AttributeId attribute) {
  return names().names.at(attribute);
}

std::optional<int64_t> parse_number(std::string_view text) {
  int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

Attribute &Attributes::slot_for(AttributeId attribute) {
  if (attribute < kInBlock) return first_[attribute];
  const size_t number = attribute / kInBlock - 1;
  if (number >= more_.size()) more_.resize(number + 1);
  std::unique_ptr<Block> &block = more_[number];
  if (!block) block = std::make_unique<Block>();
  return (*block)[attribute % kInBlock];
}

void Attributes::set(AttributeId attribute, std::string_view text) {
  const std::optional<int64_t> number = parse_number(text);
  Attribute &slot = slot_for(attribute);
  slot.text.assign(text);
  slot.numeric = number.has_value();
  slot.number = number.value_or(0);
  slot.present = true;
}

void Attributes::set(AttributeId attribute, const Value &value) {
  Attribute &slot = slot_for(attribute);
  slot.text = value.text;
  slot.numeric = value.number.has_value();
  slot.number = value.number.value_or(0);
  slot.present = true;
}

void Attributes::count(AttributeId attribute) {
  Attribute &slot = slot_for(attribute);
  const int64_t from = slot.present && slot.numeric ? slot.number : 0;
  slot.number = from == std::numeric_limits<int64_t>::max() ? from : from + 1;
  slot.numeric = true;
  slot.present = true;

  char digits[24];
  const auto written = std::to_chars(digits, digits + sizeof digits, slot.number);
  slot.text.assign(digits, written.ptr);
}

bool Attributes::clear(AttributeId attribute) {
  if (!find(attribute)) return false;
  slot_for(attribute).present = false;
  return true;
}

void Attributes::prefetch() const noexcept {
  for (const Attribute &attribute : first_)
    __builtin_prefetch(&attribute);
}

std::vector<AttributeId> Attributes::present() const {
  std::vector<AttributeId> all;
  for (AttributeId attribute = 0; attribute < kInBlock * (more_.size() + 1); ++attribute) {
    if (find(attribute)) all.push_back(attribute);
  }
  return all;
}

}  // namespace engine
