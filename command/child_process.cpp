#include "command/child_process.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <iostream>
#include <sstream>

#include "command/exit_codes.h"
#include "command/report.h"
#include "simulator/text/text.h"

using namespace simulator;

namespace command {

namespace {

void write_all(int to, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = ::write(to, text.data(), text.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) return;
    text.remove_prefix(static_cast<size_t>(written));
  }
}

std::string read_all(int from) {
  std::string all;
  char buffer[65536];
  for (;;) {
    const ssize_t got = ::read(from, buffer, sizeof buffer);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return all;
    all.append(buffer, static_cast<size_t>(got));
  }
}

// The exits of this process belong to its copy as little as what it has not yet written.
[[noreturn]] void work_and_exit(int answer_to, const std::function<int(std::ostream &)> &work) {
  std::ostringstream answer;
  int code = kInternal;
  try {
    code = work(answer);
  } catch (const std::exception &error) {
    complain(concat("internal error: ", error.what()));
  }
  std::cout.flush();
  write_all(answer_to, answer.str());
  std::_Exit(code);
}

int wait_for(pid_t child, const std::string &name) {
  int status = 0;
  pid_t ended = -1;
  do {
    ended = waitpid(child, &status, 0);
  } while (ended < 0 && errno == EINTR);
  if (ended == child && WIFEXITED(status)) return WEXITSTATUS(status);
  complain(concat(name, ": internal error: its process ended abnormally"));
  return kInternal;
}

}  // namespace

Apart run_in_child_process(const std::string &name, const std::function<int(std::ostream &answer)> &work) {
  std::cout.flush();
  int ends[2];
  if (pipe(ends) != 0) {
    complain("cannot make a pipe");
    return {kInternal, {}};
  }
  const pid_t child = fork();
  if (child == 0) {
    close(ends[0]);
    work_and_exit(ends[1], work);
  }
  close(ends[1]);
  Apart apart;
  if (child < 0) {
    complain("cannot start a process");
    apart.code = kInternal;
  } else {
    // What is written has to be read before the end is waited for: a pipe holds only so much.
    apart.answer = read_all(ends[0]);
    apart.code = wait_for(child, name);
  }
  close(ends[0]);
  return apart;
}

}  // namespace command
