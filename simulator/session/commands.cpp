#include "simulator/session/commands.h"

#include <algorithm>

#include "simulator/explanation/recorder.h"
#include "simulator/explanation/rehearsal.h"
#include "simulator/policy/attributes.h"
#include "simulator/policy/step_text.h"
#include "simulator/repository/run_step.h"
#include "simulator/session/output_filter.h"
#include "simulator/session/show.h"
#include "simulator/session/whole_session.h"
#include "simulator/text/interruption.h"

namespace simulator::session {

void fail(Reply &reply, std::string complaint) {
  reply.trouble.complaints.push_back(std::move(complaint));
  reply.status = Status::failed;
}

namespace {

constexpr size_t kMany = 1000;

void end_with(bool done, Reply &reply) {
  if (!done) reply.status = Status::failed;
}

// ---- What is there ------------------------------------------------------------------------------------------------------------

void load(const Call &call, Reply &reply) {
  if (call.line.words[1] == "-") return fail(reply, "standard input is for commands");
  end_with(call.session.load(call.line.words[1], reply.trouble), reply);
}

void fail_at_surplus(const Line &line, size_t first, std::string_view usage, Reply &reply) {
  fail(reply, concat("'", line.words[first], "' is one word too many; expected: ", usage));
}

// NULL when there is no such kind, or the command cannot do with it what 'verb' says; the command then fails.
const KindWord *known_kind(const std::string &word, std::span<const KindWord> kinds, std::string_view verb,
                           Reply &reply) {
  std::vector<std::string_view> words;
  for (const KindWord &kind : kinds)
    words.push_back(kind.word);
  const auto found = std::find(words.begin(), words.end(), word);
  if (found != words.end()) return &kinds[static_cast<size_t>(found - words.begin())];
  if (const KindWord *other = find_kind(word)) {
    fail(reply, concat(other->title, "s cannot be ", verb, ", only ", comma_separated(words)));
  } else {
    fail(reply, no_such("kind", word, words));
  }
  return nullptr;
}

void create(const Call &call, Reply &reply) {
  const Line &line = call.line;
  if (const KindWord *kind = known_kind(line.words[1], kKinds, "created", reply))
    end_with(call.session.create(*kind, line.words[2], line.rest_after(3), call.number, reply.trouble), reply);
}

bool is_registered_kind(std::string_view word) {
  const KindWord *kind = find_kind(word);
  return kind && (kind->kind == ObjectKind::client || kind->kind == ObjectKind::domain);
}

void remove(const Call &call, Reply &reply) {
  const std::string &word = call.line.words[1];
  if (is_registered_kind(word))
    return fail(reply, concat(word,
                              "s cannot be deleted: the library keeps them as long as it runs; undo and reload can "
                              "go back to before they were made"));
  if (const KindWord *kind = known_kind(word, kMapKinds, "deleted", reply))
    end_with(call.session.remove(*kind, call.line.words[2], reply.trouble), reply);
}

void activate(const Call &call, Reply &reply) {
  end_with(call.session.activate(call.line.words[1], call.line.words[2], reply.trouble), reply);
}

void deactivate(const Call &call, Reply &reply) {
  end_with(call.session.deactivate(call.line.words[1], call.line.words[2], reply.trouble), reply);
}

void put_out(std::optional<std::string> text, Reply &reply) {
  end_with(text.has_value(), reply);
  if (text) reply.output = std::move(*text);
}

void show(const Call &call, Reply &reply) {
  const std::vector<std::string> &words = call.line.words;
  Complaints &complaints = reply.trouble.complaints;
  if (words.size() == 1) return put_out(show_overview(call.session, complaints), reply);
  const bool is_all = words[1] == "config" || words[1] == "listing";
  if (is_all && words.size() > 2) return fail_at_surplus(call.line, 2, concat("show ", words[1]), reply);
  if (is_registered_kind(words[1])) return fail(reply, concat(words[1], "s are shown all together, by show"));
  if (words[1] == "config") return put_out(show_configuration(call.session, complaints), reply);
  if (words[1] == "listing") return put_out(show_listing(call.session), reply);
  const KindWord *kind = known_kind(words[1], kMapKinds, "shown alone", reply);
  if (!kind) return;
  std::optional<std::string> name;
  if (words.size() > 2) name = words[2];
  if (name && !call.session.is_known(kind->kind, *name, reply.trouble)) return end_with(false, reply);
  put_out(show_objects(call.session, kind->kind, name, complaints), reply);
}

// ---- What happens -------------------------------------------------------------------------------------------------------------

// NAME@TARGET and the changes before it. Nothing when one of them is wrong; the command then fails.
std::optional<Step> read_step(const Call &call, size_t first_assignment, Reply &reply) {
  const PolicyFile &file = call.session.file();
  Complaints &complaints = reply.trouble.complaints;
  std::optional<Step> step = parse_event(call.line.words[1], file, complaints);
  for (size_t at = first_assignment; step && at < call.line.words.size(); ++at) {
    if (!parse_set(call.line.words[at], file, *step, complaints)) step.reset();
  }
  end_with(step.has_value(), reply);
  return step;
}

void raise(const Call &call, Reply &reply) {
  std::optional<Step> step = read_step(call, 2, reply);
  if (!step) return;
  EventExplanation explanation = Recorder(call.session.file()).raise(call.session.repository(), *step);
  call.session.remember([same = *step](Session &session, Trouble &) {
    run_step(session.file(), session.repository(), same);
    return true;
  });
  reply.event = ShownEvent{.explanation = std::move(explanation), .step = std::move(*step)};
}

void explain(const Call &call, Reply &reply) {
  const std::vector<std::string> &words = call.line.words;
  std::optional<Level> level;
  if (words.size() > 2 && words[2].find('=') == std::string::npos) {
    level = parse_level(words[2]);
    if (!level) return fail(reply, no_such("level", words[2], {"decision", "rules", "filters"}));
  }
  std::optional<Step> step = read_step(call, level ? 3 : 2, reply);
  if (!step) return;
  EventExplanation explanation = rehearse(call.session.file(), call.session.repository(), *step);
  reply.event = ShownEvent{std::move(explanation), std::move(*step), true, level.value_or(Level::rules)};
}

// NULL when there is no such target; the command then fails.
engine::Attributes *attributes_of(const Call &call, Reply &reply) {
  const std::string &target = call.line.words[1];
  const bool known = call.session.is_known(ObjectKind::target, target, reply.trouble);
  end_with(known, reply);
  return known ? engine::attributes_of(call.session.repository().target_handle(target)) : nullptr;
}

void change_target(const Call &call, Step step) {
  step.target.value = call.line.words[1];
  change_attributes(call.session.repository(), step);
  call.session.remember([same = std::move(step)](Session &session, Trouble &) {
    change_attributes(session.repository(), same);
    return true;
  });
}

void set(const Call &call, Reply &reply) {
  const engine::Attributes *attributes = attributes_of(call, reply);
  Step step;
  for (size_t at = 2; attributes && at < call.line.words.size(); ++at) {
    if (!parse_set(call.line.words[at], call.session.file(), step, reply.trouble.complaints)) attributes = nullptr;
  }
  if (!attributes) return end_with(false, reply);
  change_target(call, std::move(step));
}

void unset(const Call &call, Reply &reply) {
  const engine::Attributes *attributes = attributes_of(call, reply);
  Step step;
  for (size_t at = 2; attributes && at < call.line.words.size(); ++at) {
    if (!parse_clear(call.line.words[at], call.session.file(), step, reply.trouble.complaints)) attributes = nullptr;
  }
  if (!attributes) return end_with(false, reply);
  change_target(call, std::move(step));
}

// Returns the statuses of the library in one.
uint32_t clear_counters(const PolicyFile &file) {
  constexpr uint32_t kAll = 1;
  uint32_t status = 0;
  for (const Domain &domain : file.domains) {
    status |= zar_clear_policymap(domain.name.value.c_str(), nullptr, kAll);
    status |= zar_clear_classmap(domain.name.value.c_str(), nullptr, kAll);
  }
  return status;
}

void clear(const Call &call, Reply &reply) {
  if (call.line.words[1] != "counters")
    return fail(reply, concat("there is nothing to clear but counters, no '", call.line.words[1], "'"));
  const uint32_t status = clear_counters(call.session.file());
  if (status != 0) return fail(reply, concat("the library refused with status ", status));
  call.session.remember([](Session &session, Trouble &) { return clear_counters(session.file()) == 0; });
}

void trace(const Call &call, Reply &reply) {
  const std::string &word = call.line.words[1];
  const std::vector<std::string_view> known = {"on", "error", "info", "off"};
  if (std::find(known.begin(), known.end(), word) == known.end()) return fail(reply, no_such("level", word, known));
  reply.trace_level = word == "on" ? "info" : word == "off" ? "" : word;
}

// ---- The session ----------------------------------------------------------------------------------------------------------------

std::string usage_of(const Command &command) {
  return command.arguments.empty() ? std::string(command.name) : concat(command.name, " ", command.arguments);
}

void fail_at_command(const std::string &word, Reply &reply) {
  std::vector<std::string_view> names;
  for (const Command &command : commands())
    names.push_back(command.name);
  fail(reply, no_such("command", word, names));
}

void help(const Call &call, Reply &reply) {
  const std::vector<std::string> &words = call.line.words;
  if (words.size() > 1 && !find_command(words[1])) return fail_at_command(words[1], reply);
  for (const Command &command : commands()) {
    if (words.size() > 1 && command.name != words[1]) continue;
    reply.output += concat(usage_of(command), "\n    ", command.help, "\n");
  }
}

void quit(const Call &, Reply &reply) {
  reply.status = Status::quit;
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
      {"diff", "", "lists what is different from the files as they were loaded", 0, 0, {}, compare_with_loaded, true},
      {"exit", "", "ends the session, as quit does", 0, 0, {}, quit},
      {"explain",
       "EVENT@TARGET [LEVEL] [ATTRIBUTE=VALUE ...]",
       "explains what the event would do, and why; LEVEL is decision, rules or filters; nothing is changed",
       1,
       kMany,
       {event_at_target, level, assignment},
       explain},
      {"help", "[COMMAND]", "explains the commands, or one of them", 0, 1, {command}, help, true},
      {"load", "FILE", "adds the objects of a policy file", 1, 1, {file}, load},
      {"quit", "", "ends the session", 0, 0, {}, quit},
      {"raise",
       "EVENT@TARGET [ATTRIBUTE=VALUE ...]",
       "sets attributes, raises an event, and shows what happens",
       1,
       kMany,
       {event_at_target, assignment},
       raise},
      {"reload", "", "begins anew with the loaded files, as they are now", 0, 0, {}, reload},
      {"run", "", "raises the events of the loaded files' scenarios", 0, 0, {}, run_loaded_scenario, true},
      {"save",
       "FILE [force]",
       "writes the objects as they stand to a policy file; force overwrites a file even if something would be lost",
       1,
       2,
       {file, force},
       save},
      {"set", "TARGET ATTRIBUTE=VALUE ...", "sets attributes of a target", 2, kMany, {target, assignment}, set},
      {"show",
       "[KIND [NAME] | config | listing]",
       "shows objects as they stand, all as a policy file, or the library's listings with counters",
       0,
       2,
       {shown_kind, name_of_kind},
       show,
       true},
      {"test", "", "runs the tests of the loaded files; nothing is changed", 0, 0, {}, run_loaded_tests, true},
      {"trace", "on|error|info|off", "shows the library's own messages on standard error", 1, 1, {trace_level}, trace},
      {"undo", "", "undoes the last command that changed something; again: the one before it", 0, 0, {}, undo},
      {"unset", "TARGET ATTRIBUTE ...", "takes attributes from a target", 2, kMany, {target, attribute}, unset},
  };
  return kCommands;
}

const Command *find_command(std::string_view name) {
  const std::span<const Command> all = commands();
  const auto found = std::find_if(all.begin(), all.end(), [&](const Command &command) { return command.name == name; });
  return found == all.end() ? nullptr : &*found;
}

namespace {

bool has_good_words(const Command &command, const Line &line, Reply &reply) {
  const size_t given = line.words.size() - 1;
  if (line.unclosed && command.action != create) {
    // The argument of create is policy text, and a single quote in it may be an apostrophe.
    fail(reply, "a quote is not closed");
  } else if (given < command.least) {
    fail(reply, concat("expected: ", usage_of(command)));
  } else if (given > command.most) {
    fail_at_surplus(line, command.most + 1, usage_of(command), reply);
  }
  return reply.status == Status::done;
}

void run_until_interrupted(const Command &command, const Call &call, Reply &reply) {
  try {
    command.action(call, reply);
  } catch (const Interrupted &) {
    reply.output.clear();
    const bool is_restored = reply.trouble.complaints.empty();
    fail(reply, is_restored ? "interrupted; the session is as it was before" : "interrupted");
  }
}

}  // namespace

Reply run(Session &session, const std::string &text, size_t number) {
  Reply reply;
  Line line = split(text);
  if (line.words.empty()) return reply;
  const Command *command = find_command(line.words[0]);
  if (!command) {
    fail_at_command(line.words[0], reply);
    return reply;
  }
  std::vector<OutputFilter> filters;
  if (command->takes_filters) {
    std::optional<std::vector<OutputFilter>> taken = take_filters(line, reply.trouble.complaints);
    end_with(taken.has_value(), reply);
    if (taken) filters = std::move(*taken);
  }
  if (reply.status != Status::done || !has_good_words(*command, line, reply)) return reply;
  session.begin_line(text);
  run_until_interrupted(*command, {session, line, number}, reply);
  reply.output = filtered(reply.output, filters);
  return reply;
}

}  // namespace simulator::session
