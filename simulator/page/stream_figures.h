// What a stream of events did, as numbers. Their memory does not depend on the length of the stream.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "simulator/page/figures.h"
#include "simulator/stream/rules.h"
#include "simulator/stream/totals.h"

namespace simulator::page {

// Verdicts over time, for a stream that nobody knows the end of. All stretches have the same number of events, except
// for the last, which may have fewer. Whenever there would be more than kMost of them, each two become one.
class Stretches {
 public:
  static constexpr size_t kMost = 200;

  void add(engine::Verdict verdict);

  const std::vector<Stretch> &all() const { return all_; }
  // Events in each.
  size_t length() const { return length_; }

 private:
  void join_pairs();

  std::vector<Stretch> all_;
  size_t events_ = 0;
  size_t length_ = 1;
};

// Verdicts by a name. After kMost names, those that are new are counted together.
class VerdictsByName {
 public:
  static constexpr size_t kMost = 500;

  void add(std::string_view name, engine::Verdict verdict);

  // Those with the most events first.
  std::vector<std::pair<std::string, Verdicts>> all() const;
  // Of the names that have no place of their own.
  const Verdicts &others() const { return others_; }

 private:
  std::vector<std::pair<std::string, Verdicts>> all_;
  ByName<size_t> places_;
  Verdicts others_;
};

struct BadLine {
  size_t number;
  std::string error;
};

class StreamFigures {
 public:
  // The number of bad lines with their errors.
  static constexpr size_t kMostBad = 20;

  // 'name' is that of the stream, for people. The file must outlive the figures.
  StreamFigures(std::string name, const PolicyFile &file)
      : name_(std::move(name)), rules_(file), totals_(rules_.size()) {}

  // 'event' and 'kind', the kind of the target, matter for events only.
  void add(const stream::Counted &line, std::string_view event, std::string_view kind);
  void add_bad(size_t line, std::string_view error);

  const std::string &name() const { return name_; }
  const stream::Rules &rules() const { return rules_; }
  const stream::Totals &totals() const { return totals_; }
  const Stretches &over_time() const { return over_time_; }
  const VerdictsByName &by_event() const { return by_event_; }
  const VerdictsByName &by_kind() const { return by_kind_; }
  const std::vector<BadLine> &bad() const { return bad_; }

 private:
  std::string name_;
  stream::Rules rules_;
  stream::Totals totals_;
  Stretches over_time_;
  VerdictsByName by_event_;
  VerdictsByName by_kind_;
  std::vector<BadLine> bad_;  // the first
};

}  // namespace simulator::page
