// Converts YAML nodes to values: every check of a value exists once, and errors go to the diagnostics.
//
// When a value is wrong, a reader reports it and returns nothing; its caller carries on, so that one load reports
// everything that is wrong with a file.
#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "simulator/policy/model.h"
#include "simulator/policy/name.h"
#include "simulator/policy/yaml.h"
#include "simulator/text/interruption.h"

namespace simulator {

// The entries of a mapping whose keys are known. The constructor reports duplicate and unknown keys.
//
// A misspelt key is one mistake: while a key is unknown, nothing is reported as missing.
class Fields {
 public:
  Fields(const yaml::Node &node, std::string_view what, std::initializer_list<std::string_view> keys,
         Diagnostics &diagnostics);

  // The value under 'key', or NULL.
  const yaml::Node *find(std::string_view key) const;
  // The same, but reports a missing value.
  const yaml::Node *require(std::string_view key) const;
  // Whether everything in the mapping is under a key that is known. False for another kind of node too.
  bool is_sound() const { return is_sound_; }

 private:
  const yaml::Node *node_;
  std::string_view what_;
  Diagnostics *diagnostics_;
  std::vector<std::pair<std::string_view, const yaml::Node *>> known_;
  bool is_sound_ = true;
};

// A word of a fixed vocabulary and what it means.
template <class Meaning>
struct Word {
  std::string_view word;
  Meaning meaning;
};

// The first position of each value, for values that may occur only once.
template <class Value>
class FirstPositions {
 public:
  // The position of an earlier equal value, or nothing when this one is the first.
  std::optional<Position> earlier(const Value &value, Position position) {
    const auto [first, is_new] = positions_.emplace(value, position);
    return is_new ? std::nullopt : std::optional(first->second);
  }

 private:
  std::unordered_map<Value, Position> positions_;
};

class Reader {
 public:
  explicit Reader(Diagnostics &diagnostics) : diagnostics_(&diagnostics) {}

  Diagnostics &diagnostics() const { return *diagnostics_; }

  // Subtracts the cost of a regular expression from the file's budget for them; false when the budget is used up.
  bool spend_on_patterns(int64_t cost) const {
    pattern_budget_ -= cost;
    return pattern_budget_ >= 0;
  }

  // Any single value, as written.
  std::optional<Name> text(const yaml::Node &node, std::string_view what) const;
  std::optional<Name> name(const yaml::Node &node, std::string_view what, NameKind kind = NameKind::map) const;
  std::optional<int64_t> number(const yaml::Node &node, std::string_view what, int64_t low, int64_t high) const;
  std::optional<bool> flag(const yaml::Node &node, std::string_view what) const;
  template <class Meaning>
  std::optional<Meaning> choice(const yaml::Node &node, std::string_view what,
                                std::initializer_list<Word<Meaning>> words) const;

  // Calls 'each' with every item of a list. An empty value counts as an empty list.
  template <class Each>
  void list(const yaml::Node &node, std::string_view what, Each each) const;
  // Calls 'each' with every name of a mapping and its value; duplicates are reported and left out.
  template <class Each>
  void named(const yaml::Node &node, std::string_view what, NameKind kind, Each each) const;

 private:
  // In instructions of compiled expressions; about a second of work.
  static constexpr int64_t kPatternBudget = 2'000'000;

  bool is_kind(const yaml::Node &node, yaml::Kind kind, std::string_view what) const;
  std::optional<size_t> chosen(const yaml::Node &node, std::string_view what,
                               const std::vector<std::string_view> &words) const;
  // The entries of a mapping that have valid names, each name once.
  std::vector<std::pair<Name, const yaml::Node *>> named_entries(const yaml::Node &node, std::string_view what,
                                                                 NameKind kind) const;

  Diagnostics *diagnostics_;
  mutable int64_t pattern_budget_ = kPatternBudget;
};

template <class Meaning>
std::optional<Meaning> Reader::choice(const yaml::Node &node, std::string_view what,
                                      std::initializer_list<Word<Meaning>> words) const {
  std::vector<std::string_view> vocabulary;
  for (const Word<Meaning> &word : words) {
    vocabulary.push_back(word.word);
  }
  const std::optional<size_t> at = chosen(node, what, vocabulary);
  return at ? std::optional((words.begin() + *at)->meaning) : std::nullopt;
}

template <class Each>
void Reader::list(const yaml::Node &node, std::string_view what, Each each) const {
  if (node.kind == yaml::Kind::null || !is_kind(node, yaml::Kind::sequence, what)) return;
  for (const yaml::Node *item : node.items) {
    interruption::check();
    if (diagnostics_->hopeless()) return;
    each(*item);
  }
}

template <class Each>
void Reader::named(const yaml::Node &node, std::string_view what, NameKind kind, Each each) const {
  for (auto &[name, body] : named_entries(node, what, kind)) {
    interruption::check();
    if (diagnostics_->hopeless()) return;
    each(std::move(name), *body);
  }
}

}  // namespace simulator
