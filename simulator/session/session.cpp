#include "simulator/session/session.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <utility>

#include "simulator/policy/load_parts.h"
#include "simulator/session/needs.h"
#include "simulator/text/interruption.h"
#include "simulator/text/text.h"

namespace simulator::session {

namespace {

// Typed text is source number 0.
constexpr const char *kTyped = "<stdin>";

size_t count_of_all(const PolicyFile &file, const SourceSteps &steps) {
  size_t count = steps.scenario.size() + steps.tests.size();
  for (const KindWord &kind : kKinds)
    with_objects(file, kind.kind, [&](const auto &objects) { count += objects.size(); });
  return count;
}

Target &target_of(PolicyFile &file, std::string_view name) {
  return file.targets[static_cast<size_t>(file.find_target(name) - file.targets.data())];
}

bool is_active(const Target &target, std::string_view policy) {
  return std::any_of(target.policies.begin(), target.policies.end(),
                     [&](const Name &active) { return active.value == policy; });
}

void make_inactive(PolicyFile &file, std::string_view target, std::string_view policy) {
  std::erase_if(target_of(file, target).policies, [&](const Name &each) { return each.value == policy; });
}

void remove_object(PolicyFile &file, ObjectKind kind, std::string_view name) {
  switch (kind) {
    case ObjectKind::class_map:
      return file.remove_class_map(name);
    case ObjectKind::parameter_map:
      return file.remove_parameter_map(name);
    case ObjectKind::policy:
      return file.remove_policy_map(name);
    case ObjectKind::target:
      return file.remove_target(name);
    case ObjectKind::client:
    case ObjectKind::domain:
      return;
  }
}

bool has_object(const PolicyFile &file, ObjectKind kind, std::string_view name) {
  switch (kind) {
    case ObjectKind::client:
      return file.find_client(name) != nullptr;
    case ObjectKind::domain:
      return file.find_domain(name) != nullptr;
    case ObjectKind::class_map:
      return file.find_class_map(name) != nullptr;
    case ObjectKind::parameter_map:
      return file.find_parameter_map(name) != nullptr;
    case ObjectKind::policy:
      return file.find_policy_map(name) != nullptr;
    case ObjectKind::target:
      return file.find_target(name) != nullptr;
  }
  return false;
}

}  // namespace

Session::Session() : live_(std::make_unique<Live>(Repository::Registrations::reuse)) {
  live_->file.path = kTyped;
}

bool Session::is_known(ObjectKind kind, std::string_view name, Trouble &trouble) const {
  if (has_object(file(), kind, name)) return true;
  trouble.complaints.push_back(no_such(word_of(kind).word, name, names_of(file(), kind)));
  return false;
}

bool Session::built(bool good, Trouble &trouble) {
  for (std::string &problem : live_->repository.take_problems())
    trouble.complaints.push_back(std::move(problem));
  return good;
}

// ---- Adding -----------------------------------------------------------------------------------------------------------------

// Registered clients and domains stay registered. To be rid of them, the session moves to a new repository; if it
// cannot, they stay in the file too.
void Session::take_back(const FileExtent &file, const Repository::Extent &repository, Trouble &trouble) {
  live_->repository.shrink_to(repository);
  built(false, trouble);
  FileExtent smaller = file;
  smaller.clients = live_->repository.registered_clients();
  smaller.domains = live_->repository.registered_domains();
  const bool registered = smaller.clients > file.clients || smaller.domains > file.domains;
  if (registered && !forgot_changes_) {
    restore(trouble);
  } else {
    live_->file.shrink_to(smaller);
  }
}

// Builds what was added to the file since it had the extent 'smaller'.
bool Session::build(const FileExtent &smaller, Trouble &trouble) {
  const Repository::Extent before = live_->repository.extent();
  try {
    if (built(live_->repository.build(), trouble)) return true;
  } catch (const Interrupted &) {
    take_back(smaller, before, trouble);
    throw;
  }
  take_back(smaller, before, trouble);
  return false;
}

bool Session::add(const Source &source, const KindWord *only, SourceSteps &steps, Trouble &trouble) {
  const FileExtent smaller = file().extent();
  const size_t count = count_of_all(file(), {});
  Diagnostics diagnostics;
  if (!load_more(live_->file, source, diagnostics, steps)) {
    trouble.rejected.emplace(Trouble::Rejected{source, std::move(diagnostics)});
    return false;
  }
  if (only && count_of_all(file(), steps) != count + 1) {
    live_->file.shrink_to(smaller);
    trouble.complaints.push_back(concat("more than one ", only->word, " stands behind the name"));
    return false;
  }
  return build(smaller, trouble);
}

bool Session::load(const std::string &path, Trouble &trouble) {
  Diagnostics diagnostics;
  const auto number = static_cast<uint32_t>(loaded().size() + 1);
  const auto source = std::make_shared<const Source>(Source::read(path, diagnostics, number));
  interruption::check();
  if (!diagnostics.empty()) {
    trouble.rejected.emplace(Trouble::Rejected{*source, std::move(diagnostics)});
    return false;
  }
  if (!load(source, trouble)) return false;
  remember([source](Session &session, Trouble &again) { return session.load(source, again); });
  return true;
}

bool Session::become(Source source, Trouble &trouble) {
  SourceSteps steps;
  live_->file.path = source.name();
  if (!add(source, nullptr, steps, trouble)) return false;
  live_->loaded.push_back(std::make_shared<const Source>(std::move(source)));
  live_->steps = std::move(steps);
  forget_changes();
  return true;
}

bool Session::load(const std::shared_ptr<const Source> &source, Trouble &trouble) {
  SourceSteps steps;
  if (!add(*source, nullptr, steps, trouble)) return false;
  live_->file.more_paths.push_back(source->name());
  live_->loaded.push_back(source);
  std::move(steps.scenario.begin(), steps.scenario.end(), std::back_inserter(live_->steps.scenario));
  std::move(steps.tests.begin(), steps.tests.end(), std::back_inserter(live_->steps.tests));
  std::move(steps.claims.begin(), steps.claims.end(), std::back_inserter(live_->steps.claims));
  return true;
}

bool Session::create(const KindWord &kind, std::string_view name, std::string_view body, size_t line,
                     Trouble &trouble) {
  Source source(kTyped, concat("{", kind.section, ": {", in_quotes(name), ": ", body, "}}"), 0,
                static_cast<uint32_t>(line));
  Diagnostics diagnostics;
  source.check(diagnostics);
  if (!diagnostics.empty()) {
    trouble.rejected.emplace(Trouble::Rejected{std::move(source), std::move(diagnostics)});
    return false;
  }
  SourceSteps none;
  if (!add(source, &kind, none, trouble)) return false;
  remember([&kind, name = std::string(name), body = std::string(body), line](Session &session, Trouble &again) {
    return session.create(kind, name, body, line, again);
  });
  return true;
}

// ---- Removing ---------------------------------------------------------------------------------------------------------------

bool Session::take_away(ObjectKind kind, const std::string &name) {
  switch (kind) {
    case ObjectKind::class_map:
      return live_->repository.delete_class(name);
    case ObjectKind::parameter_map:
      return live_->repository.delete_parameter_map(name);
    case ObjectKind::policy:
      return live_->repository.delete_policy(name);
    case ObjectKind::target:
      return live_->repository.delete_target(name);
    case ObjectKind::client:
    case ObjectKind::domain:
      break;
  }
  return false;
}

// The repository deactivates a deleted policy-map on its targets.
bool Session::remove(const KindWord &kind, std::string_view name, Trouble &trouble) {
  if (!is_known(kind.kind, name, trouble)) return false;
  if (std::string why = why_needed(file(), kind.kind, name); !why.empty()) {
    trouble.complaints.push_back(std::move(why));
    return false;
  }
  std::vector<std::string> targets;
  if (kind.kind == ObjectKind::policy) targets = repository().targets_of(*file().find_policy_map(name));
  // The given name may be that of the object itself.
  const std::string gone(name);
  if (!built(take_away(kind.kind, gone), trouble)) return false;
  for (const std::string &target : targets)
    make_inactive(live_->file, target, gone);
  remove_object(live_->file, kind.kind, gone);
  remember([&kind, gone](Session &session, Trouble &again) { return session.remove(kind, gone, again); });
  return true;
}

// ---- Activation -------------------------------------------------------------------------------------------------------------

bool Session::activate(std::string_view policy, std::string_view target, Trouble &trouble) {
  if (!is_known(ObjectKind::policy, policy, trouble) || !is_known(ObjectKind::target, target, trouble)) return false;
  Target &of = target_of(live_->file, target);
  if (is_active(of, policy)) {
    trouble.complaints.push_back(concat("policy '", policy, "' is active on target '", target, "' already"));
    return false;
  }
  const PolicyMap &map = *file().find_policy_map(policy);
  if (!built(live_->repository.activate(target, map), trouble)) return false;
  of.policies.push_back(map.name);
  remember([policy = std::string(policy), target = std::string(target)](Session &session, Trouble &again) {
    return session.activate(policy, target, again);
  });
  return true;
}

bool Session::deactivate(std::string_view policy, std::string_view target, Trouble &trouble) {
  if (!is_known(ObjectKind::policy, policy, trouble) || !is_known(ObjectKind::target, target, trouble)) return false;
  if (!is_active(target_of(live_->file, target), policy)) {
    trouble.complaints.push_back(concat("policy '", policy, "' is not active on target '", target, "'"));
    return false;
  }
  const bool good = built(live_->repository.deactivate(target, *file().find_policy_map(policy)), trouble);
  // Whatever the engine answered, the policy-map is no longer active on the target.
  make_inactive(live_->file, target, policy);
  remember([policy = std::string(policy), target = std::string(target)](Session &session, Trouble &again) {
    return session.deactivate(policy, target, again);
  });
  return good;
}

// ---- Scenarios and tests ----------------------------------------------------------------------------------------------------

namespace {

// Gives a file these steps for a while.
class Lent {
 public:
  Lent(PolicyFile &file, SourceSteps steps) : file_(file) {
    file_.scenario = std::move(steps.scenario);
    file_.tests = std::move(steps.tests);
  }
  ~Lent() {
    file_.scenario.clear();
    file_.tests.clear();
  }
  Lent(const Lent &) = delete;
  Lent &operator=(const Lent &) = delete;

