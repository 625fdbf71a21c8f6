#include "tests/simulator/policy.h"

#include <gtest/gtest.h>

namespace test {

simulator::PolicyFile load_good(const std::string &text) {
  simulator::Diagnostics diagnostics;
  const simulator::Source source("test.yaml", text);
  std::optional<simulator::PolicyFile> file = simulator::load(source, diagnostics);
  EXPECT_TRUE(file.has_value()) << simulator::render(diagnostics, source);
  return file ? std::move(*file) : simulator::PolicyFile();
}

std::string joined(const std::vector<std::string> &lines) {
  std::string all;
  for (const std::string &line : lines)
    all += line + "\n";
  return all;
}

}  // namespace test
