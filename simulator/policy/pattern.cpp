#include "simulator/policy/pattern.h"

#include <cstdint>
#include <string_view>

#include "simulator/text/text.h"

namespace simulator {

namespace {

constexpr int64_t kMemory = 1 << 18;

// Describes what is wrong with a pattern. The regex engine's own sentences differ from one release to the next.
std::string_view sentence_of(RE2::ErrorCode error) {
  switch (error) {
    case RE2::ErrorBadEscape:
      return "an unknown escape";
    case RE2::ErrorBadCharClass:
    case RE2::ErrorBadCharRange:
      return "there is no such class or range of characters";
    case RE2::ErrorMissingBracket:
      return "a '[' without its ']'";
    case RE2::ErrorMissingParen:
      return "a '(' without its ')'";
    case RE2::ErrorUnexpectedParen:
      return "a ')' without its '('";
    case RE2::ErrorTrailingBackslash:
      return "a '\\' with nothing behind it";
    case RE2::ErrorRepeatArgument:
      return "nothing to repeat";
    case RE2::ErrorRepeatSize:
      return "a repetition that is too long or ends before it begins";
    case RE2::ErrorRepeatOp:
      return "a repetition of a repetition";
    case RE2::ErrorBadPerlOp:
      return "an unknown '(?'";
    case RE2::ErrorBadNamedCapture:
      return "a group with a bad name";
    case RE2::ErrorPatternTooLarge:
      return "it takes too much memory";
    default:
      return "it cannot be compiled";
  }
}

}  // namespace

std::shared_ptr<const RE2> compile_pattern(const std::string &text) {
  RE2::Options options;
  options.set_log_errors(false);
  options.set_max_mem(kMemory);
  return std::make_shared<const RE2>(text, options);
}

std::string describe(const RE2 &pattern) {
  const std::string_view sentence = sentence_of(pattern.error_code());
  if (pattern.error_arg().empty()) return std::string(sentence);
  return concat(sentence, ": ", pattern.error_arg());
}

}  // namespace simulator
