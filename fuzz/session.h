// A sequence of calls made of the library and followed by the model, from start-up until everything that was made is
// deleted again.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "fuzz/calls/operations.h"
#include "fuzz/fiber.h"
#include "fuzz/model/model.h"
#include "host/runtime/control.h"

namespace fuzz {

struct Options {
  bool trace = false;               // levels 3 and 6 are wanted
  std::FILE *transcript = nullptr;  // every call with what it answered, put out, called and traced; addresses left out
  std::vector<std::string> *lines = nullptr;  // the calls as text, up to the one that went wrong
  bool tell_first = false;                    // the calls go to the standard error output before they are made
  unsigned look_every = 1;                    // after how many calls the whole repository is compared
  const calls::Alphabet *alphabet = &calls::small_alphabet();
};

struct FaultPlan {
  std::vector<uint64_t> requests;  // of each attempt in turn, the one that fails (1: the first)
  runtime::Fault mode = runtime::Fault::once;
};

class Session {
 public:
  explicit Session(const Options &options);
  ~Session();
  Session(const Session &) = delete;
  Session &operator=(const Session &) = delete;

  // Makes the call unless it is one that no client may make. False when something is not as the model foresees.
  bool step(const calls::Call &call);
  // The same with a fallible request of the call failing. The call then says so, and the repository is as it was, but for
  // what partial.h tells; made once more, with the next request of the plan failing or at last with none, it goes as ever.
  bool step_with_fault(const calls::Call &call, const FaultPlan &plan);
  // Makes the calls one after the other, those that say so within the functions of clients that the library calls.
  bool steps(std::span<const calls::Call> calls);
  // Compares the whole repository with the model.
  bool look();
  // Deletes all that is left, and looks for what should be gone.
  bool finish();

  const std::string &failure() const { return failure_; }
  uint64_t steps() const { return steps_; }
  // Of these, the calls within functions of clients, by the depth: within one, within one of a call within one, ...
  static constexpr size_t kDepth = 3;
  const std::array<uint64_t, kDepth> &steps_within() const { return steps_within_; }
  uint64_t faults() const { return faults_; }
  const std::map<runtime::Service, uint64_t> &faults_by_service() const { return faults_by_service_; }
  // A fault has left a state that the model does not follow any further.
  bool partial() const { return partial_; }

 private:
  enum class Outcome { done, again, partial, wrong };

  // A call under way.
  struct Progress {
    explicit Progress(const calls::Call &the_call) : call(the_call) {}

    const calls::Call &call;
    calls::Arguments arguments;
    model::Seen seen{arguments};
    size_t line_number = 0;
    // The model's part, once it was needed before the end: it follows up to the function that the library calls now.
    std::optional<Fiber> following;
    size_t lines_to_follow = 0;
  };

  void start_clients();
  void resolve(Progress &progress);
  calls::Answer make(Progress &progress);
  bool follow(Progress &progress, const calls::Answer &answer);
  void called();
  void take_call();
  bool catch_up(Progress &progress);
  bool compare();
  bool compare_lines(size_t count);
  Outcome attempt(const calls::Call &call, uint64_t nth, runtime::Fault mode);
  Outcome judge(const calls::Call &call, const calls::Answer &answer, const runtime::Inventory &before,
                const calls::Engine &engine_before);
  bool fail(const std::string &what);
  void list_call(Progress &progress);
  void write_transcript(const calls::Arguments &arguments, const calls::Answer &answer);
  bool delete_everything();
  bool nothing_leaked();

  Options options_;
  model::Model model_;
  calls::Scene scene_;
  runtime::Inventory before_;
  std::string trace_;
  std::string failure_;
  uint64_t steps_ = 0;
  std::array<uint64_t, kDepth> steps_within_{};
  std::vector<Progress *> under_way_;  // the innermost is the last
  std::span<const calls::Call> to_make_;
  unsigned functions_until_next_ = 0;  // 0: the next call to make waits for the end of what is under way
  uint64_t faults_ = 0;
  std::map<runtime::Service, uint64_t> faults_by_service_;
  bool partial_ = false;
};

}  // namespace fuzz