 private:
  PolicyFile &file_;
};

}  // namespace

// They were good when they were loaded, but objects may have gone since.
bool Session::with_steps(SourceSteps steps, Trouble &trouble, const std::function<void()> &work) {
  PolicyFile &file = live_->file;
  const Lent lent(file, std::move(steps));
  Diagnostics diagnostics;
  resolve(file, file.extent(), diagnostics);
  for (const Diagnostic &diagnostic : diagnostics.sorted()) {
    trouble.complaints.push_back(
        concat(file.path_of(diagnostic.position), ":", diagnostic.position.line, ": ", diagnostic.message));
  }
  if (!diagnostics.empty()) return false;
  work();
  return true;
}

namespace {

std::string canonical(const std::string &path) {
  std::error_code error;
  const std::filesystem::path found = std::filesystem::canonical(path, error);
  return error ? path : found.string();
}

}  // namespace

bool Session::has_saved(const std::string &path, std::string_view text) const {
  const auto found = saved_.find(canonical(path));
  return found != saved_.end() && found->second == std::hash<std::string_view>()(text);
}

void Session::note_saved(const std::string &path, std::string_view text) {
  saved_.insert_or_assign(canonical(path), std::hash<std::string_view>()(text));
}

// ---- Undoing ----------------------------------------------------------------------------------------------------------------

void Session::remember(Repeat repeat) {
  if (repeating_ || forgot_changes_) return;
  if (changes_.size() < kMostChanges) {
    changes_.push_back({line_, std::move(repeat)});
    return;
  }
  forget_changes();
}

void Session::forget_changes() {
  forgot_changes_ = true;
  changes_.clear();
}

void Session::begin_again() {
  auto next = std::make_unique<Live>(Repository::Registrations::renew);
  next->file.path = kTyped;
  for (const std::string &problem : live_->repository.finish())
    problems_.push_back(problem);
  live_ = std::move(next);
}

bool Session::repeat_changes(Trouble &trouble) {
  begin_again();
  if (!begin(trouble)) return false;
  return std::all_of(changes_.begin(), changes_.end(),
                     [&](const Change &change) { return change.repeat(*this, trouble); });
}

bool Session::restore(Trouble &trouble) {
  if (forgot_changes_) {
    trouble.complaints.push_back(
        concat("the session has made more than ", kMostChanges, " changes, too many to go back"));
    return false;
  }
  const interruption::HeldOff held_off;
  const bool was_repeating = std::exchange(repeating_, true);
  const bool good = repeat_changes(trouble);
  repeating_ = was_repeating;
  return good;
}

std::optional<std::string> Session::undo(Trouble &trouble) {
  if (changes_.size() <= first_to_undo_ && !forgot_changes_) {
    trouble.complaints.emplace_back("there is nothing to undo");
    return std::nullopt;
  }
  std::string line;
  if (!forgot_changes_) {
    line = std::move(changes_.back().line);
    changes_.pop_back();
  }
  if (!restore(trouble)) return std::nullopt;
  return line;
}

bool Session::load_anew(const Sources &sources, Trouble &trouble) {
  begin_again();
  return begin(trouble) &&
         std::all_of(sources.begin(), sources.end(),
                     [&](const std::shared_ptr<const Source> &source) { return load(source, trouble); });
}

namespace {

// Reads the sources anew. Nothing when one of them is no longer good, by itself or beside the others.
std::optional<Session::Sources> read_anew(const Session::Sources &sources, Trouble &trouble) {
  PolicyFile trial;
  Session::Sources read;
  for (const std::shared_ptr<const Source> &old : sources) {
    Diagnostics diagnostics;
    read.push_back(std::make_shared<const Source>(Source::read(old->name(), diagnostics, old->number())));
    interruption::check();
    const Source &source = *read.back();
    if (diagnostics.empty() && load_more(trial, source, diagnostics)) continue;
    trouble.rejected.emplace(Trouble::Rejected{source, std::move(diagnostics)});
    return std::nullopt;
  }
  return read;
}

}  // namespace

bool Session::reload(Trouble &trouble) {
  if (loaded().empty()) {
    trouble.complaints.emplace_back("no file was loaded in this session");
    return false;
  }
  const std::optional<Sources> sources = read_anew(loaded(), trouble);
  if (!sources) return false;
  // From here on it must go through or back.
  const interruption::HeldOff held_off;
  if (!load_anew(*sources, trouble)) {
    restore(trouble);
    return false;
  }
  remember([sources = *sources](Session &session, Trouble &again) { return session.load_anew(sources, again); });
  return true;
}

Complaints Session::end() {
  Complaints all = problems_;
  for (const std::string &problem : live_->repository.finish())
    all.push_back(problem);
  return all;
}

}  // namespace simulator::session
