#include "simulator/session/save.h"

#include <algorithm>
#include <filesystem>

#include "simulator/session/show.h"
#include "simulator/text/files.h"

namespace simulator::session {

namespace {

// The loaded file at a path, NULL if it was not loaded.
const Source *loaded_from(const Session &session, const std::string &path) {
  const auto &loaded = session.loaded();
  const auto found = std::find_if(loaded.rbegin(), loaded.rend(), [&](const std::shared_ptr<const Source> &source) {
    std::error_code error;
    return std::filesystem::equivalent(source->name(), path, error) && !error;
  });
  return found == loaded.rend() ? nullptr : found->get();
}

bool has_comments(const std::string &text) {
  size_t at = 0;
  while ((at = text.find('#', at)) != std::string::npos) {
    // Within a word it begins no comment. In quotes it does not either, but a wrong alarm does no harm.
    if (at == 0 || text[at - 1] == ' ' || text[at - 1] == '\n' || text[at - 1] == '\t') return true;
    ++at;
  }
  return false;
}

// What a loaded file has that the running configuration lacks; empty if nothing.
std::string what_would_be_lost(const Session &session, const Source &source) {
  const auto is_there = [&](Position position) { return position.source == source.number(); };
  const SourceSteps &steps = session.loaded_steps();
  std::vector<std::string_view> lost;
  if (has_comments(source.text())) lost.emplace_back("comments");
  if (std::any_of(steps.scenario.begin(), steps.scenario.end(),
                  [&](const Step &step) { return is_there(step.position); }))
    lost.emplace_back("a scenario");
  if (std::any_of(steps.tests.begin(), steps.tests.end(),
                  [&](const Test &test) { return is_there(test.name.position); }))
    lost.emplace_back("tests");
  if (std::any_of(steps.claims.begin(), steps.claims.end(),
                  [&](const Claim &claim) { return is_there(claim.name.position); }))
    lost.emplace_back("claims");
  return comma_separated(lost);
}

// Why an existing file should not be overwritten; empty if it can be.
std::string why_not(const Session &session, const std::string &path) {
  std::error_code error;
  if (!std::filesystem::exists(path, error)) return {};
  Diagnostics unreadable;
  const std::string now = Source::read(path, unreadable).text();
  if (session.has_saved(path, now)) return {};
  const Source *source = loaded_from(session, path);
  if (!source) return "exists, and was not loaded in this session";
  if (now != source->text()) return "has changed since it was loaded";
  const std::string lost = what_would_be_lost(session, *source);
  return lost.empty() ? "" : concat("has ", lost, ", which a saved session lacks");
}

// A file cannot have them.
std::string idle_targets_text(const Session &session) {
  std::vector<std::string_view> idle;
  for (const Target &target : session.file().targets) {
    if (target.policies.empty()) idle.push_back(target.name.value);
  }
  std::sort(idle.begin(), idle.end());
  return idle.empty() ? "" : concat("left out, without a policy-map: ", comma_separated(idle), "\n");
}

}  // namespace

std::string save_to(Session &session, const std::string &path, bool force, Complaints &complaints) {
  const std::string reason = force ? "" : why_not(session, path);
  if (!reason.empty()) {
    complaints.push_back(concat(path, " ", reason, "; 'save ", path, " force' overwrites it"));
    return {};
  }
  const std::optional<std::string> text = show_configuration(session, complaints);
  if (!text) return {};
  if (const std::optional<std::string> error = write_whole(path, *text)) {
    complaints.push_back(concat(path, " cannot be written: ", *error));
    return {};
  }
  session.note_saved(path, *text);
  return concat("saved ", escape_control_characters(path), "\n", idle_targets_text(session));
}

}  // namespace simulator::session
