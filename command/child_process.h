// Work in a process of its own: a process has one repository in its life.
#pragma once

#include <functional>
#include <ostream>
#include <string>

namespace command {

struct Apart {
  int code = 0;        // what 'work' answered; kInternal when its process could not be started or broke down
  std::string answer;  // what 'work' wrote to its stream
};

// Runs 'work' in a process that begins as a copy of this one and ends with it. Nothing of what it changes is seen here but
// its answer. 'name' stands for it in messages.
Apart run_in_child_process(const std::string &name, const std::function<int(std::ostream &answer)> &work);

}  // namespace command
