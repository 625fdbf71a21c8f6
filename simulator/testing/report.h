// The results of the tests of a policy file and what they cover, for people and for programs.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "simulator/policy/model.h"
#include "simulator/repository/repository.h"
#include "simulator/testing/junit.h"
#include "simulator/text/json.h"
#include "simulator/text/text.h"
#include "simulator/text/tone.h"

namespace simulator {

struct Report {
  size_t passed = 0;
  size_t failed = 0;
  uint32_t percent = 0;  // covered
  std::string text{};
  Json json{};
  JunitSuite junit{};
};

// Runs the tests on a repository of the file that stands. The summary calls the file by the name.
Report report_on(const PolicyFile &file, const std::string &name, const Repository &repository, Colours colours);

// Runs the tests on a repository of the file that it builds and takes down. Nothing when anything goes wrong with it; 'problems' then says what.
std::optional<Report> report_on_tests(const PolicyFile &file, Colours colours, Complaints &problems);

}  // namespace simulator
