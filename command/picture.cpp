#include "command/picture.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "simulator/text/text.h"

using namespace simulator;

namespace command {

namespace {

constexpr const char *kProgram = "dot";

// A file without a name, for what goes into a program and comes out of it: with pipes, both sides could wait for each
// other.
class Scratch {
 public:
  Scratch() : file_(std::tmpfile()) {}

  bool is_open() const { return file_ != nullptr; }
  int descriptor() const { return fileno(file_.get()); }

  bool write(const std::string &text) const {
    const bool done = std::fwrite(text.data(), 1, text.size(), file_.get()) == text.size();
    const bool flushed = std::fflush(file_.get()) == 0;
    return done && flushed && go_to_begin();
  }

  std::string read() const {
    std::string text;
    char buffer[65536];
    if (!go_to_begin()) return text;
    while (const size_t got = std::fread(buffer, 1, sizeof buffer, file_.get()))
      text.append(buffer, got);
    return text;
  }

 private:
  bool go_to_begin() const { return std::fseek(file_.get(), 0, SEEK_SET) == 0; }

  struct Close {
    void operator()(std::FILE *file) const { std::fclose(file); }
  };
  std::unique_ptr<std::FILE, Close> file_;
};

// The standard streams of a program to start.
class Streams {
 public:
  Streams(const Scratch &in, const Scratch &out, const Scratch &err) {
    posix_spawn_file_actions_init(&actions_);
    posix_spawn_file_actions_adddup2(&actions_, in.descriptor(), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions_, out.descriptor(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions_, err.descriptor(), STDERR_FILENO);
  }
  ~Streams() { posix_spawn_file_actions_destroy(&actions_); }
  Streams(const Streams &) = delete;
  Streams &operator=(const Streams &) = delete;

  const posix_spawn_file_actions_t *actions() const { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_{};
};

// Returns its wait status, or an error number in 'error'.
int run(const std::string &format, const Streams &streams, int &error) {
  std::string name = kProgram;
  std::string option = "-T" + format;
  char *argv[] = {name.data(), option.data(), nullptr};
  pid_t child = 0;
  error = posix_spawnp(&child, kProgram, streams.actions(), nullptr, argv, environ);
  if (error != 0) return 0;
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno == EINTR) continue;
    error = errno;
    return 0;
  }
  return status;
}

std::string first_line(const std::string &text) {
  return text.substr(0, text.find('\n'));
}

}  // namespace

Drawn draw(const std::string &graph, const std::string &format) {
  const Scratch in;
  const Scratch out;
  const Scratch err;
  if (!in.is_open() || !out.is_open() || !err.is_open() || !in.write(graph)) {
    return {.problem = concat("the graph cannot be stored for dot: ", std::strerror(errno))};
  }

  int error = 0;
  const int status = run(format, Streams(in, out, err), error);
  if (error == ENOENT) {
    return {.is_installed = false, .problem = "dot, which draws pictures, is not installed; it comes with graphviz"};
  }
  if (error != 0) return {.problem = concat("dot cannot be run: ", std::strerror(error))};
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    return {.problem = concat("dot failed: ", first_line(err.read()))};
  }
  return {.picture = out.read()};
}

}  // namespace command
