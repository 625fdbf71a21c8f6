#include "tool/load_file.h"

#include <iostream>

#include "tool/policy/load.h"

namespace tool {

std::optional<PolicyFile> load_file(const std::string &path) {
  Diagnostics diagnostics;
  const Source source = Source::read(path, diagnostics);
  std::optional<PolicyFile> file;
  if (diagnostics.empty()) file = load(source, diagnostics);
  std::cerr << render(diagnostics, source);
  return file;
}

}  // namespace tool
