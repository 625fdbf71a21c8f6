// A process that checks and studies a text, so that this one can go on answering, and can drop the work at any time.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>

#include "simulator/language_server/server.h"

namespace command {

class StudyProcess {
 public:
  // Starts it. The study may take this many seconds of computing time.
  StudyProcess(simulator::language_server::Order order, uint32_t effort);
  // Ends it, whatever it is doing.
  ~StudyProcess();
  StudyProcess(const StudyProcess &) = delete;
  StudyProcess &operator=(const StudyProcess &) = delete;

  const simulator::language_server::Order &order() const { return order_; }
  // Readable when there is something to receive.
  int descriptor() const { return results_; }
  // Gives the server what has arrived. False when nothing more will come.
  bool receive(simulator::language_server::Server &server);

 private:
  void deliver(std::string_view line, simulator::language_server::Server &server);

  simulator::language_server::Order order_;
  pid_t process_ = -1;
  int results_ = -1;
  std::string received_;
  bool is_complete_ = false;
};

}  // namespace command
