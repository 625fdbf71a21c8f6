#include "command/workers.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <stdexcept>

#include "command/exit_codes.h"
#include "simulator/text/interruption.h"

using namespace simulator;

namespace command {

namespace {

// Lines under way. Enough that no worker ever waits for the others.
constexpr size_t kMostUnderWay = 50'000;
// Bytes that wait for one pipe, or came from it.
constexpr size_t kMostBytes = size_t{16} << 20U;
constexpr size_t kPiece = size_t{256} << 10U;
// Lines from one look at the pipes to the next.
constexpr size_t kStride = 256;

struct Pipe {
  int from = -1;
  int to = -1;
};

Pipe make_pipe() {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe can be made");
  // Larger pipes save calls; the system may refuse.
  fcntl(ends[1], F_SETPIPE_SZ, static_cast<int>(kPiece * 4));
  return {ends[0], ends[1]};
}

void close_once(int &descriptor) {
  if (descriptor >= 0) close(descriptor);
  descriptor = -1;
}

int status_at_end_of(pid_t process) {
  int status = 0;
  pid_t ended = -1;
  do {
    ended = waitpid(process, &status, 0);
  } while (ended < 0 && errno == EINTR);
  return status;
}

// They return false at the end: the other process has no more, or wants no more.

bool read_some(int from, ByteQueue &to) {
  for (;;) {
    const ssize_t got = read(from, to.room(kPiece), kPiece);
    if (got < 0 && errno == EINTR) continue;
    if (got > 0) to.stored(static_cast<size_t>(got));
    return got > 0;
  }
}

bool write_all(int to, ByteQueue &from) {
  while (from.size() > 0) {
    const ssize_t written = write(to, from.bytes().data(), from.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return false;
    from.drop(static_cast<size_t>(written));
  }
  return true;
}

// In a worker: answers every line until there are no more, or the replies are no longer wanted.
void serve(int lines, int replies, const Workers::Play &play) {
  ByteQueue received;
  ByteQueue answers;
  stream::Line line;
  while (read_some(lines, received)) {
    size_t at = 0;
    while (take_line(received, at, line)) {
      append_reply(answers, play(line));
      if (answers.size() >= kPiece && !write_all(replies, answers)) return;
    }
    received.drop(at);
    if (!write_all(replies, answers)) return;
  }
}

}  // namespace

Workers::Workers(size_t count, const Work &work, Deliver deliver) : workers_(count), deliver_(std::move(deliver)) {
  for (size_t number = 0; number < count; ++number)
    start(number, work);
}

Workers::~Workers() {
  wait();
}

void Workers::start(size_t number, const Work &work) {
  Pipe lines = make_pipe();
  Pipe replies = make_pipe();
  const pid_t process = fork();
  if (process < 0) throw std::runtime_error("no process can be started");
  if (process == 0) {
    // Ctrl-C goes to all processes of a terminal; the first one decides when the others end. The ends that belong to
    // the first one must close with it.
    std::signal(SIGINT, SIG_IGN);
    close_pipes();
    close_once(lines.to);
    close_once(replies.from);
    std::_Exit(work(number, [&](const Play &play) { serve(lines.from, replies.to, play); }));
  }
  close_once(lines.from);
  close_once(replies.to);
  for (const int descriptor : {lines.to, replies.from})
    fcntl(descriptor, F_SETFL, O_NONBLOCK);
  workers_[number].process = process;
  workers_[number].lines = lines.to;
  workers_[number].replies = replies.from;
}

void Workers::send(size_t worker, const stream::Line &line) {
  append_line(workers_[worker].to_send, line);
  order_.push_back(static_cast<uint32_t>(worker));
  if (++sent_ % kStride == 0) move(false);
  while (!stopped_ && (order_.size() >= kMostUnderWay || workers_[worker].to_send.size() >= kMostBytes))
    move(true);
}

size_t Workers::read(StreamInput &input, char *to, size_t room, const std::function<void()> &idle) {
  do {
    interruption::check();
    idle();
  } while (!stopped_ && !move(true, input.descriptor()));
  return stopped_ ? 0 : input.read(to, room);
}

void Workers::finish() {
  while (!stopped_ && !order_.empty()) {
    interruption::check();
    move(true);
  }
}

// One that is far ahead of the others waits for them, in its pipe. The one whose reply is next never does.
bool Workers::wants_replies(size_t worker) const {
  return (!order_.empty() && order_.front() == worker) || workers_[worker].received.size() < kMostBytes;
}

bool Workers::move(bool wait, int input) {
  std::vector<pollfd> watched;
  for (size_t at = 0; at < workers_.size(); ++at) {
    const Worker &worker = workers_[at];
    watched.push_back({worker.to_send.size() > 0 ? worker.lines : -1, POLLOUT, 0});
    watched.push_back({wants_replies(at) ? worker.replies : -1, POLLIN, 0});
  }
  watched.push_back({input, POLLIN, 0});
  if (poll(watched.data(), watched.size(), wait ? StreamInput::kLongestWait : 0) < 0) return false;
  for (size_t at = 0; at < workers_.size(); ++at) {
    if (watched[2 * at].revents != 0) send_to(workers_[at]);
    if (watched[2 * at + 1].revents != 0) receive_from(workers_[at]);
  }
  deliver_all();
  return watched.back().revents != 0;
}

void Workers::fail() {
  stopped_ = failed_ = true;
}

void Workers::send_to(Worker &worker) {
  const ssize_t written = write(worker.lines, worker.to_send.bytes().data(), worker.to_send.size());
  if (written >= 0) {
    worker.to_send.drop(static_cast<size_t>(written));
  } else if (errno != EAGAIN && errno != EINTR) {
    fail();
  }
}

void Workers::receive_from(Worker &worker) {
  const ssize_t got = ::read(worker.replies, worker.received.room(kPiece), kPiece);
  if (got > 0) {
    worker.received.stored(static_cast<size_t>(got));
  } else if (got == 0 || (errno != EAGAIN && errno != EINTR)) {
    // It ended, though more lines could come.
    fail();
  }
}

void Workers::deliver_all() {
  Reply reply;
  while (!stopped_ && !order_.empty()) {
    ByteQueue &received = workers_[order_.front()].received;
    size_t used = 0;
    if (!take_reply(received, used, reply, rules_)) return;
    stopped_ = !deliver_(reply);
    received.drop(used);
    order_.pop_front();
  }
}

void Workers::close_pipes() {
  for (Worker &worker : workers_) {
    close_once(worker.lines);
    close_once(worker.replies);
  }
}

int Workers::wait() {
  int worst = failed_ ? kInternal : kSuccess;
  close_pipes();
  for (Worker &worker : workers_) {
    if (worker.process < 0) continue;
    const int status = status_at_end_of(worker.process);
    worker.process = -1;
    worst = std::max(worst, WIFEXITED(status) ? WEXITSTATUS(status) : int{kInternal});
  }
  return worst;
}

}  // namespace command
