// Attributes that are written almost alike, and values that are not the numbers that filters and counts expect.
#include <map>

#include "engine/engine.h"
#include "simulator/lint/checks.h"
#include "simulator/text/text.h"

namespace simulator::lint {

namespace {

struct Given {
  Position position{};
  std::string text{};
};

// Where a file uses an attribute.
struct Uses {
  std::vector<const Filter *> tests{};
  std::vector<Given> given{};  // values: of targets, scenario, tests and set actions
  std::vector<Position> counted{};

  bool is_tested() const { return !tests.empty(); }
  bool is_given() const { return !given.empty() || !counted.empty(); }
  Position first() const {
    if (is_tested()) return tests[0]->position;
    return given.empty() ? counted[0] : given[0].position;
  }
};

// In the order of the names, so that findings do not depend on anything else.
using UsesByName = std::map<std::string_view, Uses>;

class Collector {
 public:
  explicit Collector(const PolicyFile &file) {
    for (const ClassMap &map : file.class_maps)
      filters(map.filters);
    for (const ParameterMap &map : file.parameter_maps) {
      for (const Statement &statement : map.statements) {
        filters(statement.filters);
        actions(statement.actions);
      }
    }
    for (const PolicyMap &policy : file.policy_maps) {
      for (const EventRules &event : policy.events) {
        for (const Rule &rule : event.rules)
          actions(rule.actions);
      }
    }
    for (const Target &target : file.targets)
      values(target.attributes);
    for (const Step &step : file.scenario)
      values(step.set);
    for (const Test &test : file.tests) {
      for (const TestStep &step : test.steps)
        values(step.step.set);
    }
  }

  UsesByName take() { return std::move(uses_); }

 private:
  void filters(const std::vector<Filter> &filters) {
    for (const Filter &filter : filters)
      uses_[filter.attribute.value].tests.push_back(&filter);
  }
  void actions(const std::vector<Action> &actions) {
    for (const Action &action : actions) {
      if (action.kind == ActionKind::set) uses_[action.subject.value].given.push_back({action.position, action.text});
      if (action.kind == ActionKind::count) uses_[action.subject.value].counted.push_back(action.position);
    }
  }
  void values(const std::vector<Assignment> &assignments) {
    for (const Assignment &given : assignments)
      uses_[given.attribute.value].given.push_back({given.attribute.position, given.text});
  }

  UsesByName uses_;
};

// ---- Names ----------------------------------------------------------------------------------------------------------------

bool is_digit(char character) {
  return character >= '0' && character <= '9';
}

// Letters without regard to case, and digits: what is left of a name when its punctuation goes.
std::string spoken(std::string_view name) {
  std::string letters;
  for (const char character : name) {
    const bool upper = character >= 'A' && character <= 'Z';
    const bool lower = character >= 'a' && character <= 'z';
    if (upper || lower || is_digit(character)) letters += upper ? static_cast<char>(character - 'A' + 'a') : character;
  }
  return letters;
}

// The characters of two names that differ, without their common beginning and end.
struct Difference {
  std::string_view a;
  std::string_view b;
  bool at_an_end;  // nothing common before them, or behind them
};

Difference difference_of(std::string_view a, std::string_view b) {
  size_t before = 0;
  while (before < std::min(a.size(), b.size()) && a[before] == b[before])
    ++before;
  size_t behind = 0;
  while (behind < std::min(a.size(), b.size()) - before && a[a.size() - 1 - behind] == b[b.size() - 1 - behind])
    ++behind;
  return {a.substr(before, a.size() - before - behind), b.substr(before, b.size() - before - behind),
          before == 0 || behind == 0};
}

enum class Likeness : uint8_t { none, some, slip };

// A slip is what fingers do: a letter left out, doubled or swapped with its neighbour, other punctuation or case. One
// letter in place of another can be meant, as in rx-rate and tx-rate; so can a letter more at an end, and numbers.
Likeness likeness(std::string_view a, std::string_view b) {
  constexpr size_t kShortest = 5;
  if (std::max(a.size(), b.size()) < kShortest) return Likeness::none;
  if (spoken(a) == spoken(b)) return Likeness::slip;
  const Difference difference = difference_of(a, b);
  const std::string_view in_a = difference.a;
  const std::string_view in_b = difference.b;
  const auto has_digit = [](std::string_view text) { return std::any_of(text.begin(), text.end(), is_digit); };
  if (has_digit(in_a) || has_digit(in_b)) return Likeness::none;
  const bool swapped = in_a.size() == 2 && in_b.size() == 2 && in_a[0] == in_b[1] && in_a[1] == in_b[0];
  if (swapped) return Likeness::slip;
  if (in_a.size() + in_b.size() == 1) return difference.at_an_end ? Likeness::some : Likeness::slip;
  return in_a.size() == 1 && in_b.size() == 1 ? Likeness::some : Likeness::none;
}

class SimilarNames {
 public:
  SimilarNames(Work &work, const UsesByName &uses) : work_(&work), uses_(&uses) {}

