#include "command/serve_connection.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <utility>

#include "simulator/service/methods.h"
#include "simulator/text/json_object.h"
#include "simulator/text/text.h"

using namespace simulator;

namespace command {

namespace {

using messages::Failure;
using service::Answered;
using service::failure;
using service::Refusal;

// Above these numbers nothing is read from the client.
constexpr size_t kMostWaiting = 1000;
// Above this number of bytes no request is begun.
constexpr size_t kMostUnread = size_t{1} << 20U;
// Within this time a request that is stopped has to end, or its session is lost.
constexpr std::chrono::seconds kToStop{1};
// Bytes of a text from a client that the log shows.
constexpr size_t kMostLogged = 200;
// What a pipe that is ready certainly takes: more could block.
constexpr size_t kSafeWrite = 4096;

std::string cut(std::string_view text) {
  return std::string(text.substr(0, kMostLogged));
}

bool is_load(std::string_view name) {
  const service::Method *method = service::find_method(name);
  return method && method->place == service::Place::anew;
}

}  // namespace

ServeConnection::ServeConnection(ServeShared &shared, int input, int output)
    : shared_(shared), number_(++shared.connections_total), input_(input), output_(output), framer_(shared.size_limit) {
  ++shared_.connections;
  log_event("opened");
}

ServeConnection::~ServeConnection() {
  // Nobody waits for what is under way.
  if (under_way_) worker().kill();
  close(input_);
  if (output_ != input_) close(output_);
  --shared_.connections;
  log_event("closed");
}

void ServeConnection::close_all() const {
  close(input_);
  close(output_);
  if (session_) close(session_->descriptor());
  if (candidate_) close(candidate_->descriptor());
}

// ---- Waiting ------------------------------------------------------------------------------------------------------------------

bool ServeConnection::may_read() const {
  return !has_ended_ && waiting_.size() < kMostWaiting && bytes_waiting_ < shared_.size_limit;
}

// A descriptor without events is watched all the same: a client that has gone is always reported.
void ServeConnection::watch(std::vector<pollfd> &watched) const {
  const auto events_of = [](const std::unique_ptr<SessionProcess> &process) {
    return static_cast<short>(POLLIN | (process->has_to_send() ? POLLOUT : 0));
  };
  const short reading = may_read() ? POLLIN : 0;
  const short writing = to_write_.empty() ? 0 : POLLOUT;
  // The end of an input is no sign that the client has gone, and would be reported again and again.
  watched.push_back({is_socket() || reading == 0 ? -1 : input_, reading, 0});
  watched.push_back({output_, static_cast<short>(is_socket() ? reading | writing : writing), 0});
  watched.push_back({session_ ? session_->descriptor() : -1, session_ ? events_of(session_) : short{0}, 0});
  watched.push_back({candidate_ ? candidate_->descriptor() : -1, candidate_ ? events_of(candidate_) : short{0}, 0});
}

ServeConnection::Clock::time_point ServeConnection::deadline() const {
  return under_way_ ? under_way_->until : Clock::time_point::max();
}

bool ServeConnection::is_over() const {
  return has_vanished_ || (has_ended_ && waiting_.empty() && !under_way_ && to_write_.empty() && !framer_.size());
}

void ServeConnection::go_on(const pollfd *watched) {
  constexpr short kGone = POLLHUP | POLLERR | POLLNVAL;
  if ((watched[1].revents & kGone) != 0) vanish();
  if ((watched[0].revents != 0 || (watched[1].revents & POLLIN) != 0) && may_read()) read_some();
  for (const auto &[process, at] : {std::pair{&session_, 2}, std::pair{&candidate_, 3}}) {
    if (*process && (watched[at].revents & POLLOUT) != 0) (*process)->send_some();
    if (*process && (watched[at].revents & ~POLLOUT) != 0) receive_from(*process);
  }
  if ((watched[1].revents & POLLOUT) != 0) write_some();
  check_time();
  take_lines();
  begin_requests();
}

void ServeConnection::vanish() {
  has_vanished_ = true;
}

// ---- From the client ------------------------------------------------------------------------------------------------------------

void ServeConnection::read_some() {
  char buffer[65536];
  const ssize_t got = read(input_, buffer, sizeof buffer);
  if (got < 0 && (errno == EAGAIN || errno == EINTR)) return;
  has_ended_ = got <= 0;
  if (got > 0) framer_.append({buffer, static_cast<size_t>(got)});
}

void ServeConnection::take_lines() {
  while (waiting_.size() < kMostWaiting && bytes_waiting_ < shared_.size_limit) {
    std::optional<messages::MessageLine> line = framer_.next();
    if (!line && has_ended_) line = framer_.last();
    if (!line) return;
    take_line(*line);
  }
}

void ServeConnection::take_line(const messages::MessageLine &line) {
  if (line.is_too_long) {
    return put(
        {.failure = failure(Refusal::too_large, concat("the request is larger than ", shared_.size_limit, " bytes"))});
  }
  const messages::Envelopes found = messages::open(line.text);
  if (found.failure) return put({.failure = found.failure});
  for (const messages::Envelope &call : found.calls)
    take_call(call, found.is_batch, &call == &found.calls.back());
}

void ServeConnection::take_call(const messages::Envelope &call, bool is_in_batch, bool is_last) {
  if (call.method == "cancel" && call.param_id) cancel(*call.param_id);
  Request request{.text = std::string(call.text),
                  .id = call.id,
                  .method = call.method,
                  .is_in_batch = is_in_batch,
                  .is_last = is_last};
  if (call.text.empty()) request.failure = Failure(messages::ErrorCode::invalid_request, "the message is no object");
  put(std::move(request));
}

void ServeConnection::put(Request request) {
  bytes_waiting_ += request.text.size();
  waiting_.push_back(std::move(request));
}

void ServeConnection::cancel(const Json &id) {
  if (under_way_ && under_way_->request.id == id) stop(Stopped::cancelled);
  for (Request &request : waiting_) {
    if (request.id == id && !request.failure)
      request.failure = failure(Refusal::cancelled, "the request was cancelled");
  }
}

// ---- Work -----------------------------------------------------------------------------------------------------------------------

void ServeConnection::begin_requests() {
  while (!has_vanished_ && !under_way_ && !waiting_.empty() && to_write_.size() < kMostUnread) {
    Request request = std::move(waiting_.front());
    waiting_.pop_front();
    bytes_waiting_ -= request.text.size();
    begin(std::move(request));
    take_lines();
  }
}

void ServeConnection::begin(Request request) {
  ++requests_;
  ++shared_.requests;
  if (is_shut_down_) return answer(request, failure(Refusal::shutting_down, "the session was shut down"));
  if (request.failure) return answer(request, Failure(*request.failure));
  const bool load = is_load(request.method);
  if (std::exchange(is_lost_, false) && !load)
    return answer(request, failure(Refusal::session_lost, "the session was lost: its process has ended; load again"));
  try {
    send(request, load);
  } catch (const std::runtime_error &error) {
    return answer(request, Failure(messages::ErrorCode::internal_error, error.what()));
  }
  const Clock::time_point now = Clock::now();
  under_way_ =
      UnderWay{.request = std::move(request), .since = now, .until = now + shared_.time_limit, .is_load = load};
}

void ServeConnection::send(const Request &request, bool is_load) {
  std::unique_ptr<SessionProcess> &process = is_load ? candidate_ : session_;
  if (!process) {
    const bool begins_with_file = !is_load && !std::exchange(has_begun_, true) && shared_.file;
    process = std::make_unique<SessionProcess>(shared_.setup, begins_with_file ? &*shared_.file : nullptr);
  }
  process->send(request.method == "stats" ? figures() : std::string(), request.text);
}

// A load is done in a process that nobody needs.
void ServeConnection::stop(Stopped why) {
  if (under_way_->stopped != Stopped::no) return;
  under_way_->stopped = why;
  under_way_->until = Clock::now() + kToStop;
  if (!under_way_->is_load) return worker().interrupt();
  finish_stopped(false);
}

void ServeConnection::check_time() {
  if (!under_way_ || Clock::now() < under_way_->until) return;
  if (under_way_->stopped == Stopped::no) return stop(Stopped::took_too_long);
  finish_stopped(true);
}

void ServeConnection::finish_stopped(bool is_lost) {
  const UnderWay done = std::move(*under_way_);
  if (is_lost || done.is_load) {
    std::unique_ptr<SessionProcess> &process = done.is_load ? candidate_ : session_;
    process->kill();
    process.reset();
  }
  under_way_.reset();
  if (is_lost) {
    ++shared_.sessions_lost;
    log_event("session-lost");
  }
  const Json data = is_lost ? Json{{"session_lost", true}} : Json(nullptr);
  const Clock::duration took = Clock::now() - done.since;
  if (done.stopped == Stopped::took_too_long) {
    answer(done.request,
           failure(Refusal::took_too_long,
                   concat("the request took longer than ", shared_.time_limit.count(), " seconds"), data),
           took);
  } else {
    answer(done.request, failure(Refusal::cancelled, "the request was cancelled", data), took);
  }
}

void ServeConnection::receive_from(std::unique_ptr<SessionProcess> &process) {
  const bool is_there = process->receive_some();
  const bool is_worker = under_way_ && (&process == &candidate_) == under_way_->is_load;
  if (is_worker) {
    if (std::optional<SessionProcess::Answer> answer = process->take_answer()) return finish(std::move(*answer));
  }
  if (!is_there) lose(process);
}

void ServeConnection::finish(SessionProcess::Answer answered) {
  if (answered.is_interrupted) {
    if (under_way_->stopped == Stopped::no) under_way_->stopped = Stopped::cancelled;
    return finish_stopped(false);
  }
  const UnderWay done = std::move(*under_way_);
  under_way_.reset();
  const bool good = answered.answered.code == 0;
  if (done.is_load) replace_session(good);
  if (good && done.request.method == "shutdown") {
    is_shut_down_ = true;
    session_.reset();
  }
  answer(done.request, std::move(answered.answered), Clock::now() - done.since);
}

void ServeConnection::replace_session(bool good) {
  if (good) {
    session_ = std::move(candidate_);
    has_begun_ = true;
  }
  candidate_.reset();
}

// The process has ended though nobody wanted it to.
void ServeConnection::lose(std::unique_ptr<SessionProcess> &process) {
  const bool is_session = &process == &session_;
  const bool was_working = under_way_ && under_way_->is_load != is_session;
  process.reset();
  if (is_session) {
    ++shared_.sessions_lost;
    log_event("session-lost");
    is_lost_ = !was_working;
  }
  if (!was_working) return;
  const UnderWay done = std::move(*under_way_);
  under_way_.reset();
  const Failure lost =
      is_session
          ? failure(Refusal::session_lost, "the session was lost: its process ended during the request; load again",
                    {{"session_lost", true}})
          : Failure(messages::ErrorCode::internal_error,
                    "the process that loaded the file ended early; the session is as it was before");
  answer(done.request, lost, Clock::now() - done.since);
}

// ---- To the client --------------------------------------------------------------------------------------------------------------

void ServeConnection::answer(const Request &request, const Failure &failure, Clock::duration took) {
  // A text that is no request gets an answer as well.
  const bool is_notification = !request.id && !request.method.empty();
  const Json id = request.id.value_or(nullptr);
  answer(request, Answered{failure.code, is_notification ? "" : compact_text(messages::error_response(id, failure))},
         took);
}

void ServeConnection::answer(const Request &request, Answered answered, Clock::duration took) {
  if (answered.code != 0) ++shared_.errors;
  log_request(request, answered.code, took);
  put_out(request, answered.text);
}

void ServeConnection::put_out(const Request &request, std::string_view text) {
  if (!request.is_in_batch) {
    if (!text.empty()) to_write_.append(text) += '\n';
  } else {
    if (!text.empty()) {
      to_write_ += std::exchange(batch_has_answers_, true) ? ',' : '[';
      to_write_ += text;
    }
    if (request.is_last && std::exchange(batch_has_answers_, false)) to_write_ += "]\n";
  }
  write_some();
}

// Only sockets are set not to block: other programs may use the same standard output.
void ServeConnection::write_some() {
  while (written_ < to_write_.size()) {
    pollfd ready = {output_, POLLOUT, 0};
    if (!is_socket() && (poll(&ready, 1, 0) <= 0 || (ready.revents & POLLOUT) == 0)) break;
    const size_t rest = to_write_.size() - written_;
    const ssize_t written =
        write(output_, to_write_.data() + written_, is_socket() ? rest : std::min(rest, kSafeWrite));
    if (written < 0 && errno != EAGAIN && errno != EINTR) return vanish();
    if (written < 0) break;
    written_ += static_cast<size_t>(written);
  }
  to_write_.erase(0, std::exchange(written_, 0));
  if (to_write_.empty() && to_write_.capacity() > kMostUnread) to_write_.shrink_to_fit();
}

// ---- Figures and the log ----------------------------------------------------------------------------------------------------------

std::string ServeConnection::figures() const {
  Json figures;
  figures["uptime_seconds"] = std::chrono::duration<double>(Clock::now() - shared_.started).count();
  figures["requests"] = shared_.requests;
  figures["errors"] = shared_.errors;
  figures["connections"] = shared_.connections;
  figures["connections_total"] = shared_.connections_total;
  figures["sessions_lost"] = shared_.sessions_lost;
  figures["session"] = {{"requests", requests_}};
  return compact_text(figures);
}

void ServeConnection::log_request(const Request &request, int code, Clock::duration took) const {
  if (!shared_.log->is_open()) return;
  Json entry;
  entry["connection"] = number_;
  entry["method"] = request.method.empty() ? Json(nullptr) : Json(cut(request.method));
  const Json id = request.id.value_or(nullptr);
  entry["id"] = id.is_string() ? Json(cut(id.get<std::string>())) : id;
  entry["milliseconds"] = std::chrono::duration<double, std::milli>(took).count();
  entry["error"] = code == 0 ? Json(nullptr) : Json(code);
  shared_.log->write("request", entry);
}

void ServeConnection::log_event(const char *event) const {
  shared_.log->write(event, {{"connection", number_}});
}

}  // namespace command
