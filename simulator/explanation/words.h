// The words for what happens in an event, shared by every renderer of an explanation.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "simulator/explanation/explanation.h"
#include "simulator/text/tone.h"

namespace simulator {

const char *to_string(engine::Verdict verdict);
// The same word in the colour of the verdict.
std::string verdict_text(engine::Verdict verdict, Colours colours);

// A value, or the word for an absent one.
std::string value_text(const std::optional<std::string> &value);
// Why a value is in no range, whatever its ends: "is not a whole number". Empty for a number.
std::string_view why_no_number(std::string_view value);
// What a filter answered, and for which value: "a equals 1 does not hold: a is absent".
std::string answer_text(const FilterExplanation &filter);
// "starts: absent -> 1".
std::string change_text(const Change &change);
// The verdict of a raised event: "event e: deny, but that decides only this inner event".
std::string inner_verdict_text(const EventExplanation &raised, Colours colours);
// Which limit refused what: "more than 16 events are nested: raise e is refused, and 3 more". For one refusal or more.
std::string limit_text(const Refusals &refusals);
// The same of the first refused action, the limit that refused it, and the number of refusals.
std::string limit_text(const Action &first, bool too_deep, size_t count);

}  // namespace simulator
