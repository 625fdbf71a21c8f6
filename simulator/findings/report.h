// What is wrong with policy files, in the form that programs of others read: the errors of files that do not load, and
// the findings of lint in files that do. Each converts its own to this; each format is written from this.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace simulator::findings {

enum class Level : uint8_t { error, warning, note };

struct Place {
  std::string file{};   // its path
  uint32_t line = 0;    // from 1; 0: the file as a whole
  uint32_t column = 0;  // from 1, in characters
};

// Another place that a finding follows from.
struct Related {
  Place place{};
  std::string message{};
};

struct Finding {
  std::string rule{};  // which kind of finding it is, the same in every version: "unused-class"
  Level level = Level::error;
  std::string message{};
  std::vector<std::string> notes{};  // further sentences: what was expected, an example
  Place place{};
  std::vector<Related> related{};
  std::optional<std::string> ignored_because{};  // the reason that a comment of the file gives, if one ignores it
};

struct Report {
  std::vector<Finding> findings{};
  std::vector<std::string> remarks{};  // about the report: that it is not complete
};

// The message and its notes, a line for each.
std::string full_message(const Finding &finding);

}  // namespace simulator::findings
