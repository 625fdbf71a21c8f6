#include "simulator/reasoning/text_tests.h"

#include <algorithm>
#include <array>
#include <optional>
#include <unordered_set>
#include <utility>

#include "simulator/reasoning/regex_program.h"

namespace simulator::reasoning {

namespace {

// ---- equals, prefix, present ----------------------------------------------------------------------------------------------

void add_cut_around(TextTest::Cuts &cuts, uint8_t low, uint8_t high) {
  cuts.set(low);
  if (high < UINT8_MAX) cuts.set(high + 1U);
}

// The state is the number of bytes that were equal.
class SameText final : public TextTest {
 public:
  SameText(const std::string &text, bool more_may_follow) : text_(text), more_may_follow_(more_may_follow) {}

  State start() override { return reached(0); }
  State step(State state, uint8_t byte) override {
    if (state >= text_.size() || static_cast<uint8_t>(text_[state]) != byte) return kNever;
    return reached(state + 1);
  }
  bool passes_at_end(State state) override { return state == text_.size(); }
  void add_cuts(Cuts &cuts) const override {
    for (const char byte : text_)
      add_cut_around(cuts, static_cast<uint8_t>(byte), static_cast<uint8_t>(byte));
  }

 private:
  State reached(State state) const { return more_may_follow_ && state == text_.size() ? kAlways : state; }

  std::string text_;
  bool more_may_follow_;
};

// ---- range ----------------------------------------------------------------------------------------------------------------

// How the digits of a number compare with those of an end of the range, as far as they were read.
enum class Order : uint8_t { less, equal, greater };

// Sizes of numbers with one sign, both ends included, as digits without leading zeros; zero has none.
struct Sizes {
  std::string low;
  std::string high;
};

std::string digits_of(uint64_t size) {
  return size == 0 ? "" : std::to_string(size);
}

uint64_t size_of(int64_t number) {
  return number < 0 ? ~static_cast<uint64_t>(number) + 1 : static_cast<uint64_t>(number);
}

class NumberInRange final : public TextTest {
 public:
  explicit NumberInRange(const Filter &filter) {
    if (filter.high >= 0)
      sizes_[kPlus] = Sizes{digits_of(size_of(std::max<int64_t>(filter.low, 0))), digits_of(size_of(filter.high))};
    if (filter.low <= 0)
      sizes_[kMinus] = Sizes{digits_of(size_of(std::min<int64_t>(filter.high, 0))), digits_of(size_of(filter.low))};
  }

  State start() override { return pack({}); }
  State step(State state, uint8_t byte) override;
  bool passes_at_end(State state) override;
  void add_cuts(Cuts &cuts) const override {
    add_cut_around(cuts, '-', '-');
    for (uint8_t digit = '0'; digit <= '9'; ++digit)
      add_cut_around(cuts, digit, digit);
  }

 private:
  enum Sign : uint8_t { kPlus, kMinus, kNone };
  struct Read {
    Sign sign = kNone;
    bool any_digit = false;
    uint32_t length = 0;  // digits after the leading zeros
    Order to_low = Order::equal;
    Order to_high = Order::equal;
  };

  static State pack(const Read &read) {
    return static_cast<State>(read.sign) | (read.any_digit ? 4U : 0U) | static_cast<State>(read.to_low) << 3U |
           static_cast<State>(read.to_high) << 5U | read.length << 7U;
  }
  static Read unpack(State state) {
    return {static_cast<Sign>(state & 3U), (state & 4U) != 0, state >> 7U, static_cast<Order>(state >> 3U & 3U),
            static_cast<Order>(state >> 5U & 3U)};
  }
  static Order compared(Order before, const std::string &digits, uint32_t at, char digit) {
    if (before != Order::equal || at >= digits.size() || digits[at] == digit) return before;
    return digit < digits[at] ? Order::less : Order::greater;
  }

