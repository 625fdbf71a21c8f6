// A session: a live repository, and the policy file that it stands for at the moment.
//
// The file grows with what is loaded and created and shrinks with what is deleted; before anything is changed in the
// repository, the file as it would be then is checked as a whole. So whatever the repository holds is good by the rules of
// policy files, and everything that reads a policy file beside a repository works in a session, too.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tool/json_output.h"
#include "tool/policy/kinds.h"
#include "tool/policy/source.h"
#include "tool/repository.h"

namespace tool::shell {

struct KindWord {
  std::string_view word;
  ObjectKind kind;
  std::string_view section;  // of a policy file
};
// What can be created; and of these, from the third on, what can be deleted and shown.
inline constexpr KindWord kKinds[] = {
    {"client", ObjectKind::client, "clients"},      {"domain", ObjectKind::domain, "domains"},
    {"class", ObjectKind::class_map, "class-maps"}, {"parameter-map", ObjectKind::parameter_map, "parameter-maps"},
    {"policy", ObjectKind::policy, "policy-maps"},  {"target", ObjectKind::target, "targets"}};
inline constexpr size_t kFirstMap = 2;
// NULL when there is no such kind.
const KindWord *find_kind(std::string_view word);

// All operations answer whether they did it; what went wrong is complained about, and changed nothing.
class Session {
 public:
  Session();

  const PolicyFile &file() const { return file_; }
  const Repository &repository() const { return repository_; }
  std::vector<std::string_view> attribute_names() const;
  // The events that a policy-map handles.
  std::vector<std::string_view> event_names() const;

  bool begin() { return built(repository_.build()); }
  bool load(const std::string &path);
  // 'body' is what a policy file has behind the name; 'line' is the number of the line that asks for it.
  bool create(const KindWord &kind, std::string_view name, std::string_view body, size_t line);
  bool remove(const KindWord &kind, std::string_view name);
  bool activate(std::string_view policy, std::string_view target);
  bool deactivate(std::string_view policy, std::string_view target);

  bool is_known(const KindWord &kind, std::string_view name) const;

  // Where commands that tell what an event does put that instead of printing it; NULL while they print.
  void explain_to(Json *explanation) { explanation_ = explanation; }
  Json *explanation() const { return explanation_; }

  // Takes the repository down. Answers an exit code.
  int end();

 private:
  bool add(const Source &source, Diagnostics &diagnostics, const KindWord *only);
  bool built(bool good);
  bool is_needed(const PolicyFile &without);
  void keep_built();

  PolicyFile file_;
  Repository repository_;
  Json *explanation_ = nullptr;
};

}  // namespace tool::shell
