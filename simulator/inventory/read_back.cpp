#include "simulator/inventory/read_back.h"

#include "simulator/inventory/read.h"
#include "simulator/repository/repository.h"

namespace simulator::inventory {

std::optional<PolicyFile> read_back(const PolicyFile &file, Complaints &problems) {
  Repository repository(file);
  std::optional<PolicyFile> running;
  if (repository.build()) running = read(repository, problems);
  for (const std::string &problem : repository.finish())
    problems.push_back(problem);
  if (!problems.empty()) return std::nullopt;
  running->path = file.path;
  return running;
}

}  // namespace simulator::inventory
