// The files of --with: scenarios and tests for policy files.
#pragma once

#include <string>
#include <vector>

#include "command/load_file.h"
#include "simulator/policy/model.h"
#include "simulator/policy/source.h"

namespace command {

class MoreTests {
 public:
  // Reads the files; standard input for "-". False if one cannot be read, which the loader reports.
  bool read(const std::vector<std::string> &paths, FileLoader &loader);

  // Adds their scenarios and tests to those of a policy file. False if anything is wrong with one of them, which the
  // loader reports.
  bool add_to(simulator::PolicyFile &file, FileLoader &loader) const;

 private:
  std::vector<simulator::Source> sources_;
};

}  // namespace command