  void check() {
    for (auto a = uses_->begin(); a != uses_->end(); ++a) {
      work_->begin_question();
      for (auto b = std::next(a); b != uses_->end(); ++b)
        check_pair(*a, *b);
    }
  }

 private:
  using Use = UsesByName::value_type;

  // Whether the one is tested and gets no value, while the other gets values; or gets values that nothing tests, while
  // the other is tested.
  static bool is_orphan_beside(const Uses &one, const Uses &other) {
    if (one.is_tested()) return !one.is_given() && other.is_given();
    return other.is_tested();
  }
  void check_pair(const Use &a, const Use &b) {
    const Likeness like = likeness(a.first, b.first);
    if (like == Likeness::none) return;
    if (is_orphan_beside(a.second, b.second)) return report(a, b);
    if (is_orphan_beside(b.second, a.second)) return report(b, a);
    if (like != Likeness::slip) return;
    // Of two that are used in the same ways, the one that is used less.
    const auto count = [](const Uses &of) { return of.tests.size() + of.given.size() + of.counted.size(); };
    const bool a_is_rarer = count(a.second) <= count(b.second);
    report(a_is_rarer ? a : b, a_is_rarer ? b : a);
  }
  static Reason use_of(std::string_view name, const Uses &uses) {
    if (uses.is_tested())
      return {uses.tests[0]->position,
              concat(name, uses.is_given() ? " is tested here" : " is tested here, and nothing gives it a value")};
    if (!uses.given.empty())
      return {uses.given[0].position,
              concat(name, " gets the value ", as_word(uses.given[0].text), " here, and nothing tests it")};
    return {uses.counted[0], concat(name, " is counted here, and nothing tests it")};
  }
  void report(const Use &suspect, const Use &model);

  Work *work_;
  const UsesByName *uses_;
};

void SimilarNames::report(const Use &suspect, const Use &model) {
  Finding finding{Kind::similar_attributes,
                  suspect.second.first(),
                  concat("attribute ", suspect.first, " is written almost like ", model.first),
                  {use_of(suspect.first, suspect.second), use_of(model.first, model.second)},
                  {}};
  // A value of the other attribute that was meant to be tested here.
  if (suspect.second.is_tested()) {
    const Filter &test = *suspect.second.tests[0];
    InputAnswer answer = work_->prover().find_input({work_->prover().claim(test)});
    if (answer.can == Can::possible) {
      const Value wanted = answer.input[std::string(suspect.first)];
      finding.input = Input{{std::string(suspect.first), std::nullopt}, {std::string(model.first), wanted}};
    }
  }
  work_->add(std::move(finding));
}

// ---- Numbers --------------------------------------------------------------------------------------------------------------

bool passes(const Filter &filter, const std::string &text) {
  return holds(filter, Value(text)) != filter.no_match;
}

// The range that the value was meant for; NULL if another test matches the value, or if the file asks for values outside
// a range, which may be the purpose of this one.
const Filter *missed_range(const Uses &uses, const std::string &text) {
  const Filter *range = nullptr;
  for (const Filter *filter : uses.tests) {
    if (filter->kind == FilterKind::present) continue;
    const bool asks_for_others = filter->kind == FilterKind::range && filter->no_match;
    if (asks_for_others || passes(*filter, text)) return nullptr;
    if (filter->kind == FilterKind::range && !range) range = filter;
  }
  return range;
}

void check_numbers(Work &work, std::string_view name, const Uses &uses) {
  for (const Given &given : uses.given) {
    if (engine::parse_number(given.text)) continue;
    const auto report = [&](const std::string &effect, Reason reason) {
      work.add({Kind::not_a_number,
                given.position,
                concat("the value ", as_word(given.text), " of attribute ", name,
                       " is not a whole number of 64 bits: ", effect),
                {std::move(reason)},
                Input{{std::string(name), given.text}}});
    };
    if (const Filter *range = missed_range(uses, given.text)) {
      report("no range matches it", {range->position, filter_text(*range)});
    } else if (!uses.counted.empty()) {
      report("counting it begins at 0", {uses.counted[0], concat("count ", name)});
    }
  }
}

}  // namespace

void check_attributes(Work &work) {
  const UsesByName uses = Collector(work.file()).take();
  SimilarNames(work, uses).check();
  for (const auto &[name, of_name] : uses)
    check_numbers(work, name, of_name);
}

}  // namespace simulator::lint
