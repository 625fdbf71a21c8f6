// A session: a live repository, and the policy file that describes it at the moment.
//
// The file grows with what is loaded and created and shrinks with what is deleted. Before the repository changes, the
// file is checked as a whole as it would be afterwards. So everything in the repository obeys the rules of policy
// files, and everything that reads a policy file beside a repository also works in a session. Neither creating nor
// deleting an object takes longer in a large session than in a small one.
//
// A change is undone by repeating all changes but this one on a new repository. So every kind of change can be undone,
// clients and domains included, which the library cannot remove, and counters and the order of activations are exactly
// as they were. It takes as long as the changes took.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "simulator/policy/kinds.h"
#include "simulator/policy/load.h"
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

// Every operation returns whether it succeeded; a failed one reports why in its last argument and changes nothing. The
// same holds for one that is interrupted.
class Session {
 public:
  Session();

  const PolicyFile &file() const { return live_->file; }
  const Repository &repository() const { return live_->repository; }
  // The files that were loaded, as they were then.
  using Sources = std::vector<std::shared_ptr<const Source>>;
  const Sources &loaded() const { return live_->loaded; }
  const SourceSteps &loaded_steps() const { return live_->steps; }

  bool begin(Trouble &trouble) { return built(live_->repository.build(), trouble); }
  bool load(const std::string &path, Trouble &trouble);
  // Makes the source, which has number 0, the file of a session that has none: results name it as those of other
  // sub-commands do. From then on nothing can be undone, and changes are not noted: such a session may have any number
  // of them.
  bool become(Source source, Trouble &trouble);
  // 'body' is what a policy file has after the name; 'line' is the number of the line of the command.
  bool create(const KindWord &kind, std::string_view name, std::string_view body, size_t line, Trouble &trouble);
  bool remove(const KindWord &kind, std::string_view name, Trouble &trouble);
  bool activate(std::string_view policy, std::string_view target, Trouble &trouble);
  bool deactivate(std::string_view policy, std::string_view target, Trouble &trouble);
  // Begins anew with the loaded files as they are now.
  bool reload(Trouble &trouble);

  bool is_known(ObjectKind kind, std::string_view name, Trouble &trouble) const;

  // Calls 'work' while the file has this scenario and these tests, if all that they name is still there.
  bool with_steps(SourceSteps steps, Trouble &trouble, const std::function<void()> &work);

  // Whether the session has saved a file, and it has this text since.
  bool has_saved(const std::string &path, std::string_view text) const;
  void note_saved(const std::string &path, std::string_view text);

  // ---- Undoing

  // Sets the line to which the next changes belong, for the reader of undo().
  void begin_line(std::string line) { line_ = std::move(line); }
  // Notes a change of the repository that the caller has made; 'repeat' makes it again.
  using Repeat = std::function<bool(Session &session, Trouble &trouble)>;
  void remember(Repeat repeat);
  // What was changed up to now stays.
  void begin_undo_here() { first_to_undo_ = changes_.size(); }
  // Undoes the last change and returns its line.
  std::optional<std::string> undo(Trouble &trouble);
  // Undoes what was changed since the last change that was noted.
  bool restore(Trouble &trouble);

  // Above this number the changes of a session are no longer noted, and can no longer be undone.
  static constexpr size_t kMostChanges = 100'000;

  // Takes the repository down; returns what was wrong, with all repositories of the session.
  Complaints end();

 private:
  struct Live {
    explicit Live(Repository::Registrations registrations) : repository(file, registrations) {}

    PolicyFile file{};
    Repository repository;
    Sources loaded{};
    SourceSteps steps{};
  };
  struct Change {
    std::string line;
    Repeat repeat;
  };

  bool load(const std::shared_ptr<const Source> &source, Trouble &trouble);
  bool load_anew(const Sources &sources, Trouble &trouble);
  bool add(const Source &source, const KindWord *only, SourceSteps &steps, Trouble &trouble);
  bool build(const FileExtent &smaller, Trouble &trouble);
  void take_back(const FileExtent &file, const Repository::Extent &repository, Trouble &trouble);
  bool built(bool good, Trouble &trouble);
  bool take_away(ObjectKind kind, const std::string &name);
  void begin_again();
  void forget_changes();
  bool repeat_changes(Trouble &trouble);

  std::unique_ptr<Live> live_;
  std::string line_;
  std::vector<Change> changes_;
  size_t first_to_undo_ = 0;
  bool forgot_changes_ = false;  // there were too many, or nobody wants them
  bool repeating_ = false;
  Complaints problems_;                            // of earlier repositories
  std::unordered_map<std::string, size_t> saved_;  // by canonical path, the hash of the text
};

}  // namespace simulator::session
