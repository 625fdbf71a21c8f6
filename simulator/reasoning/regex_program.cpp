#include "simulator/reasoning/regex_program.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

namespace simulator::reasoning {

namespace {

constexpr char32_t kHighestCharacter = 0x10ffff;
constexpr size_t kMostInstructions = 20'000;

struct CharacterRange {
  char32_t low;
  char32_t high;
};

// ---- Sets of characters ---------------------------------------------------------------------------------------------------

class Characters {
 public:
  void add(char32_t low, char32_t high) { ranges_.push_back({low, high}); }
  void add(const Characters &others) { ranges_.insert(ranges_.end(), others.ranges_.begin(), others.ranges_.end()); }
  const std::vector<CharacterRange> &ranges() const { return ranges_; }

  Characters negated() const;
  // Adds the other case of every letter. False when there are letters whose other cases are not known here.
  bool add_other_cases();

 private:
  std::vector<CharacterRange> ranges_;
};

Characters Characters::negated() const {
  std::vector<CharacterRange> sorted = ranges_;
  std::sort(sorted.begin(), sorted.end(), [](const auto &a, const auto &b) { return a.low < b.low; });
  Characters others;
  char32_t next = 0;
  for (const CharacterRange &range : sorted) {
    if (range.low > next) others.add(next, range.low - 1);
    next = std::max<char32_t>(next, range.high + 1);
  }
  if (next <= kHighestCharacter) others.add(next, kHighestCharacter);
  return others;
}

// Two letters of ASCII have a third case: the sign for kelvin and the long s.
bool Characters::add_other_cases() {
  constexpr char32_t kKelvin = 0x212a;
  constexpr char32_t kLongS = 0x17f;
  constexpr char32_t kBetweenCases = 'a' - 'A';
  const std::vector<CharacterRange> given = ranges_;
  for (const CharacterRange &range : given) {
    if (range.high > 0x7f) return false;
    const auto add_shifted = [&](char32_t first, char32_t last, bool to_lower) {
      const char32_t low = std::max(range.low, first);
      const char32_t high = std::min(range.high, last);
      if (low > high) return;
      add(to_lower ? low + kBetweenCases : low - kBetweenCases, to_lower ? high + kBetweenCases : high - kBetweenCases);
    };
    const auto has = [&](char32_t character) { return range.low <= character && character <= range.high; };
    add_shifted('A', 'Z', true);
    add_shifted('a', 'z', false);
    if (has('k') || has('K')) add(kKelvin, kKelvin);
    if (has('s') || has('S')) add(kLongS, kLongS);
  }
  return true;
}

Characters digits() {
  Characters set;
  set.add('0', '9');
  return set;
}

Characters word_characters() {
  Characters set = digits();
  set.add('A', 'Z');
  set.add('a', 'z');
  set.add('_', '_');
  return set;
}

Characters spaces() {
  Characters set;
  set.add('\t', '\n');
  set.add('\f', '\r');
  set.add(' ', ' ');
  return set;
}

// The class of '\d' and its like; nothing for other letters.
std::optional<Characters> perl_class(char letter) {
  switch (letter) {
    case 'd':
      return digits();
    case 'D':
      return digits().negated();
    case 's':
      return spaces();
    case 'S':
      return spaces().negated();
    case 'w':
      return word_characters();
    case 'W':
      return word_characters().negated();
    default:
      return std::nullopt;
  }
}

struct NamedClass {
  std::string_view name;
  std::vector<CharacterRange> ranges;
};

const std::vector<NamedClass> &named_classes() {
  static const std::vector<NamedClass> kClasses = {
      {"alnum", {{'0', '9'}, {'A', 'Z'}, {'a', 'z'}}},
      {"alpha", {{'A', 'Z'}, {'a', 'z'}}},
      {"ascii", {{0, 0x7f}}},
      {"blank", {{'\t', '\t'}, {' ', ' '}}},
      {"cntrl", {{0, 0x1f}, {0x7f, 0x7f}}},
      {"digit", {{'0', '9'}}},
      {"graph", {{'!', '~'}}},
      {"lower", {{'a', 'z'}}},
      {"print", {{' ', '~'}}},
      {"punct", {{'!', '/'}, {':', '@'}, {'[', '`'}, {'{', '~'}}},
      {"space", {{'\t', '\r'}, {' ', ' '}}},
      {"upper", {{'A', 'Z'}}},
      {"word", {{'0', '9'}, {'A', 'Z'}, {'a', 'z'}, {'_', '_'}}},
      {"xdigit", {{'0', '9'}, {'A', 'F'}, {'a', 'f'}}},
  };
  return kClasses;
}

std::optional<Characters> named_class(std::string_view name) {
  for (const NamedClass &known : named_classes()) {
    if (known.name != name) continue;
    Characters set;
    for (const CharacterRange &range : known.ranges)
      set.add(range.low, range.high);
    return set;
  }
  return std::nullopt;
}

// ---- Syntax ---------------------------------------------------------------------------------------------------------------

struct Node {
  enum class Kind : uint8_t { characters, edge, sequence, choice, repetition };
  Kind kind = Kind::sequence;
  Characters characters{};
  Edge edge = Edge::text_begin;
  std::vector<Node> parts{};
  uint32_t least = 0;              // repetition
  std::optional<uint32_t> most{};  // nothing: no limit
};

// Reads a pattern that RE2 has accepted, so what it reads is never wrong, only sometimes not supported.
class Parser {
 public:
  explicit Parser(std::string_view pattern) : rest_(pattern) {}

