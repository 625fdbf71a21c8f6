// The account of an event as a tree that a person reads.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "tool/account/account.h"

namespace tool {

// How much of an account is shown.
enum class Level : uint8_t {
  decision,  // what decided, what changed, and why nothing matched where nothing did
  rules,     // every policy-map and rule that was tried, every action that ran
  filters,   // every filter that was asked, too
};

// "decision", "rules" or "filters".
std::optional<Level> parse_level(std::string_view word);

// A line for each step; each begins with the place in the policy file that it comes from.
std::string account_text(const EventAccount &account, const PolicyFile &file, const Step &step, Level level);

// The texts of criteria and verdicts, as listings have them.
const char *to_string(ClassMatch match);
const char *to_string(EventMatch match);
const char *to_string(Execute execute);
const char *to_string(engine::Verdict verdict);

// A filter with its no-match: "ssid prefix guest", "not ssid prefix guest".
std::string filter_text(const Filter &filter);
// A value or its absence, as a word.
std::string value_text(const std::optional<std::string> &value);
// What a filter said, and of which value: "a equals 1 does not hold: a is absent".
std::string answer_text(const FilterAccount &filter);
// "starts: absent -> 1".
std::string change_text(const Change &change);

}  // namespace tool
