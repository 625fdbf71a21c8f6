// Results of tests as JUnit XML, the form in which build servers read them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace simulator {

struct JunitCase {
  enum class Result : uint8_t { passed, failed, error };  // an error: it could not be run

  std::string name{};
  std::string path{};
  uint32_t line = 0;  // 0: the file as a whole
  Result result = Result::passed;
  std::string message{};  // one line; unless it passed
  std::string details{};  // several lines
};

// The tests of one file.
struct JunitSuite {
  std::string name{};
  std::vector<JunitCase> cases{};
};

// A whole document.
std::string junit_xml(const std::vector<JunitSuite> &suites);

}  // namespace simulator
