// A session: a live repository, and the policy file that describes it at the moment.
//
// The file grows with what is loaded and created and shrinks with what is deleted. Before the repository changes, the
// file is checked as a whole as it would be afterwards. So everything in the repository obeys the rules of policy
// files, and everything that reads a policy file beside a repository also works in a session.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/policy/kinds.h"
#include "simulator/policy/source.h"
#include "simulator/repository/repository.h"

namespace simulator::session {

// What went wrong in an operation.
struct Trouble {
  // A text that is not a valid policy, with its errors.
  struct Rejected {
    Source source;
    Diagnostics diagnostics;
  };
  std::optional<Rejected> rejected{};
  Complaints complaints{};
};

// Every operation returns whether it succeeded; a failed one reports why in its last argument and changes nothing.
class Session {
 public:
  Session();

  const PolicyFile &file() const { return file_; }
  const Repository &repository() const { return repository_; }
  // The events that a policy-map handles.
  std::vector<std::string_view> event_names() const;

  bool begin(Trouble &trouble) { return built(repository_.build(), trouble); }
  bool load(const std::string &path, Trouble &trouble);
  // 'body' is what a policy file has after the name; 'line' is the number of the line of the command.
  bool create(const KindWord &kind, std::string_view name, std::string_view body, size_t line, Trouble &trouble);
  bool remove(const KindWord &kind, std::string_view name, Trouble &trouble);
  bool activate(std::string_view policy, std::string_view target, Trouble &trouble);
  bool deactivate(std::string_view policy, std::string_view target, Trouble &trouble);

  bool is_known(ObjectKind kind, std::string_view name, Trouble &trouble) const;

  // Takes the repository down; returns what was wrong.
  const Complaints &end() { return repository_.finish(); }

 private:
  bool add(Source source, Diagnostics diagnostics, const KindWord *only, Trouble &trouble);
  bool built(bool good, Trouble &trouble);
  bool is_needed(const KindWord &kind, std::string_view name, const PolicyFile &without, Trouble &trouble) const;
  void keep_built();

  PolicyFile file_;
  Repository repository_;
};

}  // namespace simulator::session
