// zar candidates: what a word of a command line can become, for the completion of interactive shells.
#include <iostream>

#include "command/command.h"
#include "command/exit_codes.h"
#include "simulator/policy/load.h"
#include "simulator/session/completion.h"

using namespace simulator;

namespace command {

namespace {

using session::Meaning;

struct Asked {
  std::string_view word;
  Meaning meaning;
  ObjectKind kind = ObjectKind::policy;  // of a name
};
constexpr Asked kAsked[] = {{"event", Meaning::event_at_target},
                            {"attribute", Meaning::attribute},
                            {"assignment", Meaning::assignment},
                            {"policy", Meaning::name, ObjectKind::policy},
                            {"class", Meaning::name, ObjectKind::class_map},
                            {"target", Meaning::name, ObjectKind::target},
                            {"parameter-map", Meaning::name, ObjectKind::parameter_map}};

// Nothing goes wrong aloud: a message would land in the middle of the line that a person is typing.
class CandidatesCommand final : public Command {
 public:
  const char *name() const override { return "candidates"; }
  const char *summary() const override { return "List what a word can become, for completion"; }
  bool is_for_programs() const override { return true; }

  void declare(Options &options) override {
    options.required_argument("FILE", path_, "A policy file");
    options.required_argument("WHAT", what_, "event, attribute, assignment, policy, class, target or parameter-map");
    options.argument("WORD", word_, "The beginning of the word");
    options.epilogue("Prints one candidate a line, and nothing for a file that cannot be read or is not good.");
  }

  int run() override {
    Diagnostics diagnostics;
    const Source source = Source::read(path_, diagnostics);
    if (!diagnostics.empty()) return kSuccess;
    const std::optional<PolicyFile> file = load(source, diagnostics);
    if (!file) return kSuccess;
    for (const Asked &asked : kAsked) {
      if (asked.word != what_) continue;
      for (const std::string &candidate : session::candidates(*file, asked.meaning, asked.kind, word_.value_or("")))
        std::cout << candidate << '\n';
    }
    return kSuccess;
  }

 private:
  std::string path_;
  std::string what_;
  std::optional<std::string> word_;
};

}  // namespace

std::unique_ptr<Command> make_candidates_command() {
  return std::make_unique<CandidatesCommand>();
}

}  // namespace command
