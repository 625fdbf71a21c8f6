#include "command/report.h"

#include <unistd.h>

#include <cstdlib>
#include <exception>
#include <iostream>
#include <new>

#include "command/exit_codes.h"
#include "command/terminal.h"
#include "runtime/control.h"
#include "simulator/text/files.h"
#include "simulator/text/text.h"

using namespace simulator;

namespace command {

namespace {

constexpr std::string_view kOutOfMemory = "out of memory";

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

int report_out_of_memory() {
  complain(kOutOfMemory);
  return kInternal;
}

void end_when_out_of_memory() {
  std::set_new_handler([] {
    // Nothing here may allocate. If the message cannot be written, nobody can be informed.
    constexpr std::string_view kMessage = "zar: out of memory\n";
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, kMessage.data(), kMessage.size());
    std::_Exit(kInternal);
  });
}

int report_internal(const Complaints &problems) {
  if (!problems.empty() && runtime::requests_out_of_memory() != 0) return report_out_of_memory();
  for (const std::string &problem : problems)
    complain(concat("internal error: ", problem));
  return problems.empty() ? kSuccess : kInternal;
}

int write_result(const std::string &path, std::string_view text) {
  const std::optional<std::string> problem = write_whole(path, text);
  if (!problem) return kSuccess;
  complain(concat(escape_control_characters(path), " cannot be written: ", *problem));
  return kInternal;
}

int work_on_one(const std::function<int()> &work) {
  try {
    return work();
  } catch (const std::bad_alloc &) {
    return report_out_of_memory();
  } catch (const std::exception &error) {
    return report_internal({error.what()});
  }
}

int finish(Repository &repository) {
  return report_internal(repository.finish());
}

}  // namespace command
