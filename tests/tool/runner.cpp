#include "runner.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>

namespace test {

namespace {

// A file without a name: pipes would have to be read while the command writes.
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

// Answers only when there is no such program.
int become_zar(const std::vector<std::string> &arguments) {
  std::vector<char *> argv;
  std::string name = "zar";
  argv.push_back(name.data());
  std::vector<std::string> copies = arguments;
  for (std::string &argument : copies)
    argv.push_back(argument.data());
  argv.push_back(nullptr);
  if (chdir(ZAR_SOURCE_DIR) == 0) execv(ZAR_BINARY, argv.data());
  return 127;
}

std::string read_file(const std::string &path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return std::move(text).str();
}

}  // namespace

Result run_zar(const std::vector<std::string> &arguments, const std::string &input) {
  return run_in_child_process([&] { return become_zar(arguments); }, input);
}

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

std::string without_addresses(const std::string &text) {
  std::string normalised;
  for (size_t at = 0; at < text.size();) {
    const size_t address = std::min(text.find("0x", at), text.size());
    normalised.append(text, at, address - at);
    if (address == text.size()) break;
    normalised += "0x#";
    at = std::min(text.find_first_not_of("0123456789abcdef", address + 2), text.size());
  }
  return normalised;
}

void expect_golden(const std::string &name, const std::string &text) {
  const std::string path = std::string(ZAR_SOURCE_DIR) + "/tests/tool/golden/" + name;
  const std::string normalised = without_addresses(text);
  if (std::getenv("ZAR_UPDATE_GOLDEN")) {
    std::ofstream(path, std::ios::binary) << normalised;
    return;
  }
  EXPECT_EQ(normalised, read_file(path)) << "differs from " << path;
}

simulator::PolicyFile load_good(const std::string &text) {
  simulator::Diagnostics diagnostics;
  const simulator::Source source("test.yaml", text);
  std::optional<simulator::PolicyFile> file = simulator::load(source, diagnostics);
  EXPECT_TRUE(file.has_value()) << simulator::render(diagnostics, source);
  return file ? std::move(*file) : simulator::PolicyFile();
}

}  // namespace test
