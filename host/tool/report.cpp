#include "tool/report.h"

#include <iostream>

#include "tool/exit_codes.h"
#include "tool/policy/text.h"

namespace tool {

namespace {

std::string &origin() {
  static std::string text = "zar";
  return text;
}

}  // namespace

void complain(std::string_view text) {
  std::cerr << harmless(text_of(origin(), ": ", text)) << '\n';
}

void complain_from(std::string from) {
  origin() = std::move(from);
}

int finish(Repository &repository) {
  repository.tear_down();
  for (const std::string &problem : repository.problems())
    complain(text_of("internal error: ", problem));
  return repository.problems().empty() ? kSuccess : kInternal;
}

}  // namespace tool
