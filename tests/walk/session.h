// A sequence of calls to the library, followed by the model, from start-up until everything that was created is deleted
// again.
#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "host/runtime/control.h"
#include "tests/walk/calls/operations.h"
#include "tests/walk/fiber.h"
#include "tests/walk/model/model.h"

namespace walk {

struct Options {
  bool trace = false;               // levels 3 and 6 are wanted
  std::FILE *transcript = nullptr;  // every call with its results, outputs, callbacks and traces, without addresses
  std::vector<std::string> *lines = nullptr;  // the calls as text, up to the one that went wrong
  bool print_first = false;                   // the calls go to the standard error output before they are made
  unsigned look_every = 1;                    // the number of calls between comparisons of the whole repository
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

  // Makes the call unless clients may not make it. False if something differs from the model's prediction.
  bool step(const calls::Call &call);
  // The same with a fallible request of the call failing. The call then reports it, and the repository is unchanged,
  // except as described in partial.h; when it is repeated, with the next request of the plan failing or finally with
  // none, it behaves as usual.
  bool step_with_fault(const calls::Call &call, const FaultPlan &plan);
  // Makes the calls one after the other, those marked so within the functions of clients that the library calls.
  bool steps(std::span<const calls::Call> calls);
  // Compares the whole repository with the model.
  bool look();
  // Deletes everything that is left, and checks for leftovers.
  bool finish();

  const std::string &failure() const { return failure_; }
  uint64_t steps() const { return steps_; }
  // Of these, the calls within functions of clients, by the depth: within one, within one of a call within one, ...
  static constexpr size_t kDepth = 3;
  const std::array<uint64_t, kDepth> &steps_within() const { return steps_within_; }
  uint64_t faults() const { return faults_; }
  const std::map<runtime::Service, uint64_t> &faults_by_service() const { return faults_by_service_; }
  // A fault has left a state with which the model cannot continue.
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
    // The model's part, if it was needed before the end: it has followed up to the function that the library is
    // calling.
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
  unsigned functions_until_next_ = 0;  // 0: the next call to make waits for the end of the running ones
  uint64_t faults_ = 0;
  std::map<runtime::Service, uint64_t> faults_by_service_;
  bool partial_ = false;
};

}  // namespace walk
