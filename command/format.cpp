#include "command/format.h"

#include <iostream>

#include "command/exit_codes.h"
#include "command/json_output.h"
#include "simulator/findings/github.h"
#include "simulator/findings/sarif.h"

using namespace simulator;

namespace command {

void FormatOption::declare(Options &options) {
  options.choice("--format", "FORMAT", word_, {"text", "json", "sarif", "github"},
                 "How to write it: text, json, sarif (2.1.0) or github (annotations)");
  options.flag("--json", json_, "Write one JSON object, errors included; the same as --format json");
  options.exclude("--json", "--format");
}

Format FormatOption::format() const {
  if (json_ || word_ == "json") return Format::json;
  if (word_ == "sarif") return Format::sarif;
  return word_ == "github" ? Format::github : Format::text;
}

void print_report(const findings::Report &report, Format format, int code) {
  if (format == Format::sarif) print_json(std::cout, findings::sarif_of(report, code != kInternal));
  if (format == Format::github) std::cout << findings::github_of(report);
}

}  // namespace command
