#include "command/report.h"

#include <exception>
#include <iostream>

#include "command/exit_codes.h"
#include "command/terminal.h"
#include "simulator/text/text.h"

using namespace simulator;

namespace command {

namespace {

std::string &origin() {
  static std::string text = "zar";
  return text;
}

}  // namespace

void complain(std::string_view text) {
  std::cerr << escape_control_characters(concat(origin(), ": ", text)) << '\n';
}

void complain(const Complaints &complaints) {
  for (const std::string &complaint : complaints)
    complain(complaint);
}

void complain_from(std::string from) {
  origin() = std::move(from);
}

void report(const Diagnostics &diagnostics, const Source &source) {
  std::cerr << render(diagnostics, source, terminal::colours(terminal::Stream::err));
}

int report_internal(const Complaints &problems) {
  for (const std::string &problem : problems)
    complain(concat("internal error: ", problem));
  return problems.empty() ? kSuccess : kInternal;
}

int work_on_one(const std::function<int()> &work) {
  try {
    return work();
  } catch (const std::exception &error) {
    return report_internal({error.what()});
  }
}

int finish(Repository &repository) {
  return report_internal(repository.finish());
}

}  // namespace command
