// Files that tests make.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>

namespace test {

// A file that exists as long as this object. 'name' distinguishes the files of one test.
class ScratchFile {
 public:
  explicit ScratchFile(const std::string &text, const std::string &name = "policy.yaml")
      : path_(testing::TempDir() + "zar-" + testing::UnitTest::GetInstance()->current_test_info()->name() + "-" +
              name) {
    std::ofstream(path_, std::ios::binary) << text;
  }
  ~ScratchFile() { std::remove(path_.c_str()); }
  ScratchFile(const ScratchFile &) = delete;
  ScratchFile &operator=(const ScratchFile &) = delete;

  const std::string &path() const { return path_; }
  std::string text() const {
    std::ostringstream text;
    text << std::ifstream(path_, std::ios::binary).rdbuf();
    return std::move(text).str();
  }

 private:
  std::string path_;
};

}  // namespace test