  std::optional<Sizes> sizes_[2];
};

TextTest::State NumberInRange::step(State state, uint8_t byte) {
  Read read = unpack(state);
  if (read.sign == kNone) {
    read.sign = byte == '-' ? kMinus : kPlus;
    if (!sizes_[read.sign]) return kNever;
    if (byte == '-') return pack(read);
  }
  if (byte < '0' || byte > '9') return kNever;
  read.any_digit = true;
  if (byte == '0' && read.length == 0) return pack(read);

  const Sizes &sizes = *sizes_[read.sign];
  if (read.length == sizes.high.size()) return kNever;
  const char digit = static_cast<char>(byte);
  read.to_low = compared(read.to_low, sizes.low, read.length, digit);
  read.to_high = compared(read.to_high, sizes.high, read.length, digit);
  ++read.length;
  return pack(read);
}

bool NumberInRange::passes_at_end(State state) {
  const Read read = unpack(state);
  if (!read.any_digit) return false;
  const Sizes &sizes = *sizes_[read.sign];
  const bool low_enough = read.length < sizes.high.size() || read.to_high != Order::greater;
  const bool high_enough =
      read.length > sizes.low.size() || (read.length == sizes.low.size() && read.to_low != Order::less);
  return low_enough && high_enough;
}

// ---- regex ----------------------------------------------------------------------------------------------------------------

bool is_word_byte(uint8_t byte) {
  return (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z') || byte == '_';
}

// Makes the program deterministic, state by state, as the states are needed. A state is a set of places in the program,
// before any split or edge there is followed, since edges depend on the next byte.
class Matches final : public TextTest {
 public:
  explicit Matches(RegexProgram program) : program_(std::move(program)) {
    for (const Instruction &instruction : program_.instructions) {
      if (instruction.kind == Instruction::Kind::edge) has_edges_ = true;
    }
    begins_only_at_start_ = can_begin_only_at_start();
    Cuts cuts;
    add_cuts(cuts);
    uint16_t number = 0;
    for (size_t byte = 0; byte < class_of_.size(); ++byte)
      class_of_[byte] = cuts[byte] && byte > 0 ? ++number : number;
    classes_ = number + 1U;
  }

  State start() override { return find_or_add({{}, has_edges_ ? Before::begin : Before::other}); }
  State step(State state, uint8_t byte) override;
  bool passes_at_end(State state) override { return follow(states_[state], std::nullopt); }
  void add_cuts(Cuts &cuts) const override;

 private:
  static constexpr size_t kMostStates = 20'000;
  static constexpr State kNotKnown = UINT32_MAX - 3;

  // What edges need to know about the byte before.
  enum class Before : uint8_t { begin, word, newline, other };
  struct Place {
    std::vector<uint32_t> at;  // in order
    Before before;

    bool operator<(const Place &other) const { return std::pair(before, at) < std::pair(other.before, other.at); }
  };

  bool can_begin_only_at_start();
  State find_or_add(Place place);
  bool edge_holds(Edge edge, Before before, std::optional<uint8_t> next) const;
  bool follow(const Place &place, std::optional<uint8_t> next);
  void push(uint32_t at) {
    if (seen_[at]) return;
    seen_[at] = true;
    to_follow_.push_back(at);
  }

  RegexProgram program_;
  bool has_edges_ = false;
  bool begins_only_at_start_ = false;
  std::array<uint16_t, 256> class_of_{};
  size_t classes_ = 1;
  std::map<Place, State> known_;
  std::vector<Place> states_;
  std::vector<State> steps_;         // by state and class of bytes
  std::vector<uint32_t> to_follow_;  // of the last follow(): everything that was reached
  std::vector<bool> seen_;           // of the same
};

bool Matches::edge_holds(Edge edge, Before before, std::optional<uint8_t> next) const {
  const bool at_word_edge = (before == Before::word) != (next && is_word_byte(*next));
  switch (edge) {
    case Edge::text_begin:
      return before == Before::begin;
    case Edge::text_end:
      return !next;
    case Edge::line_begin:
      return before == Before::begin || before == Before::newline;
    case Edge::line_end:
      return !next || *next == '\n';
    case Edge::word_edge:
      return at_word_edge;
    case Edge::no_word_edge:
      return !at_word_edge;
  }
  return false;
}

// Follows splits and edges from a state. Returns whether that reaches a match.
bool Matches::follow(const Place &place, std::optional<uint8_t> next) {
  seen_.assign(program_.instructions.size(), false);
  to_follow_.clear();
  for (const uint32_t at : place.at)
    push(at);
  if (!begins_only_at_start_ || place.before == Before::begin) push(program_.start);
  for (size_t reached = 0; reached < to_follow_.size(); ++reached) {
    const Instruction &instruction = program_.instructions[to_follow_[reached]];
    switch (instruction.kind) {
      case Instruction::Kind::match:
        return true;
      case Instruction::Kind::split:
        push(instruction.next);
        push(instruction.other);
        break;
      case Instruction::Kind::edge:
        if (edge_holds(instruction.edge, place.before, next)) push(instruction.next);
        break;
      case Instruction::Kind::bytes:
        break;
    }
  }
  return false;
}

// Whether every way from the start of the program leads through the begin of the text.
bool Matches::can_begin_only_at_start() {
  seen_.assign(program_.instructions.size(), false);
  to_follow_.clear();
  push(program_.start);
  for (size_t reached = 0; reached < to_follow_.size(); ++reached) {
    const Instruction &instruction = program_.instructions[to_follow_[reached]];
    if (instruction.kind == Instruction::Kind::match || instruction.kind == Instruction::Kind::bytes) return false;
    if (instruction.kind == Instruction::Kind::edge && instruction.edge == Edge::text_begin) continue;
    push(instruction.next);
    if (instruction.kind == Instruction::Kind::split) push(instruction.other);
  }
  return true;
}

TextTest::State Matches::find_or_add(Place place) {
  if (begins_only_at_start_ && place.at.empty() && place.before != Before::begin) return kNever;
  const auto known = known_.find(place);
  if (known != known_.end()) return known->second;
  if (states_.size() >= kMostStates) return kTooMany;
  const auto state = static_cast<State>(states_.size());
  states_.push_back(place);
  steps_.resize(steps_.size() + classes_, kNotKnown);
  known_.emplace(std::move(place), state);
  return state;
}

TextTest::State Matches::step(State state, uint8_t byte) {
  const size_t at_step = state * classes_ + class_of_[byte];
  if (steps_[at_step] != kNotKnown) return steps_[at_step];

  State next_state = kAlways;
  if (!follow(states_[state], byte)) {
    Place next{{}, Before::other};
    for (const uint32_t at : to_follow_) {
      const Instruction &instruction = program_.instructions[at];
      const bool takes =
          instruction.kind == Instruction::Kind::bytes && instruction.low <= byte && byte <= instruction.high;
      if (takes) next.at.push_back(instruction.next);
    }
    std::sort(next.at.begin(), next.at.end());
    next.at.erase(std::unique(next.at.begin(), next.at.end()), next.at.end());
    if (has_edges_ && is_word_byte(byte)) next.before = Before::word;
    if (has_edges_ && byte == '\n') next.before = Before::newline;
    next_state = find_or_add(std::move(next));
  }
  steps_[at_step] = next_state;
  return next_state;
}

void Matches::add_cuts(Cuts &cuts) const {
  for (const Instruction &instruction : program_.instructions) {
    if (instruction.kind == Instruction::Kind::bytes && instruction.low <= instruction.high)
      add_cut_around(cuts, instruction.low, instruction.high);
  }
  if (!has_edges_) return;
  add_cut_around(cuts, '\n', '\n');
  add_cut_around(cuts, '0', '9');
  add_cut_around(cuts, 'A', 'Z');
  add_cut_around(cuts, 'a', 'z');
  add_cut_around(cuts, '_', '_');
}

// ---- UTF-8 ----------------------------------------------------------------------------------------------------------------

// Every value passes this test. The state says which bytes may follow.
class ValidText final : public TextTest {
 public:
  State start() override { return kBetween; }
  State step(State state, uint8_t byte) override;
  bool passes_at_end(State state) override { return state == kBetween; }
  void add_cuts(Cuts &cuts) const override {
    for (const unsigned cut :
         {0x80U, 0x90U, 0xa0U, 0xc0U, 0xc2U, 0xe0U, 0xe1U, 0xedU, 0xeeU, 0xf0U, 0xf1U, 0xf4U, 0xf5U})
      cuts.set(cut);
  }

 private:
  enum : State { kBetween, kOneMore, kTwoMore, kThreeMore, kAfterE0, kAfterED, kAfterF0, kAfterF4 };
};

TextTest::State ValidText::step(State state, uint8_t byte) {
  const auto after = [&](uint8_t low, uint8_t high, State next) { return low <= byte && byte <= high ? next : kNever; };
  switch (state) {
    case kOneMore:
      return after(0x80, 0xbf, kBetween);
    case kTwoMore:
      return after(0x80, 0xbf, kOneMore);
    case kThreeMore:
      return after(0x80, 0xbf, kTwoMore);
    case kAfterE0:
      return after(0xa0, 0xbf, kOneMore);
    case kAfterED:
      return after(0x80, 0x9f, kOneMore);
    case kAfterF0:
      return after(0x90, 0xbf, kTwoMore);
    case kAfterF4:
      return after(0x80, 0x8f, kTwoMore);
    default:
      break;
  }
  if (byte < 0x80) return kBetween;
  if (byte == 0xe0) return kAfterE0;
  if (byte == 0xed) return kAfterED;
  if (byte == 0xf0) return kAfterF0;
  if (byte == 0xf4) return kAfterF4;
  if (byte >= 0xf1) return after(0xf1, 0xf3, kThreeMore);
  return byte >= 0xe1 ? kTwoMore : after(0xc2, 0xdf, kOneMore);
}

// ---- The search -----------------------------------------------------------------------------------------------------------

// The bytes to try: one for each way in which the tests can treat a byte, the most readable one, and those that people
// write first.
std::vector<uint8_t> alphabet_of(const TextTest::Cuts &cuts) {
  const auto rank = [](unsigned byte) {
    if (byte == 'x') return 0;
    if (byte >= 'a' && byte <= 'z') return 1;
    if (byte >= '0' && byte <= '9') return 2;
    if (byte >= 'A' && byte <= 'Z') return 3;
    if (byte > ' ' && byte < 0x7f) return 4;
    if (byte == ' ') return 5;
    // These two are one letter.
    if (byte == 0xc3 || byte == 0xa9) return 6;
    return byte < 0x80 ? 8 : 7;
  };
  std::vector<uint8_t> alphabet;
  for (unsigned byte = 0; byte < cuts.size(); ++byte) {
    const bool begins = byte == 0 || cuts[byte];
    if (begins) alphabet.push_back(static_cast<uint8_t>(byte));
    if (rank(byte) < rank(alphabet.back())) alphabet.back() = static_cast<uint8_t>(byte);
  }
  std::stable_sort(alphabet.begin(), alphabet.end(), [&](uint8_t a, uint8_t b) { return rank(a) < rank(b); });
  return alphabet;
}

class TextSearch {
 public:
  TextSearch(const std::vector<WantedTest> &wanted, Effort &effort) : wanted_(wanted), effort_(&effort) {
    TextTest::Cuts cuts;
    for (const WantedTest &one : wanted)
      one.test->add_cuts(cuts);
    // If no test distinguishes characters outside ASCII from '~', a text with some can be replaced by one without.
    bool only_ascii = true;
    for (size_t byte = 0x7f; byte < cuts.size(); ++byte)
      only_ascii = only_ascii && !cuts[byte];
    if (!only_ascii) {
      wanted_.push_back({&valid_text_, true});
      valid_text_.add_cuts(cuts);
    }
    alphabet_ = alphabet_of(cuts);
  }

  TextAnswer run();

 private:
  static constexpr size_t kMostStates = 4'000'000;  // of all tests together
  // How far to look for a text that is not empty when the empty one would do.
  static constexpr size_t kForBetterText = 200;

  struct Node {
    size_t before;
    uint8_t byte;
  };
  struct Hash {
    const TextSearch *search;
    size_t operator()(size_t node) const { return search->hash_of(node); }
  };
  struct Same {
    const TextSearch *search;
    bool operator()(size_t a, size_t b) const { return search->same(a, b); }
  };

  const TextTest::State *states_of(size_t node) const { return states_.data() + node * wanted_.size(); }
  size_t hash_of(size_t node) const;
  bool same(size_t a, size_t b) const { return std::equal(states_of(a), states_of(a) + wanted_.size(), states_of(b)); }
  bool fits(size_t node) const;
  std::optional<TextTest::State> next_state(const WantedTest &wanted, TextTest::State state, uint8_t byte);
  bool add_next(size_t node, uint8_t byte);
  bool add_start();
  std::string text_of(size_t node) const;

  std::vector<WantedTest> wanted_;
  Effort *effort_;
  ValidText valid_text_;
  std::vector<uint8_t> alphabet_;
  std::vector<Node> nodes_;
  std::vector<TextTest::State> states_;  // of each node, one for each test
  std::unordered_set<size_t, Hash, Same> known_{64, Hash{this}, Same{this}};
  bool gave_up_ = false;
};

size_t TextSearch::hash_of(size_t node) const {
  uint64_t hash = 0xcbf29ce484222325;
  for (const TextTest::State *state = states_of(node); state != states_of(node) + wanted_.size(); ++state)
    hash = (hash ^ *state) * 0x100000001b3;
  return static_cast<size_t>(hash ^ hash >> 32U);
}

bool TextSearch::fits(size_t node) const {
  const TextTest::State *state = states_of(node);
  return std::all_of(wanted_.begin(), wanted_.end(), [&](const WantedTest &wanted) {
    const TextTest::State of = *state++;
    if (of == TextTest::kAlways || of == TextTest::kNever) return wanted.passes == (of == TextTest::kAlways);
    return wanted.test->passes_at_end(of) == wanted.passes;
  });
}

// Nothing when no text that goes on like this can do.
std::optional<TextTest::State> TextSearch::next_state(const WantedTest &wanted, TextTest::State state, uint8_t byte) {
  if (state == TextTest::kAlways || state == TextTest::kNever) return state;
  const TextTest::State next = wanted.test->step(state, byte);
  if (next == TextTest::kTooMany) gave_up_ = true;
  const TextTest::State hopeless = wanted.passes ? TextTest::kNever : TextTest::kAlways;
  return next == hopeless || gave_up_ ? std::nullopt : std::optional(next);
}

bool TextSearch::add_start() {
  for (const WantedTest &wanted : wanted_) {
    const TextTest::State state = wanted.test->start();
    if (state == (wanted.passes ? TextTest::kNever : TextTest::kAlways)) return false;
    states_.push_back(state);
  }
  // It is not among the known ones, so that a text that is not empty may lead back to it.
  nodes_.push_back({0, 0});
  return true;
}

// Returns whether the text goes on to where the search has not been.
bool TextSearch::add_next(size_t node, uint8_t byte) {
  const size_t first = states_.size();
  for (size_t at = 0; at < wanted_.size(); ++at) {
    const std::optional<TextTest::State> next = next_state(wanted_[at], states_of(node)[at], byte);
    if (!next) {
      states_.resize(first);
      return false;
    }
    states_.push_back(*next);
  }
  nodes_.push_back({node, byte});
  if (known_.insert(nodes_.size() - 1).second) return true;
  nodes_.pop_back();
  states_.resize(first);
  return false;
}

std::string TextSearch::text_of(size_t node) const {
  std::string text;
  for (; node != 0; node = nodes_[node].before)
    text += static_cast<char>(nodes_[node].byte);
  std::reverse(text.begin(), text.end());
  return text;
}

TextAnswer TextSearch::run() {
  if (!add_start()) return {Can::impossible, {}};
  const bool empty_fits = fits(0);
  for (size_t node = 0; node < nodes_.size(); ++node) {
    if (empty_fits && node >= kForBetterText) return {Can::possible, {}};
    for (const uint8_t byte : alphabet_) {
      gave_up_ = gave_up_ || !effort_->step() || states_.size() > kMostStates;
      if (gave_up_) return {empty_fits ? Can::possible : Can::unknown, {}};
      if (add_next(node, byte) && fits(nodes_.size() - 1)) return {Can::possible, text_of(nodes_.size() - 1)};
    }
  }
  if (gave_up_) return {empty_fits ? Can::possible : Can::unknown, {}};
  return {empty_fits ? Can::possible : Can::impossible, {}};
}

}  // namespace

std::unique_ptr<TextTest> make_text_test(const Filter &filter) {
  switch (filter.kind) {
    case FilterKind::equals:
      return std::make_unique<SameText>(filter.text, false);
    case FilterKind::prefix:
      return std::make_unique<SameText>(filter.text, true);
    case FilterKind::present:
      return std::make_unique<SameText>("", true);
    case FilterKind::range:
      return std::make_unique<NumberInRange>(filter);
    case FilterKind::regex: {
      std::optional<RegexProgram> program = compile_regex(filter.text);
      return program ? std::make_unique<Matches>(std::move(*program)) : nullptr;
    }
  }
  return nullptr;
}

TextAnswer find_text(const std::vector<WantedTest> &wanted, Effort &effort) {
  return TextSearch(wanted, effort).run();
}

}  // namespace simulator::reasoning
