// The formats in which sub-commands write what is wrong with policy files.
#pragma once

#include <cstdint>
#include <string>

#include "command/options.h"
#include "simulator/findings/report.h"

namespace command {

enum class Format : uint8_t { text, json, sarif, github };

// The options --format and --json, which is short for one of them.
class FormatOption {
 public:
  void declare(Options &options);
  Format format() const;

 private:
  std::string word_ = "text";
  bool json_ = false;
};

// Prints a report in one of the formats for other programs. 'code' is the exit code of the command.
void print_report(const simulator::findings::Report &report, Format format, int code);

}  // namespace command
