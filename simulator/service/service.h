// What a request does on a session: JSON-RPC on one side, a live repository on the other.
//
// There are no processes and no descriptors here. A caller that serves several clients gives each a service in a process
// of its own, since a process has one repository at a time. It also provides what only processes can do (Surroundings),
// and limits the time of a request by requesting an interruption.
//
// Where a request should be done (Place, in methods.h) depends on its method:
//   - here: on the session. It needs little time, or it can be interrupted; then the session is as it was before.
//   - apart: by Surroundings::apart, since it builds other repositories, or may take long. It gets a copy of the service.
//   - anew: load replaces the session. The caller gives it a new service, and drops the old one if it succeeds, so that
//     nothing that goes wrong with a file touches the session. A service that has a session refuses.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "simulator/messages/jsonrpc.h"
#include "simulator/policy/source.h"
#include "simulator/reasoning/effort.h"
#include "simulator/session/session.h"
#include "simulator/text/json.h"

namespace simulator::service {

// The codes of errors beyond those of JSON-RPC.
enum class Refusal : int {
  invalid_policy = 1,
  refused = 2,
  nothing_loaded = 3,
  cancelled = 4,
  took_too_long = 5,
  too_large = 6,
  session_lost = 7,
  shutting_down = 8,
  too_many_connections = 9,
};

inline messages::Failure failure(Refusal code, std::string message, Json data = nullptr) {
  return {static_cast<int>(code), std::move(message), std::move(data)};
}

// A response, as text.
struct Answered {
  int code = 0;        // of the error; 0 if there is none
  std::string text{};  // empty after a notification
};

struct Surroundings {
  std::string version;
  // A clock that agrees to go on for this many seconds.
  std::function<reasoning::MayGoOn(uint32_t seconds)> clock;
  // Does the work on a copy of everything, and returns what it returned; nothing if it ended early. May throw Interrupted.
  std::function<std::optional<Answered>(const std::function<Answered()> &work)> apart;
};

// A longer response becomes an error.
inline constexpr size_t kMostAnswer = size_t{64} << 20U;

class Service {
 public:
  explicit Service(Surroundings surroundings) : surroundings_(std::move(surroundings)) {}

  // Makes a policy file the session's; nothing may have been loaded. Throws Failure if the file is wrong.
  void load(Source source);
  // Does what one request asks. 'figures' are those of the server that the result of 'stats' begins with. Throws
  // Interrupted.
  Answered answer(std::string_view text, const Json &figures);
  // Takes the repository down; returns what was wrong.
  Complaints end();

  // For the methods.

  bool has_session() const { return session_ != nullptr; }
  session::Session &session() { return *session_; }
  // The loaded file as it was read.
  const Source &source() const { return *session_->loaded().front(); }
  const Surroundings &surroundings() const { return surroundings_; }
  const Json &figures() const { return figures_; }
  uint64_t events() const { return n_events_; }
  void count_event() { ++n_events_; }

 private:
  Answered answer(const messages::Call &call);
  Answered respond(const messages::Call &call, const std::function<Json()> &act);

  Surroundings surroundings_;
  std::unique_ptr<session::Session> session_;
  Json figures_{};
  uint64_t n_events_ = 0;
};

}  // namespace simulator::service
