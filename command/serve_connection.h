// One connection of zar serve: what came from the client and waits, the request under way, what goes back.
//
// Requests are worked on in their order, one at a time, by the session process of the connection. It is started for the
// first request. A load gets a process of its own, which becomes the session process if it succeeds.
//
// Memory is limited: while many requests wait, nothing is read from the client; while much of the answers waits to be
// read by the client, no request is begun. So a client that does not read its answers waits, and nobody else does.
#pragma once

#include <poll.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "command/serve_log.h"
#include "command/serve_session.h"
#include "simulator/messages/envelope.h"
#include "simulator/messages/lines.h"
#include "simulator/policy/source.h"
#include "simulator/service/service.h"

namespace command {

// What all connections of a server share.
struct ServeShared {
  using Clock = std::chrono::steady_clock;

  size_t size_limit = 0;
  std::chrono::seconds time_limit{};
  std::optional<simulator::Source> file{};  // that each session begins with
  SessionProcess::Setup setup{};
  ServeLog *log = nullptr;

  Clock::time_point started = Clock::now();
  uint64_t requests = 0;
  uint64_t errors = 0;
  size_t connections = 0;  // now
  uint64_t connections_total = 0;
  uint64_t sessions_lost = 0;
};

class ServeConnection {
 public:
  using Clock = ServeShared::Clock;

  // Takes over the descriptors, which may be the same one, and which may be those of the standard streams.
  ServeConnection(ServeShared &shared, int input, int output);
  ~ServeConnection();
  ServeConnection(const ServeConnection &) = delete;
  ServeConnection &operator=(const ServeConnection &) = delete;

  // Adds what it waits for.
  void watch(std::vector<pollfd> &watched) const;
  // Takes in what has happened to these descriptors, which are those of watch(), and goes on as far as it can.
  void go_on(const pollfd *watched);
  // When go_on() is to be called at the latest.
  Clock::time_point deadline() const;
  bool is_over() const;
  // In a new process: closes everything.
  void close_all() const;

  static constexpr size_t kWatched = 4;

 private:
  // A request from the client.
  struct Request {
    std::string text{};
    std::optional<simulator::Json> id{};
    std::string method{};
    bool is_in_batch = false;
    bool is_last = false;                                   // of its batch
    std::optional<simulator::messages::Failure> failure{};  // decided already
  };
  enum class Stopped : uint8_t { no, cancelled, took_too_long };
  struct UnderWay {
    Request request;
    Clock::time_point since{};
    Clock::time_point until{};  // then it is stopped, or if it is stopped already, its process is ended
    Stopped stopped = Stopped::no;
    bool is_load = false;
  };

  bool is_socket() const { return input_ == output_; }
  bool may_read() const;
  void read_some();
  void take_lines();
  void take_line(const simulator::messages::MessageLine &line);
  void take_call(const simulator::messages::Envelope &call, bool is_in_batch, bool is_last);
  void cancel(const simulator::Json &id);
  void put(Request request);

  void begin_requests();
  void begin(Request request);
  void send(const Request &request, bool is_load);
  SessionProcess &worker() const { return under_way_->is_load ? *candidate_ : *session_; }
  void stop(Stopped why);
  void check_time();
  void receive_from(std::unique_ptr<SessionProcess> &process);
  void finish(const SessionProcess::Answer &answered);
  void finish_stopped(bool is_lost);
  void lose(std::unique_ptr<SessionProcess> &process);
  void replace_session(bool good);

  void answer(const Request &request, const simulator::messages::Failure &failure, Clock::duration took = {});
  void answer(const Request &request, const simulator::service::Answered &answered, Clock::duration took);
  void put_out(const Request &request, std::string_view text);
  void write_some();
  void vanish();
  std::string figures() const;
  void log_request(const Request &request, int code, Clock::duration took) const;
  void log_event(const char *event) const;

  ServeShared &shared_;
  uint64_t number_;
  int input_;
  int output_;
  bool has_ended_ = false;     // the input
  bool has_vanished_ = false;  // the client
  simulator::messages::LineFramer framer_;

  std::deque<Request> waiting_;
  size_t bytes_waiting_ = 0;
  std::optional<UnderWay> under_way_;

  std::unique_ptr<SessionProcess> session_;
  std::unique_ptr<SessionProcess> candidate_;  // works on a load
  bool has_begun_ = false;                     // with the file of the server
  bool is_lost_ = false;                       // the session, and the client does not know
  bool is_shut_down_ = false;
  uint64_t requests_ = 0;

  std::string to_write_;
  size_t written_ = 0;
  bool batch_has_answers_ = false;
};

}  // namespace command
