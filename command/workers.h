// Processes that play lines of a stream side by side. Replies come back in the order in which the lines were sent,
// whichever process is faster.
//
// The life of the processes:
//   1. The constructor starts them, each with a copy of all that this process knows.
//   2. send() gives a line to one of them. It may wait for replies, so that only a limited number of lines is under way.
//   3. Each reply goes to 'deliver', in the order of send(). If it returns false, or a process ends early, everything
//      stops: nothing more is sent or delivered.
//   4. finish() waits for the replies that are due; wait() ends the processes.
#pragma once

#include <sys/types.h>

#include <deque>
#include <functional>
#include <vector>

#include "command/frames.h"
#include "command/stream_input.h"

namespace command {

class Workers {
 public:
  // Plays a line in a worker. What the reply points to is valid until the next call.
  using Play = std::function<Reply(const simulator::stream::Line &line)>;
  // Answers lines until there are no more.
  using Serve = std::function<void(const Play &play)>;
  // What a worker does: it calls serve with its way to play a line. Returns its exit code.
  using Work = std::function<int(size_t worker, const Serve &serve)>;
  using Deliver = std::function<bool(const Reply &reply)>;

  Workers(size_t count, const Work &work, Deliver deliver);
  ~Workers();
  Workers(const Workers &) = delete;
  Workers &operator=(const Workers &) = delete;

  void send(size_t worker, const simulator::stream::Line &line);
  // Reads input. Replies are delivered while none is there; 'idle' is called before each wait.
  size_t read(StreamInput &input, char *to, size_t room, const std::function<void()> &idle);
  void finish();
  bool has_stopped() const { return stopped_; }
  // Whether a process ended early.
  bool has_failed() const { return failed_; }
  // Ends the processes. Returns the worst of their exit codes.
  int wait();

 private:
  struct Worker {
    pid_t process = -1;
    int lines = -1;    // the pipe to it
    int replies = -1;  // the pipe from it
    ByteQueue to_send{};
    ByteQueue received{};
  };

  void start(size_t number, const Work &work);
  void fail();
  // Moves what can be moved; waits until something can be, or until 'input' has something to read, if it is not
  // negative. Returns whether it has.
  bool move(bool wait, int input = -1);
  bool wants_replies(size_t worker) const;
  void send_to(Worker &worker);
  void receive_from(Worker &worker);
  void deliver_all();
  void close_pipes();

  std::vector<Worker> workers_;
  Deliver deliver_;
  std::deque<uint32_t> order_;  // the workers that owe replies
  std::vector<uint32_t> rules_;
  size_t sent_ = 0;
  bool stopped_ = false;
  bool failed_ = false;
};

}  // namespace command
