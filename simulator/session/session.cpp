#include "simulator/session/session.h"

#include <algorithm>

#include "simulator/inventory/relations.h"
#include "simulator/policy/load.h"
#include "simulator/policy/load_parts.h"
#include "simulator/text/text.h"

namespace simulator::session {

namespace {

// Typed text is source number 0.
constexpr const char *kTyped = "<stdin>";

size_t count_of_all(const PolicyFile &file) {
  size_t count = file.scenario.size() + file.tests.size();
  for (const KindWord &kind : kKinds)
    with_objects(file, kind.kind, [&](const auto &objects) { count += objects.size(); });
  return count;
}

template <class Object>
void erase_named(std::vector<Object> &objects, std::string_view name) {
  std::erase_if(objects, [&](const Object &object) { return object.name.value == name; });
}

void erase_name(std::vector<Name> &names, std::string_view name) {
  std::erase_if(names, [&](const Name &each) { return each.value == name; });
}

// A deleted policy-map is removed from its targets.
PolicyFile without(const PolicyFile &file, ObjectKind kind, std::string_view name) {
  PolicyFile rest = file.copy_of_objects();
  if (kind == ObjectKind::class_map) erase_named(rest.class_maps, name);
  if (kind == ObjectKind::parameter_map) erase_named(rest.parameter_maps, name);
  if (kind == ObjectKind::target) erase_named(rest.targets, name);
  if (kind == ObjectKind::policy) {
    erase_named(rest.policy_maps, name);
    for (Target &target : rest.targets)
      erase_name(target.policies, name);
  }
  rest.index();
  return rest;
}

std::string first_and_others(const std::vector<std::string> &users) {
  if (users.empty()) return {};
  const size_t others = users.size() - 1;
  return others == 0 ? users[0] : concat(users[0], " and ", others, others == 1 ? " other" : " others");
}

// "p/e/1 and 2 others": the rules and statements that name the object; empty for kinds that none of them can name.
std::string users_of(const PolicyFile &file, ObjectKind kind, std::string_view name) {
  const inventory::Relations relations(file);
  if (kind == ObjectKind::class_map) return first_and_others(relations.users_of_class(name));
  if (kind == ObjectKind::parameter_map) return first_and_others(relations.users_of_parameter_map(name));
  return {};
}

Target &target_of(PolicyFile &file, std::string_view name) {
  return *std::find_if(file.targets.begin(), file.targets.end(),
                       [&](const Target &target) { return target.name.value == name; });
}

bool is_active(const Target &target, std::string_view policy) {
  return std::any_of(target.policies.begin(), target.policies.end(),
                     [&](const Name &active) { return active.value == policy; });
}

}  // namespace

Session::Session() : repository_(file_) {
  file_.path = kTyped;
}

std::vector<std::string_view> Session::event_names() const {
  std::vector<std::string_view> names;
  for (const std::string &event : file_.events) {
    if (file_.event_id(event) != 0) names.push_back(event);
  }
  return names;
}

bool Session::is_known(ObjectKind kind, std::string_view name, Trouble &trouble) const {
  const std::vector<std::string_view> names = names_of(file_, kind);
  if (std::find(names.begin(), names.end(), name) != names.end()) return true;
  trouble.complaints.push_back(no_such(word_of(kind).word, name, names));
  return false;
}

bool Session::built(bool good, Trouble &trouble) {
  for (std::string &problem : repository_.take_problems())
    trouble.complaints.push_back(std::move(problem));
  return good;
}

// Registered clients and domains stay registered, so they stay in the file too.
void Session::keep_built() {
  const Repository::Extent extent = repository_.extent();
  file_.shrink_to({.clients = repository_.registered_clients(),
                   .domains = repository_.registered_domains(),
                   .class_maps = extent.classes,
                   .policy_maps = extent.policies,
                   .parameter_maps = extent.parameter_maps,
                   .targets = extent.targets,
                   .events = file_.events.size()});
}

bool Session::add(Source source, Diagnostics diagnostics, const KindWord *only, Trouble &trouble) {
  const FileExtent smaller = file_.extent();
  const size_t count = count_of_all(file_);
  if (!diagnostics.empty() || !load_more(file_, source, diagnostics)) {
    trouble.rejected.emplace(Trouble::Rejected{std::move(source), std::move(diagnostics)});
    return false;
  }
  if (only && count_of_all(file_) != count + 1) {
    file_.shrink_to(smaller);
    trouble.complaints.push_back(concat("more than one ", only->word, " stands behind the name"));
    return false;
  }
  const Repository::Extent before = repository_.extent();
  if (built(repository_.build(), trouble)) return true;
  repository_.shrink_to(before);
  built(false, trouble);
  keep_built();
  return false;
}

bool Session::load(const std::string &path, Trouble &trouble) {
  const auto number = static_cast<uint32_t>(file_.more_paths.size() + 1);
  Diagnostics diagnostics;
  Source source = Source::read(path, diagnostics, number);
  file_.more_paths.push_back(source.name());
  if (add(std::move(source), std::move(diagnostics), nullptr, trouble)) return true;
  file_.more_paths.resize(number - 1);
  return false;
}

bool Session::create(const KindWord &kind, std::string_view name, std::string_view body, size_t line,
                     Trouble &trouble) {
  Source source(kTyped, concat("{", kind.section, ": {", quoted(name), ": ", body, "}}"), 0,
                static_cast<uint32_t>(line));
  Diagnostics diagnostics;
  source.check(diagnostics);
  return add(std::move(source), std::move(diagnostics), &kind, trouble);
}

// Without the object, a name in the rest of the file would mean nothing.
bool Session::is_needed(const KindWord &kind, std::string_view name, const PolicyFile &without,
                        Trouble &trouble) const {
  PolicyFile rest = without.copy_of_objects();
  Diagnostics diagnostics;
  resolve(rest, {}, diagnostics);
  if (diagnostics.empty()) return false;
  const Diagnostic first = diagnostics.sorted()[0];
  const std::string users = users_of(file_, kind.kind, name);
  trouble.complaints.push_back(concat(kind.title, " '", name, "' is needed: ",
                                      users.empty() ? concat("without it, ", first.message) : concat("used by ", users),
                                      ", in ", file_.path_of(first.position), ":", first.position.line));
  return true;
}

bool Session::remove(const KindWord &kind, std::string_view name, Trouble &trouble) {
  if (!is_known(kind.kind, name, trouble)) return false;
  PolicyFile rest = without(file_, kind.kind, name);
  if (is_needed(kind, name, rest, trouble)) return false;
  // The name may point into the file that is replaced.
  const std::string gone(name);
  const auto take_away = [&] {
    switch (kind.kind) {
      case ObjectKind::class_map:
        return repository_.delete_class(gone);
      case ObjectKind::parameter_map:
        return repository_.delete_parameter_map(gone);
      case ObjectKind::policy:
        return repository_.delete_policy(gone);
      case ObjectKind::target:
        return repository_.delete_target(gone);
      case ObjectKind::client:
      case ObjectKind::domain:
        break;
    }
    return false;
  };
  const bool good = built(take_away(), trouble);
  file_ = std::move(rest);
  return good;
}

bool Session::activate(std::string_view policy, std::string_view target, Trouble &trouble) {
  if (!is_known(ObjectKind::policy, policy, trouble) || !is_known(ObjectKind::target, target, trouble)) return false;
  Target &of = target_of(file_, target);
  if (is_active(of, policy)) {
    trouble.complaints.push_back(concat("policy '", policy, "' is active on target '", target, "' already"));
    return false;
  }
  const PolicyMap &map = *file_.find_policy_map(policy);
  if (!built(repository_.activate(target, map), trouble)) return false;
  of.policies.push_back(map.name);
  return true;
}

bool Session::deactivate(std::string_view policy, std::string_view target, Trouble &trouble) {
  if (!is_known(ObjectKind::policy, policy, trouble) || !is_known(ObjectKind::target, target, trouble)) return false;
  Target &of = target_of(file_, target);
  if (!is_active(of, policy)) {
    trouble.complaints.push_back(concat("policy '", policy, "' is not active on target '", target, "'"));
    return false;
  }
  const bool good = built(repository_.deactivate(target, *file_.find_policy_map(policy)), trouble);
  // Whatever the engine answered, the policy-map is no longer active on the target.
  erase_name(of.policies, policy);
  return good;
}

}  // namespace simulator::session
