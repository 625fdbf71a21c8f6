#include "command/serve_front.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <iterator>
#include <stdexcept>

#include "command/report.h"
#include "simulator/text/json_object.h"
#include "simulator/text/text.h"

using namespace simulator;

namespace command {

namespace {

volatile std::sig_atomic_t end_is_asked_for = 0;

using Clock = ServeShared::Clock;

// After a connection could not be accepted for lack of something.
constexpr std::chrono::seconds kPauseWithoutDescriptors{1};

void ask_for_end(int) {
  end_is_asked_for = 1;
}

// What matters is that waiting ends.
void note_end_of_process(int) {}

// The signals come only while the front waits, so that none is missed.
void hold_signals() {
  sigset_t held;
  sigemptyset(&held);
  struct sigaction action = {};
  sigemptyset(&action.sa_mask);
  for (const int signal : {SIGTERM, SIGINT, SIGCHLD}) {
    sigaddset(&held, signal);
    action.sa_handler = signal == SIGCHLD ? note_end_of_process : ask_for_end;
    sigaction(signal, &action, nullptr);
  }
  sigprocmask(SIG_BLOCK, &held, nullptr);
  // A client that has gone is found by the write that fails.
  std::signal(SIGPIPE, SIG_IGN);
}

void wait_for(std::vector<pollfd> &watched, Clock::time_point until) {
  timespec time{};
  const bool is_limited = until != Clock::time_point::max();
  if (is_limited) {
    const auto left = std::max(std::chrono::nanoseconds(0), std::chrono::nanoseconds(until - Clock::now()));
    time.tv_sec = static_cast<time_t>(left.count() / 1'000'000'000);
    time.tv_nsec = static_cast<long>(left.count() % 1'000'000'000);
  }
  sigset_t none;
  sigemptyset(&none);
  if (ppoll(watched.data(), watched.size(), is_limited ? &time : nullptr, &none) >= 0) return;
  if (errno != EINTR) throw std::runtime_error(concat("waiting failed: ", std::strerror(errno)));
  for (pollfd &each : watched)
    each.revents = 0;
}

// The same, without the places that hold no descriptor: the system counts them too, and limits their number by that of
// the descriptors.
void wait_for_all(std::vector<pollfd> &places, Clock::time_point until) {
  std::vector<pollfd> watched;
  std::copy_if(places.begin(), places.end(), std::back_inserter(watched),
               [](const pollfd &each) { return each.fd >= 0; });
  wait_for(watched, until);
  size_t at = 0;
  for (pollfd &place : places)
    place.revents = place.fd >= 0 ? watched[at++].revents : short{0};
}

}  // namespace

ServeFront::ServeFront(ServeShared &shared, size_t most_connections)
    : shared_(shared), most_connections_(most_connections) {
  hold_signals();
  shared_.setup.close_others = [this] { close_all(); };
  shared_.setup.processes = &processes_;
}

ServeFront::~ServeFront() {
  connections_.clear();
}

void ServeFront::serve_standard_streams() {
  connections_.push_back(std::make_unique<ServeConnection>(shared_, STDIN_FILENO, STDOUT_FILENO));
  serve();
}

void ServeFront::serve_socket(const ListeningSocket &socket) {
  socket_ = &socket;
  serve();
}

void ServeFront::serve() {
  while (wait() && (socket_ || !connections_.empty())) {
  }
  connections_.clear();
}

// Waits until something happens, and takes it in. False: the end is asked for.
bool ServeFront::wait() {
  Clock::time_point until = processes_.tidy();
  std::vector<pollfd> watched = {{socket_ && may_accept_ ? socket_->descriptor() : -1, POLLIN, 0}};
  for (const std::unique_ptr<ServeConnection> &connection : connections_) {
    connection->watch(watched);
    until = std::min(until, connection->deadline());
  }
  if (!may_accept_) until = std::min(until, Clock::now() + kPauseWithoutDescriptors);
  wait_for_all(watched, until);
  if (end_is_asked_for != 0) return false;
  may_accept_ = true;
  for (size_t at = 0; at < connections_.size(); ++at)
    connections_[at]->go_on(&watched[1 + at * ServeConnection::kWatched]);
  std::erase_if(connections_, [](const auto &connection) { return connection->is_over(); });
  if (watched[0].revents != 0) accept();
  return true;
}

void ServeFront::accept() {
  const int client = socket_->accept();
  if (client < 0) {
    may_accept_ = errno == EAGAIN || errno == EINTR || errno == ECONNABORTED;
    if (!may_accept_) complain(concat("a connection cannot be accepted: ", std::strerror(errno)));
    return;
  }
  if (connections_.size() == most_connections_) return turn_away(client);
  connections_.push_back(std::make_unique<ServeConnection>(shared_, client, client));
}

void ServeFront::turn_away(int client) const {
  const std::string text = compact_text(messages::error_response(
      nullptr, service::failure(service::Refusal::too_many_connections,
                                concat("the server has ", most_connections_, " connections already"))));
  // What fits into the buffer of a new socket; if it does not, the client is gone.
  [[maybe_unused]] const ssize_t sent =
      send(client, (text + "\n").data(), text.size() + 1, MSG_NOSIGNAL | MSG_DONTWAIT);
  close(client);
  shared_.log->write("refused", Json::object());
}

void ServeFront::close_all() const {
  for (const std::unique_ptr<ServeConnection> &connection : connections_)
    connection->close_all();
  if (socket_) close(socket_->descriptor());
  if (shared_.log->is_open()) close(shared_.log->descriptor());
}

}  // namespace command
