#include "runner.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace test {

namespace {

// Returns only if the program cannot be run.
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

Result run_zar_within(size_t memory, const std::vector<std::string> &arguments, const std::string &input) {
  const auto work = [&] {
    const rlimit limit = {memory, memory};
    return setrlimit(RLIMIT_AS, &limit) == 0 ? become_zar(arguments) : 126;
  };
  return run_in_child_process(work, input);
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
  const std::string path = std::string(ZAR_SOURCE_DIR) + "/tests/command/golden/" + name;
  const std::string normalised = without_addresses(text);
  if (std::getenv("ZAR_UPDATE_GOLDEN")) {
    std::ofstream(path, std::ios::binary) << normalised;
    FAIL() << "wrote " << path << ": check it, and run the test without ZAR_UPDATE_GOLDEN";
  }
  EXPECT_EQ(normalised, read_file(path)) << "differs from " << path;
}

}  // namespace test
