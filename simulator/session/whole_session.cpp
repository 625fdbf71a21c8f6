#include "simulator/session/whole_session.h"

#include <algorithm>
#include <list>

#include "simulator/diff/renames.h"
#include "simulator/diff/render.h"
#include "simulator/explanation/outline.h"
#include "simulator/explanation/recorder.h"
#include "simulator/explanation/rehearsal.h"
#include "simulator/policy/step_text.h"
#include "simulator/repository/run_step.h"
#include "simulator/session/save.h"
#include "simulator/session/show.h"
#include "simulator/testing/report.h"
#include "simulator/text/interruption.h"

namespace simulator::session {

void undo(const Call &call, Reply &reply) {
  const std::optional<std::string> line = call.session.undo(reply.trouble);
  if (!line) {
    reply.status = Status::failed;
  } else {
    reply.output = concat("undone: ", escape_control_characters(*line), "\n");
  }
}

void reload(const Call &call, Reply &reply) {
  if (!call.session.reload(reply.trouble)) reply.status = Status::failed;
}

void save(const Call &call, Reply &reply) {
  const std::vector<std::string> &words = call.line.words;
  const bool force = words.size() > 2;
  if (force && words[2] != "force")
    return fail(reply, concat("'", words[2], "' is not a word that save knows; expected: save FILE [force]"));
  reply.output = save_to(call.session, words[1], force, reply.trouble.complaints);
  if (!reply.trouble.complaints.empty()) reply.status = Status::failed;
}

// ---- Differences --------------------------------------------------------------------------------------------------------------

namespace {

// The files as they were loaded, in one. They were good then, and still are.
PolicyFile file_as_loaded(const Session &session) {
  PolicyFile file;
  file.path = session.file().path;
  for (const std::shared_ptr<const Source> &source : session.loaded()) {
    Diagnostics none;
    load_more(file, *source, none);
    file.more_paths.push_back(source->name());
  }
  return file;
}

PolicyFile file_as_it_is(const Session &session) {
  PolicyFile file = session.file().copy_of_objects();
  for (Target &target : file.targets)
    target.attributes = attributes_now(session, target);
  return file;
}

}  // namespace

void compare_with_loaded(const Call &call, Reply &reply) {
  if (call.session.loaded().empty()) return fail(reply, "no file was loaded in this session");
  const PolicyFile before = file_as_loaded(call.session);
  const PolicyFile after = file_as_it_is(call.session);
  const std::vector<diff::ObjectChange> changes = diff::compare(before, after, diff::find_renames(before, after));
  for (const diff::ObjectChange &change : changes)
    reply.output += diff::text_of_change(change, {&before, &after}, Colours::off);
  reply.output += diff::text_of_counts(diff::count(changes));
}

// ---- Scenario and tests -------------------------------------------------------------------------------------------------------

namespace {

std::string raise_all(const Session &session) {
  std::string text;
  Recorder recorder(session.file());
  size_t number = 0;
  for (const Step &step : session.file().scenario) {
    interruption::check();
    text += heading(++number, step) + outline(recorder.raise(session.repository(), step), session.file());
  }
  return text;
}

bool raise_again(Session &session, Trouble &trouble) {
  return session.with_steps({.scenario = session.loaded_steps().scenario}, trouble, [&] {
    for (const Step &step : session.file().scenario)
      run_step(session.file(), session.repository(), step);
  });
}

bool run_or_restore(Session &session, Reply &reply) {
  SourceSteps steps{.scenario = session.loaded_steps().scenario};
  try {
    return session.with_steps(std::move(steps), reply.trouble, [&] { reply.output = raise_all(session); });
  } catch (const Interrupted &) {
    session.restore(reply.trouble);
    throw;
  }
}

}  // namespace

void run_loaded_scenario(const Call &call, Reply &reply) {
  Session &session = call.session;
  if (session.loaded_steps().scenario.empty()) return fail(reply, "no loaded file has a scenario");
  if (!run_or_restore(session, reply)) {
    reply.status = Status::failed;
  } else {
    session.remember(raise_again);
  }
}

void run_loaded_tests(const Call &call, Reply &reply) {
  if (call.session.loaded_steps().tests.empty()) return fail(reply, "no loaded file has tests");
  std::optional<Report> report;
  const bool good = call.session.with_steps({.tests = call.session.loaded_steps().tests}, reply.trouble, [&] {
    // Tests may change the attributes of any target.
    std::list<KeptAttributes> kept;
    for (const Target &target : call.session.file().targets) {
      if (engine::Attributes *now = engine::attributes_of(call.session.repository().target_handle(target.name.value)))
        kept.emplace_back(*now);
    }
    const std::vector<std::string> &files = call.session.file().more_paths;
    const std::string name = files.size() == 1 ? files[0] : "all files";
    report = report_on(call.session.file(), name, call.session.repository(), Colours::off);
  });
  if (!good) reply.status = Status::failed;
  if (!report) return;
  reply.output = std::move(report->text);
  if (report->failed != 0) fail(reply, concat(report->failed, report->failed == 1 ? " test" : " tests", " failed"));
}

}  // namespace simulator::session
