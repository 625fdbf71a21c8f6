#include "tool/shell/commands.h"

#include <algorithm>
#include <iostream>

#include "runtime/control.h"
#include "tool/account/account_json.h"
#include "tool/account/account_text.h"
#include "tool/account/recorder.h"
#include "tool/apart.h"
#include "tool/arguments.h"
#include "tool/exit_codes.h"
#include "tool/narrator.h"
#include "tool/policy/text.h"
#include "tool/report.h"
#include "tool/shell/show.h"
#include "tool/simulation.h"
#include "tool/trace_levels.h"

namespace tool::shell {

namespace {

constexpr size_t kMany = 1000;

Result result_of(bool done) {
  return done ? Result::done : Result::failed;
}

// ---- What is there ------------------------------------------------------------------------------------------------------------

Result load(Session &session, const Line &line, size_t) {
  if (line.words[1] == "-") {
    complain("standard input is for commands");
    return Result::failed;
  }
  return result_of(session.load(line.words[1]));
}

const KindWord *known_kind(const std::string &word, std::span<const KindWord> kinds) {
  std::vector<std::string_view> words;
  for (const KindWord &kind : kinds)
    words.push_back(kind.word);
  const auto found = std::find(words.begin(), words.end(), word);
  if (found != words.end()) return &kinds[static_cast<size_t>(found - words.begin())];
  complain_about_name("kind", word, words);
  return nullptr;
}

std::span<const KindWord> map_kinds() {
  return std::span(kKinds).subspan(kFirstMap);
}

Result create(Session &session, const Line &line, size_t number) {
  const KindWord *kind = known_kind(line.words[1], kKinds);
  return result_of(kind && session.create(*kind, line.words[2], line.rest_after(3), number));
}

Result remove(Session &session, const Line &line, size_t) {
  const KindWord *kind = known_kind(line.words[1], map_kinds());
  return result_of(kind && session.remove(*kind, line.words[2]));
}

Result activate(Session &session, const Line &line, size_t) {
  return result_of(session.activate(line.words[1], line.words[2]));
}

Result deactivate(Session &session, const Line &line, size_t) {
  return result_of(session.deactivate(line.words[1], line.words[2]));
}

Result show(Session &session, const Line &line, size_t) {
  if (line.words.size() == 1) return result_of(show_overview(session));
  if (line.words[1] == "config") return result_of(show_configuration());
  if (line.words[1] == "listing") return result_of(show_listing(session));
  const KindWord *kind = known_kind(line.words[1], map_kinds());
  if (!kind) return Result::failed;
  if (line.words.size() == 2) return result_of(show_objects(session, kind->kind, {}));
  return result_of(session.is_known(*kind, line.words[2]) && show_objects(session, kind->kind, line.words[2]));
}

// ---- What happens -------------------------------------------------------------------------------------------------------------

// NAME@TARGET and what is set before it.
std::optional<Step> read_step(const Session &session, const Line &line, size_t first_assignment) {
  std::optional<Step> step = parse_event(line.words[1], session.file());
  for (size_t at = first_assignment; step && at < line.words.size(); ++at) {
    if (!parse_set(line.words[at], session.file(), *step)) return std::nullopt;
  }
  return step;
}

Result raise(Session &session, const Line &line, size_t) {
  const std::optional<Step> step = read_step(session, line, 2);
  if (!step) return Result::failed;
  if (Json *explanation = session.explanation()) {
    const Recorder recorder(session.file());
    run_step(session.file(), session.repository(), *step);
    *explanation = account_json(recorder.account(), session.file(), *step, Level::rules);
    return Result::done;
  }
  std::cout << step->event.value << " at " << step->target.value << '\n';
  Narrator narrator(std::cout);
  engine::observe(&narrator);
  run_step(session.file(), session.repository(), *step);
  engine::observe(nullptr);
  return Result::done;
}

// In a copy of the process, so that the session stays as it is.
Result explain(Session &session, const Line &line, size_t) {
  Level level = Level::rules;
  size_t first_assignment = 2;
  if (line.words.size() > 2 && line.words[2].find('=') == std::string::npos) {
    const std::optional<Level> read = parse_level(line.words[2]);
    if (!read) {
      complain_about_name("level", line.words[2], {"decision", "rules", "filters"});
      return Result::failed;
    }
    level = *read;
    first_assignment = 3;
  }
  const std::optional<Step> step = read_step(session, line, first_assignment);
  if (!step) return Result::failed;
  const Apart apart = run_apart("explain", [&](std::ostream &answer) {
    const Recorder recorder(session.file());
    run_step(session.file(), session.repository(), *step);
    if (session.explanation()) {
      print_json(answer, account_json(recorder.account(), session.file(), *step, level));
    } else {
      answer << account_text(recorder.account(), session.file(), *step, level);
    }
    return static_cast<int>(kSuccess);
  });
  if (apart.code != kSuccess) return Result::failed;
  if (session.explanation()) {
    *session.explanation() = Json::parse(apart.answer);
  } else {
    std::cout << apart.answer;
  }
  return Result::done;
}

engine::Attributes *attributes_of(const Session &session, const std::string &target) {
  if (!session.is_known(*find_kind("target"), target)) return nullptr;
  return engine::attributes_of(session.repository().target_handle(target));
}

Result set(Session &session, const Line &line, size_t) {
  engine::Attributes *attributes = attributes_of(session, line.words[1]);
  Step step;
  for (size_t at = 2; attributes && at < line.words.size(); ++at) {
    if (!parse_set(line.words[at], session.file(), step)) return Result::failed;
  }
  if (!attributes) return Result::failed;
  for (const Assignment &given : step.set)
    attributes->set(engine::register_attribute(given.attribute.value), given.text);
  return Result::done;
}

Result unset(Session &session, const Line &line, size_t) {
  engine::Attributes *attributes = attributes_of(session, line.words[1]);
  Step step;
  for (size_t at = 2; attributes && at < line.words.size(); ++at) {
    if (!parse_clear(line.words[at], session.file(), step)) return Result::failed;
  }
  if (!attributes) return Result::failed;
  for (const Name &attribute : step.clear)
    attributes->clear(engine::register_attribute(attribute.value));
  return Result::done;
}

Result clear(Session &session, const Line &line, size_t) {
  if (line.words[1] != "counters") {
    complain(text_of("there is nothing to clear but counters, no '", line.words[1], "'"));
    return Result::failed;
  }
  constexpr uint32_t kAll = 1;
  uint32_t status = 0;
  for (const Domain &domain : session.file().domains) {
    status |= zar_clear_policymap(domain.name.value.c_str(), nullptr, kAll);
    status |= zar_clear_classmap(domain.name.value.c_str(), nullptr, kAll);
  }
  if (status != 0) complain(text_of("the library refused with status ", status));
  return result_of(status == 0);
}

Result trace(Session &, const Line &line, size_t) {
  const std::string &word = line.words[1];
  const std::vector<std::string_view> known = {"on", "error", "info", "off"};
  if (std::find(known.begin(), known.end(), word) == known.end()) {
    complain_about_name("level", word, known);
    return Result::failed;
  }
  show_trace(word == "on" ? "info" : word == "off" ? "" : word);
  return Result::done;
}

// ---- The session ----------------------------------------------------------------------------------------------------------------

std::string usage_of(const Command &command) {
  return command.arguments.empty() ? std::string(command.name) : text_of(command.name, " ", command.arguments);
}

void complain_about_command(const std::string &word) {
  std::vector<std::string_view> names;
  for (const Command &command : commands())
    names.push_back(command.name);
  complain_about_name("command", word, names);
}

Result help(Session &, const Line &line, size_t) {
  if (line.words.size() > 1 && !find_command(line.words[1])) {
    complain_about_command(line.words[1]);
    return Result::failed;
  }
  for (const Command &command : commands()) {
    if (line.words.size() > 1 && command.name != line.words[1]) continue;
    std::cout << usage_of(command) << "\n    " << command.help << '\n';
  }
  return Result::done;
}

Result quit(Session &, const Line &, size_t) {
  return Result::quit;
}

}  // namespace

std::span<const Command> commands() {
  using enum Completes;
  static const Command kCommands[] = {
      {"activate", "POLICY TARGET", "activates a policy-map on a target", 2, 2, {policy, target}, activate},
      {"clear", "counters", "sets the counters of all rules and filters to 0", 1, 1, {counters}, clear},
      {"create",
       "KIND NAME [BODY]",
       "makes a client, domain, class, parameter-map, policy or target; BODY is what a policy file has behind the name",
       2,
       kMany,
       {kind, nothing},
       create},
      {"deactivate", "POLICY TARGET", "deactivates a policy-map on a target", 2, 2, {policy, target}, deactivate},
      {"delete",
       "KIND NAME",
       "deletes a class, parameter-map, policy or target that nothing else needs",
       2,
       2,
       {map_kind, name_of_kind},
       remove},
      {"exit", "", "ends the session, as quit does", 0, 0, {}, quit},
      {"explain",
       "EVENT@TARGET [LEVEL] [ATTRIBUTE=VALUE ...]",
       "tells what the event would do, and why; LEVEL is decision, rules or filters; nothing is changed",
       1,
       kMany,
       {event_at_target, level, assignment},
       explain},
      {"help", "[COMMAND]", "tells about the commands, or about one", 0, 1, {command}, help},
      {"load", "FILE", "adds the objects of a policy file", 1, 1, {file}, load},
      {"quit", "", "ends the session", 0, 0, {}, quit},
      {"raise",
       "EVENT@TARGET [ATTRIBUTE=VALUE ...]",
       "sets attributes, raises an event, and tells what happens",
       1,
       kMany,
       {event_at_target, assignment},
       raise},
      {"set", "TARGET ATTRIBUTE=VALUE ...", "sets attributes of a target", 2, kMany, {target, assignment}, set},
      {"show",
       "[KIND [NAME] | config | listing]",
       "shows objects as they stand, all as a policy file, or the library's listings with counters",
       0,
       2,
       {shown_kind, name_of_kind},
       show},
      {"trace", "on|error|info|off", "shows the library's own messages on standard error", 1, 1, {trace_level}, trace},
      {"unset", "TARGET ATTRIBUTE ...", "takes attributes from a target", 2, kMany, {target, attribute}, unset},
  };
  return kCommands;
}

const Command *find_command(std::string_view name) {
  const std::span<const Command> all = commands();
  const auto found = std::find_if(all.begin(), all.end(), [&](const Command &command) { return command.name == name; });
  return found == all.end() ? nullptr : &*found;
}

Result run(Session &session, const std::string &text, size_t number) {
  const Line line = split(text);
  if (line.words.empty()) return Result::done;
  const Command *command = find_command(line.words[0]);
  if (!command) {
    complain_about_command(line.words[0]);
    return Result::failed;
  }
  // What a create takes is policy text, in which a single quote may be an apostrophe.
  if (line.unclosed && command->action != create) {
    complain("a quote is not closed");
    return Result::failed;
  }
  const size_t given = line.words.size() - 1;
  if (given < command->least || given > command->most) {
    complain(text_of("expected: ", usage_of(*command)));
    return Result::failed;
  }
  const Result result = command->action(session, line, number);
  // Messages of the library go elsewhere; they should meet the command that they belong to.
  std::cout.flush();
  return result;
}

}  // namespace tool::shell
