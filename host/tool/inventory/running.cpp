#include "tool/inventory/running.h"

#include "tool/exit_codes.h"
#include "tool/inventory/read.h"
#include "tool/policy/text.h"
#include "tool/report.h"

namespace tool::inventory {

std::optional<PolicyFile> read_or_complain() {
  std::string problem;
  std::optional<PolicyFile> running = read(problem);
  if (!running) complain(text_of("internal error: ", problem));
  return running;
}

std::optional<PolicyFile> read_back(const PolicyFile &file) {
  Repository repository(file);
  std::optional<PolicyFile> running;
  if (repository.build()) running = read_or_complain();
  if (finish(repository) != kSuccess) return std::nullopt;
  if (running) running->path = file.path;
  return running;
}

}  // namespace tool::inventory
