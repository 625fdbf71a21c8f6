// What takes longer to find out about a text: the findings of lint, what its scenario and its tests do, and whether its
// claims hold.
//
// A study builds repositories, so it is made in a process of its own, from which its result comes as JSON.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "simulator/editing/analysis.h"
#include "simulator/reasoning/effort.h"
#include "simulator/text/json.h"

namespace simulator::editing {

// What check says.
struct Checked {
  std::vector<Problem> problems{};
  Names names{};
  bool is_valid = false;
};

// Something to show beside a place.
struct Note {
  size_t offset = 0;
  std::string text{};
};

struct Studied {
  std::vector<Problem> problems{};     // of lint
  std::vector<Note> decisions{};       // what events decide
  std::vector<Note> rules{};           // how often the scenario runs them
  std::vector<Note> events{};          // how often it raises them, and what is decided
  std::vector<Note> steps{};           // the verdicts
  std::vector<Note> tests{};           // whether they hold
  std::vector<Note> claims{};          // whether they are proved
  std::vector<std::string> remarks{};  // what was left out, and why
};

Checked check(const Analysis &analysis);
// Of a text that loads. 'may_go_on' limits the effort.
Studied study(const std::string &text, const PolicyFile &file, const reasoning::MayGoOn &may_go_on);

// What a test does: whether it passes, and if not, why.
struct TestResult {
  bool passed = false;
  std::string text{};
};
// Nothing if the source has no test of this name.
std::optional<TestResult> run_test(const Source &source, const std::string &name);

Json json_of(const Checked &checked);
Json json_of(const Studied &studied);
Checked checked_of(const Json &json);
Studied studied_of(const Json &json);

}  // namespace simulator::editing
