// What was asked of policies and what the answer is: values, for texts and JSON to be made from.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "simulator/explanation/explanation.h"
#include "simulator/policy/model.h"
#include "simulator/reasoning/effort.h"
#include "simulator/reasoning/inputs.h"
#include "simulator/reasoning/stage.h"
#include "simulator/text/text.h"

namespace simulator::prove {

enum class Result : uint8_t { proved, refuted, undecided };

// What the event did when a witness was played. The explanation refers to the stage's copy of 'file'.
struct Play {
  std::shared_ptr<reasoning::Stage> stage{};
  const PolicyFile *file = nullptr;
  Step step{};
  EventExplanation explanation{};
};

struct Answer {
  Result result = Result::undecided;
  std::string name{};  // of the question
  Position position{};
  std::string event{};
  reasoning::Policies policies{};    // of 'refuted' and 'undecided': active together
  std::vector<std::string> notes{};  // of 'proved': what the reader should know
  std::vector<std::string> why{};    // of 'undecided': what stood in the way
  std::vector<std::string> what{};   // of 'refuted': what happens with the witness
  reasoning::Input witness{};        // of 'refuted'
  std::vector<Play> plays{};         // of 'refuted': for comparisons, of the old file and of the new one
};

struct Answers {
  std::vector<Answer> all{};
  Complaints problems{};  // what should never happen: of the repositories on which witnesses were played

  size_t count(Result result) const {
    return static_cast<size_t>(
        std::count_if(all.begin(), all.end(), [&](const Answer &answer) { return answer.result == result; }));
  }
};

// Starts the clock of a question: the result answers whether there is time left.
using Clock = std::function<reasoning::MayGoOn()>;

}  // namespace simulator::prove
