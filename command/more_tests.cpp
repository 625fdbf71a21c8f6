#include "command/more_tests.h"

#include <cstdio>

#include "simulator/policy/load.h"

using namespace simulator;

namespace command {

bool MoreTests::read(const std::vector<std::string> &paths, FileLoader &loader) {
  bool good = true;
  for (const std::string &path : paths) {
    const auto number = static_cast<uint32_t>(sources_.size() + 1);
    Diagnostics diagnostics;
    sources_.push_back(path == "-" ? Source::read(stdin, "<stdin>", diagnostics, number)
                                   : Source::read(path, diagnostics, number));
    loader.note(sources_.back(), diagnostics);
    good &= diagnostics.empty();
  }
  return good;
}

bool MoreTests::add_to(PolicyFile &file, FileLoader &loader) const {
  bool good = true;
  for (const Source &source : sources_) {
    file.more_paths.push_back(source.name());
    Diagnostics diagnostics;
    good &= load_tests(file, source, diagnostics);
    loader.note(source, diagnostics);
  }
  return good;
}

}  // namespace command
