#include "tests/simulator/child_process.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <iostream>

namespace test {

namespace {

// A file without a name: a pipe would have to be read while the child writes.
class Scratch {
 public:
  Scratch() : file_(std::tmpfile()) {}
  ~Scratch() { std::fclose(file_); }
  Scratch(const Scratch &) = delete;
  Scratch &operator=(const Scratch &) = delete;

  int descriptor() const { return fileno(file_); }
  void write(const std::string &text) {
    std::fwrite(text.data(), 1, text.size(), file_);
    std::fflush(file_);
    std::rewind(file_);
  }
  std::string read() {
    std::string text;
    std::rewind(file_);
    for (int byte = std::fgetc(file_); byte != EOF; byte = std::fgetc(file_))
      text += static_cast<char>(byte);
    return text;
  }

 private:
  std::FILE *file_;
};

}  // namespace

Result run_in_child_process(const std::function<int()> &work, const std::string &input) {
  Scratch in;
  Scratch out;
  Scratch err;
  in.write(input);
  const pid_t child = fork();
  if (child == 0) {
    dup2(in.descriptor(), STDIN_FILENO);
    dup2(out.descriptor(), STDOUT_FILENO);
    dup2(err.descriptor(), STDERR_FILENO);
    const int code = work();
    std::cout.flush();
    std::_Exit(code);
  }

  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child) return {};
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, out.read(), err.read()};
}

}  // namespace test
