// A sequence of calls to the library, which the model follows, from start-up until everything that was created is
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

#include "host/runtime/control.h"
#include "tests/walk/calls/operations.h"
#include "tests/walk/fiber.h"
#include "tests/walk/model/model.h"
#include "tests/walk/model/refusals.h"

namespace walk {

struct Partial;

struct Options {
  bool trace = false;               // levels 3 and 6 are traced
  std::FILE *transcript = nullptr;  // every call with its results, outputs, callbacks and traces, without addresses
  std::vector<std::string> *lines = nullptr;  // the calls as text, up to the one that went wrong
  bool print_first = false;                   // each call is printed to standard error before it is made
  unsigned look_every = 1;                    // the number of calls between comparisons of the whole repository
  const calls::Alphabet *alphabet = &calls::small_alphabet();
  // Which of the states in partial.h a call with a failed request is expected to leave; without a number it is not
  // compared, and the sequence ends there.
  std::optional<size_t> left_state;
};

struct FaultPlan {
  std::vector<uint64_t> requests;  // for each attempt in turn, which request fails (1: the first)
  runtime::Fault mode = runtime::Fault::once;
};

class Session {
 public:
  explicit Session(const Options &options);
  ~Session();
  Session(const Session &) = delete;
  Session &operator=(const Session &) = delete;

  // Makes the call, unless clients must not make it. Returns false if something differs from the model's prediction.
  bool step(const calls::Call &call);
  // The same, with a request of the call failing. The call must report the failure and leave the repository unchanged,
  // except as described in partial.h. Then the call is repeated, with the next request of the plan failing. The last
  // attempt is made without a failing request and must behave as usual.
  bool step_with_fault(const calls::Call &call, const FaultPlan &plan);
  // Makes the calls one after the other: each as its 'within' says, on its own or within a function of a client.
  bool steps(std::span<const calls::Call> calls);
  // Compares the whole repository with the model.
  bool look();
  // Deletes everything that is left, and checks that nothing leaked.
  bool finish();

  const std::string &failure() const { return failure_; }
  uint64_t steps() const { return steps_; }
  // How many of these were made within functions of clients, by depth: within a function that another call called,
  // within a function that such a call called, and so on.
  static constexpr size_t kDepth = 3;
  const std::array<uint64_t, kDepth> &steps_within() const { return steps_within_; }
  uint64_t faults() const { return faults_; }
  const std::map<runtime::Service, uint64_t> &faults_by_service() const { return faults_by_service_; }
  // Whether a fault may have left another state than it found.
  bool partial() const { return partial_; }

 private:
  enum class Outcome { done, again, partial, wrong };

  // A running call.
  struct Progress {
    explicit Progress(const calls::Call &the_call) : call(the_call) {}

    const calls::Call &call;
    calls::Arguments arguments;
    model::Seen seen{arguments};
    size_t line_number = 0;
    std::optional<model::Refusals> refusals;  // if its messages are compared
    // The model's side of the call, if it was needed before the call ended: the model has followed the call up to the
    // function that the library is calling.
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
  bool names_what_it_refused(const model::Refusals &refusals, const calls::Answer &answer);
  Outcome attempt(const calls::Call &call, uint64_t nth, runtime::Fault mode);
  Outcome judge(Progress &progress, const calls::Answer &answer, const runtime::Inventory &before,
                const calls::Engine &engine_before);
  bool leaves(const Partial &described, Progress &progress, const runtime::Inventory &before);
  std::string called_otherwise();
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
  std::vector<std::string> lines_;  // what the innermost call has traced
  std::string failure_;
  uint64_t steps_ = 0;
  std::array<uint64_t, kDepth> steps_within_{};
  std::vector<Progress *> under_way_;  // the innermost is the last
  std::span<const calls::Call> to_make_;
  unsigned functions_until_next_ = 0;  // 0: the next call waits until the running ones have ended
  uint64_t faults_ = 0;
  std::map<runtime::Service, uint64_t> faults_by_service_;
  bool partial_ = false;
};

}  // namespace walk
