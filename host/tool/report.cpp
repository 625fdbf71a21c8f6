#include "tool/report.h"

#include <iostream>

#include "tool/exit_codes.h"
#include "tool/policy/text.h"

namespace tool {

void complain(std::string_view text) {
  std::cerr << "zar: " << text << '\n';
}

int finish(Repository &repository) {
  repository.tear_down();
  for (const std::string &problem : repository.problems())
    complain(text_of("internal error: ", problem));
  return repository.problems().empty() ? kSuccess : kInternal;
}

}  // namespace tool
