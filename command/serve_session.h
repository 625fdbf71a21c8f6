// The process that holds the session of one connection, and works on its requests, one at a time.
//
// The front sends a request as a line: the figures for 'stats' or nothing, a tab, the text. The answer is a line: the
// code of its error or 0, a blank, the response; or the word "interrupted". kInterrupt makes the process interrupt its
// work. It ends when the front closes its end.
#pragma once

#include <sys/types.h>

#include <csignal>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "command/serve_processes.h"
#include "simulator/messages/lines.h"
#include "simulator/policy/source.h"
#include "simulator/service/service.h"

namespace command {

class SessionProcess {
 public:
  static constexpr int kInterrupt = SIGUSR1;

  struct Answer {
    bool is_interrupted = false;
    simulator::service::Answered answered{};
  };
  struct Setup {
    std::string version;
    size_t size_limit = 0;                // of a request
    std::function<void()> close_others;   // in the new process: what only the front may keep open
    ServeProcesses *processes = nullptr;  // where the process is entered
  };

  // Starts the process. The session begins with 'file' unless it is NULL. Throws runtime_error.
  SessionProcess(const Setup &setup, const simulator::Source *file);
  // Lets the process end.
  ~SessionProcess();
  SessionProcess(const SessionProcess &) = delete;
  SessionProcess &operator=(const SessionProcess &) = delete;

  int descriptor() const { return channel_; }
  bool has_to_send() const { return !to_send_.empty(); }
  void send(std::string_view figures, std::string_view text);
  void send_some();
  // Reads what has arrived. False at the end: the process has gone.
  bool receive_some();
  std::optional<Answer> take_answer();

  void interrupt() const;
  void kill() const;

 private:
  ServeProcesses *processes_;
  pid_t process_ = -1;
  int channel_ = -1;
  std::string to_send_;
  simulator::messages::LineFramer received_;
};

}  // namespace command