  std::optional<Node> parse() {
    Node node = parse_choice();
    if (!supported_ || !rest_.empty()) return std::nullopt;
    return node;
  }

 private:
  struct Flags {
    bool any_case = false;
    bool lines = false;     // ^ and $ also at the ends of lines
    bool newlines = false;  // . also matches a newline
  };

  bool take(std::string_view text) {
    if (!rest_.starts_with(text)) return false;
    rest_.remove_prefix(text.size());
    return true;
  }
  char take_byte() {
    if (rest_.empty()) {
      supported_ = false;
      return 0;
    }
    const char byte = rest_[0];
    rest_.remove_prefix(1);
    return byte;
  }
  Node not_supported() {
    supported_ = false;
    rest_ = {};
    return {};
  }

  Node parse_choice();
  Node parse_sequence();
  Node parse_repetitions(Node of);
  bool take_repetition(Node &node);
  bool take_counts(Node &node);
  std::optional<uint32_t> take_number();
  Node parse_single();
  Node parse_group();
  void take_group_flags(bool &ends_group);
  Node parse_escape();
  Node parse_quoted();
  Node parse_class();
  void add_class_item(Characters &set);
  char32_t class_character();
  char32_t escaped_character(char letter);
  char32_t octal(char first);
  char32_t hexadecimal();
  char32_t take_character();
  Node of_character(char32_t character);
  Node of_characters(Characters set) const;
  static Node of_edge(Edge edge);

