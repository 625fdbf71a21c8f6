#include "simulator/page/stream_figures.h"

#include <algorithm>

namespace simulator::page {

void Stretches::add(engine::Verdict verdict) {
  if (events_ == kMost * length_) join_pairs();
  if (events_ % length_ == 0) all_.push_back({events_ + 1, {}});
  ++events_;
  all_.back().verdicts.add(verdict);
}

void Stretches::join_pairs() {
  static_assert(kMost % 2 == 0);
  for (size_t at = 0; at < all_.size() / 2; ++at) {
    Stretch pair = all_[2 * at];
    pair.verdicts.add(all_[2 * at + 1].verdicts);
    all_[at] = pair;
  }
  all_.resize(all_.size() / 2);
  length_ *= 2;
}

void VerdictsByName::add(std::string_view name, engine::Verdict verdict) {
  auto known = places_.find(name);
  if (known == places_.end()) {
    if (all_.size() == kMost) return others_.add(verdict);
    known = places_.emplace(name, all_.size()).first;
    all_.emplace_back(name, Verdicts{});
  }
  all_[known->second].second.add(verdict);
}

std::vector<std::pair<std::string, Verdicts>> VerdictsByName::all() const {
  std::vector<std::pair<std::string, Verdicts>> sorted = all_;
  std::stable_sort(sorted.begin(), sorted.end(),
                   [](const auto &one, const auto &other) { return one.second.all() > other.second.all(); });
  return sorted;
}

void StreamFigures::add(const stream::Counted &line, std::string_view event, std::string_view kind) {
  totals_.count(line);
  if (line.as != stream::Counted::As::event) return;
  over_time_.add(line.verdict);
  by_event_.add(event, line.verdict);
  by_kind_.add(kind, line.verdict);
}

void StreamFigures::add_bad(size_t line, std::string_view error) {
  totals_.count({});
  if (bad_.size() < kMostBad) bad_.emplace_back(BadLine{line, std::string(error)});
}

}  // namespace simulator::page
