#include "support/traced_formats.h"

#include <cstdio>
#include <cstdlib>
#include <unordered_set>

namespace rig {
namespace {

std::string on_one_line(const std::string &format) {
  std::string line;
  for (char character : format) {
    if (character == '\n') {
      line += "\\n";
    } else {
      line += character;
    }
  }
  return line + "\n";
}

}  // namespace

// Tests run side by side: a line that is written at once to a file opened for appending stays whole.
void note_format(const std::string &format) {
  static const char *const path = std::getenv("ZAR_TRACED_FORMATS");
  static std::unordered_set<std::string> noted;
  if (path == nullptr || !noted.insert(format).second) return;
  std::FILE *file = std::fopen(path, "a");
  if (file == nullptr) return;
  std::fputs(on_one_line(format).c_str(), file);
  std::fclose(file);
}

}  // namespace rig