  std::string_view rest_;
  Flags flags_;
  bool supported_ = true;
};

Node Parser::of_characters(Characters set) const {
  Node node{.kind = Node::Kind::characters};
  node.characters = std::move(set);
  return node;
}

Node Parser::of_edge(Edge edge) {
  return {.kind = Node::Kind::edge, .edge = edge};
}

Node Parser::of_character(char32_t character) {
  Characters set;
  set.add(character, character);
  if (flags_.any_case && !set.add_other_cases()) return not_supported();
  return of_characters(std::move(set));
}

Node Parser::parse_choice() {
  Node choice{.kind = Node::Kind::choice};
  do {
    choice.parts.push_back(parse_sequence());
  } while (take("|"));
  return choice;
}

Node Parser::parse_sequence() {
  Node sequence{.kind = Node::Kind::sequence};
  while (!rest_.empty() && rest_[0] != '|' && rest_[0] != ')') {
    if (take("\\Q")) {
      sequence.parts.push_back(parse_quoted());
    } else {
      sequence.parts.push_back(parse_repetitions(parse_single()));
    }
  }
  return sequence;
}

// A repetition after the quoted text applies to its last character.
Node Parser::parse_quoted() {
  Node sequence{.kind = Node::Kind::sequence};
  while (!rest_.empty() && !take("\\E"))
    sequence.parts.push_back(of_character(take_character()));
  if (sequence.parts.empty()) return sequence;
  Node last = parse_repetitions(std::move(sequence.parts.back()));
  sequence.parts.back() = std::move(last);
  return sequence;
}

Node Parser::parse_repetitions(Node of) {
  for (;;) {
    Node repeated{.kind = Node::Kind::repetition};
    if (!take_repetition(repeated)) return of;
    // Which of several matches is preferred makes no difference.
    take("?");
    repeated.parts.push_back(std::move(of));
    of = std::move(repeated);
  }
}

bool Parser::take_repetition(Node &node) {
  if (take("*")) return true;
  if (take("+")) {
    node.least = 1;
    return true;
  }
  if (take("?")) {
    node.most = 1;
    return true;
  }
  return take_counts(node);
}

// A brace that does not begin counts is a character of the text.
bool Parser::take_counts(Node &node) {
  const std::string_view before = rest_;
  if (!take("{")) return false;
  const std::optional<uint32_t> least = take_number();
  if (least) {
    node.least = *least;
    node.most = least;
    if (take(",")) node.most = take_number();
    if (take("}")) return true;
  }
  rest_ = before;
  return false;
}

std::optional<uint32_t> Parser::take_number() {
  constexpr size_t kMostDigits = 4;
  uint32_t number = 0;
  size_t taken = 0;
  while (taken < kMostDigits && !rest_.empty() && rest_[0] >= '0' && rest_[0] <= '9') {
    number = number * 10 + static_cast<uint32_t>(take_byte() - '0');
    ++taken;
  }
  return taken == 0 ? std::nullopt : std::optional(number);
}

Node Parser::parse_single() {
  switch (rest_[0]) {
    case '(':
      return parse_group();
    case '[':
      take_byte();
      return parse_class();
    case '\\':
      take_byte();
      return parse_escape();
    case '^':
      take_byte();
      return of_edge(flags_.lines ? Edge::line_begin : Edge::text_begin);
    case '$':
      take_byte();
      return of_edge(flags_.lines ? Edge::line_end : Edge::text_end);
    case '.': {
      take_byte();
      Characters newline;
      if (!flags_.newlines) newline.add('\n', '\n');
      return of_characters(newline.negated());
    }
    default:
      return of_character(take_character());
  }
}

// Flags that are set inside a group end with it.
Node Parser::parse_group() {
  const Flags outside = flags_;
  take("(");
  bool ends_group = false;
  if (take("?P<") || take("?<")) {
    while (!rest_.empty() && take_byte() != '>') {
    }
  } else if (take("?")) {
    take_group_flags(ends_group);
  }
  if (ends_group) return {};
  Node node = parse_choice();
  if (!take(")")) return not_supported();
  flags_ = outside;
  return node;
}

// "i-s:" begins a group with other flags; "i-s)" changes those of the group around.
void Parser::take_group_flags(bool &ends_group) {
  bool value = true;
  while (!rest_.empty()) {
    switch (take_byte()) {
      case 'i':
        flags_.any_case = value;
        break;
      case 'm':
        flags_.lines = value;
        break;
      case 's':
        flags_.newlines = value;
        break;
      case 'U':
        break;
      case '-':
        value = false;
        break;
      case ':':
        return;
      case ')':
        ends_group = true;
        return;
      default:
        supported_ = false;
    }
  }
}

Node Parser::parse_escape() {
  const char letter = take_byte();
  switch (letter) {
    case 'A':
      return of_edge(Edge::text_begin);
    case 'z':
      return of_edge(Edge::text_end);
    case 'b':
      return of_edge(Edge::word_edge);
    case 'B':
      return of_edge(Edge::no_word_edge);
    case 'C':
    case 'p':
    case 'P':
    case 'E':
      return not_supported();
    default:
      break;
  }
  if (std::optional<Characters> set = perl_class(letter)) {
    // With any case, the letters of \w have a third case outside ASCII.
    return flags_.any_case && (letter == 'w' || letter == 'W') ? not_supported() : of_characters(std::move(*set));
  }
  return of_character(escaped_character(letter));
}

// A character that is written with a backslash, and not as a class.
char32_t Parser::escaped_character(char letter) {
  switch (letter) {
    case 'a':
      return '\a';
    case 'f':
      return '\f';
    case 'n':
      return '\n';
    case 'r':
      return '\r';
    case 't':
      return '\t';
    case 'v':
      return '\v';
    case 'x':
      return hexadecimal();
    default:
      break;
  }
  if (letter >= '0' && letter <= '7') return octal(letter);
  const bool is_letter = (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z');
  const bool is_punctuation = letter > ' ' && letter < 0x7f && !perl_class(letter) && !is_letter;
  if (!is_punctuation && letter != '_') supported_ = false;
  return static_cast<char32_t>(static_cast<unsigned char>(letter));
}

char32_t Parser::octal(char first) {
  auto value = static_cast<char32_t>(first - '0');
  for (int more = 0; more < 2 && !rest_.empty() && rest_[0] >= '0' && rest_[0] <= '7'; ++more)
    value = value * 8 + static_cast<char32_t>(take_byte() - '0');
  return value;
}

char32_t Parser::hexadecimal() {
  const bool in_braces = take("{");
  char32_t value = 0;
  for (int digit = 0; in_braces ? !rest_.empty() && rest_[0] != '}' : digit < 2; ++digit) {
    const char byte = take_byte();
    const std::string_view kDigits = "0123456789abcdef";
    const size_t found = kDigits.find(byte >= 'A' && byte <= 'F' ? static_cast<char>(byte - 'A' + 'a') : byte);
    if (found == std::string_view::npos || value > kHighestCharacter) {
      supported_ = false;
      return 0;
    }
    value = value * 16 + static_cast<char32_t>(found);
  }
  if (in_braces) take("}");
  return value;
}

// One character of the pattern, which is valid UTF-8.
char32_t Parser::take_character() {
  const auto lead = static_cast<unsigned char>(take_byte());
  if (lead < 0x80) return lead;
  const int more = lead >= 0xf0 ? 3 : lead >= 0xe0 ? 2 : 1;
  char32_t character = lead & (0x3fU >> more);
  for (int at = 0; at < more; ++at)
    character = character << 6 | (static_cast<unsigned char>(take_byte()) & 0x3fU);
  return character;
}

Node Parser::parse_class() {
  const bool negated = take("^");
  Characters set;
  bool first = true;
  while (supported_ && (first || !rest_.starts_with("]"))) {
    if (rest_.empty()) return not_supported();
    first = false;
    add_class_item(set);
  }
  take("]");
  if (flags_.any_case && !set.add_other_cases()) return not_supported();
  return of_characters(negated ? set.negated() : std::move(set));
}

void Parser::add_class_item(Characters &set) {
  if (rest_.starts_with("[:")) {
    const size_t end = rest_.find(":]");
    if (end != std::string_view::npos) {
      std::string_view name = rest_.substr(2, end - 2);
      const bool negated = name.starts_with('^');
      if (negated) name.remove_prefix(1);
      const std::optional<Characters> named = named_class(name);
      supported_ = supported_ && named.has_value() && !(negated && flags_.any_case);
      if (named) set.add(negated ? named->negated() : *named);
      rest_.remove_prefix(end + 2);
      return;
    }
  }
  if (rest_.starts_with('\\') && rest_.size() > 1) {
    if (const std::optional<Characters> known = perl_class(rest_[1])) {
      set.add(*known);
      rest_.remove_prefix(2);
      return;
    }
  }
  const char32_t low = class_character();
  char32_t high = low;
  if (rest_.starts_with('-') && rest_.size() > 1 && rest_[1] != ']') {
    take_byte();
    high = class_character();
  }
  set.add(low, high);
}

char32_t Parser::class_character() {
  if (!take("\\")) return take_character();
  const char letter = take_byte();
  if (letter == 'p' || letter == 'P') supported_ = false;
  return escaped_character(letter);
}

// ---- Programs -------------------------------------------------------------------------------------------------------------

// Emits a program from its end: every part is given the place where the text goes on.
class Compiler {
 public:
  std::optional<RegexProgram> compile(const Node &node) {
    const uint32_t match = emit({.kind = Instruction::Kind::match});
    program_.start = emit(node, match);
    if (too_large_) return std::nullopt;
    return std::move(program_);
  }

 private:
  uint32_t emit(const Instruction &instruction) {
    if (program_.instructions.size() >= kMostInstructions) {
      too_large_ = true;
      return 0;
    }
    program_.instructions.push_back(instruction);
    return static_cast<uint32_t>(program_.instructions.size() - 1);
  }
  uint32_t emit_split(uint32_t next, uint32_t other) {
    return emit({.kind = Instruction::Kind::split, .next = next, .other = other});
  }

  uint32_t emit(const Node &node, uint32_t next);
  uint32_t emit_choice(const std::vector<Node> &parts, uint32_t next);
  uint32_t emit_repetition(const Node &node, uint32_t next);
  uint32_t emit_characters(const Characters &set, uint32_t next);
  void add_range(CharacterRange range, uint32_t next, std::vector<uint32_t> &starts);

  RegexProgram program_;
  bool too_large_ = false;
};

uint32_t Compiler::emit(const Node &node, uint32_t next) {
  switch (node.kind) {
    case Node::Kind::characters:
      return emit_characters(node.characters, next);
    case Node::Kind::edge:
      return emit({.kind = Instruction::Kind::edge, .edge = node.edge, .next = next});
    case Node::Kind::sequence:
      for (size_t at = node.parts.size(); at-- > 0;)
        next = emit(node.parts[at], next);
      return next;
    case Node::Kind::choice:
      return emit_choice(node.parts, next);
    case Node::Kind::repetition:
      return emit_repetition(node, next);
  }
  return next;
}

uint32_t Compiler::emit_choice(const std::vector<Node> &parts, uint32_t next) {
  uint32_t start = emit(parts.back(), next);
  for (size_t at = parts.size() - 1; at-- > 0;)
    start = emit_split(emit(parts[at], next), start);
  return start;
}

uint32_t Compiler::emit_repetition(const Node &node, uint32_t next) {
  const Node &part = node.parts[0];
  uint32_t start = next;
  uint32_t copies = node.least;
  if (!node.most) {
    const uint32_t again = emit_split(0, next);
    const uint32_t body = emit(part, again);
    program_.instructions[again].next = body;
    start = again;
  } else {
    for (uint32_t optional = node.least; optional < *node.most && !too_large_; ++optional)
      start = emit_split(emit(part, start), next);
  }
  for (; copies > 0 && !too_large_; --copies)
    start = emit(part, start);
  return start;
}

uint32_t Compiler::emit_characters(const Characters &set, uint32_t next) {
  std::vector<uint32_t> starts;
  for (const CharacterRange &range : set.ranges())
    add_range(range, next, starts);
  // An empty set matches nothing: an impossible range of bytes.
  if (starts.empty()) return emit({.kind = Instruction::Kind::bytes, .low = 1, .high = 0, .next = next});
  uint32_t start = starts.back();
  for (size_t at = starts.size() - 1; at-- > 0;)
    start = emit_split(starts[at], start);
  return start;
}

std::vector<uint8_t> encoded(char32_t character) {
  const auto byte = [](char32_t value) { return static_cast<uint8_t>(value); };
  const auto tail = [&](int shift) { return byte(0x80U | ((character >> shift) & 0x3fU)); };
  if (character < 0x80) return {byte(character)};
  if (character < 0x800) return {byte(0xc0U | character >> 6), tail(0)};
  if (character < 0x10000) return {byte(0xe0U | character >> 12), tail(6), tail(0)};
  return {byte(0xf0U | character >> 18), tail(12), tail(6), tail(0)};
}

// A range whose encodings have equal lengths and are a product of byte ranges is a chain of instructions; others are
// split until they are.
void Compiler::add_range(CharacterRange range, uint32_t next, std::vector<uint32_t> &starts) {
  const auto split_after = [&](char32_t last) {
    add_range({range.low, last}, next, starts);
    add_range({last + 1, range.high}, next, starts);
  };
  for (const char32_t longest : {U'\x7f', U'\x7ff', U'\xffff'}) {
    if (range.low <= longest && longest < range.high) return split_after(longest);
  }
  for (unsigned tails = 1; tails < 4 && range.high > 0x7f; ++tails) {
    const char32_t mask = (char32_t{1} << (6 * tails)) - 1;
    if ((range.low & ~mask) == (range.high & ~mask)) continue;
    if ((range.low & mask) != 0) return split_after(range.low | mask);
    if ((range.high & mask) != mask) return split_after((range.high & ~mask) - 1);
  }
  const std::vector<uint8_t> low = encoded(range.low);
  const std::vector<uint8_t> high = encoded(range.high);
  for (size_t at = low.size(); at-- > 0;)
    next = emit({.kind = Instruction::Kind::bytes, .low = low[at], .high = high[at], .next = next});
  starts.push_back(next);
}

}  // namespace

std::optional<RegexProgram> compile_regex(std::string_view pattern) {
  const std::optional<Node> node = Parser(pattern).parse();
  return node ? Compiler().compile(*node) : std::nullopt;
}

}  // namespace simulator::reasoning
