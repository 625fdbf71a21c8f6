#include "simulator/reasoning/relations.h"

#include <algorithm>
#include <string_view>

#include "simulator/reasoning/values.h"

namespace simulator::reasoning {

namespace {

bool contains(const Filter &outer, const Filter &inner) {
  return outer.low <= inner.low && outer.high >= inner.high;
}

Relation relation_of_text(const Filter &equals, const Filter &other) {
  const bool passes = holds(other, equals.text) != other.no_match;
  return {.both_can_pass = passes, .first_implies_second = passes};
}

}  // namespace

Relation relation_of(const Filter &first, const Filter &second) {
  if (first.kind == FilterKind::present) return {.second_implies_first = true};
  if (second.kind == FilterKind::present) return {.first_implies_second = true};
  if (first.kind == FilterKind::equals) return relation_of_text(first, second);
  if (second.kind == FilterKind::equals) {
    const Relation turned = relation_of_text(second, first);
    return {turned.both_can_pass, turned.second_implies_first, turned.first_implies_second};
  }
  if (first.kind == FilterKind::prefix && second.kind == FilterKind::prefix) {
    const bool first_is_longer = first.text.starts_with(second.text);
    const bool second_is_longer = second.text.starts_with(first.text);
    return {first_is_longer || second_is_longer, first_is_longer, second_is_longer};
  }
  if (first.kind == FilterKind::range && second.kind == FilterKind::range) {
    const bool overlap = first.low <= second.high && second.low <= first.high;
    return {overlap, contains(second, first), contains(first, second)};
  }
  return {};
}

std::vector<uint32_t> RelatedTests::add(uint32_t node, const Filter &test) {
  constexpr size_t kMostPairs = 100'000;
  std::vector<uint32_t> related;
  if (n_pairs_ < kMostPairs) {
    related = first_;
    n_pairs_ += related.size();
    first_.push_back(node);
  }
  if (test.kind == FilterKind::equals || test.kind == FilterKind::prefix) {
    const std::vector<uint32_t> more = with_beginnings_of(test.text);
    related.insert(related.end(), more.begin(), more.end());
    by_text_[test.text].push_back(node);
  }
  std::sort(related.begin(), related.end());
  related.erase(std::unique(related.begin(), related.end()), related.end());
  return related;
}

std::vector<uint32_t> RelatedTests::with_beginnings_of(const std::string &text) const {
  std::vector<uint32_t> found;
  for (size_t length = 0; length < text.size(); ++length) {
    const auto shorter = by_text_.find(std::string_view(text).substr(0, length));
    if (shorter != by_text_.end()) found.insert(found.end(), shorter->second.begin(), shorter->second.end());
  }
  for (auto longer = by_text_.lower_bound(text); longer != by_text_.end() && longer->first.starts_with(text); ++longer)
    found.insert(found.end(), longer->second.begin(), longer->second.end());
  return found;
}

}  // namespace simulator::reasoning
