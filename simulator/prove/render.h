// Answers for people and for programs.
#pragma once

#include <string>

#include "simulator/policy/model.h"
#include "simulator/prove/answer.h"
#include "simulator/text/json.h"
#include "simulator/text/tone.h"

namespace simulator::prove {

// "proved", "refuted" or "undecided".
const char *to_string(Result result);

// A line for each answer; for a witness, also what it has, what happens and why; for what is undecided, why.
std::string text_of(const PolicyFile &file, const Answer &answer, Colours colours, size_t width);
// "2 proved, 1 refuted, 0 undecided".
std::string summary_of(const Answers &answers);
Json json_of(const PolicyFile &file, const Answer &answer);
Json json_of_counts(const Answers &answers);

}  // namespace simulator::prove
