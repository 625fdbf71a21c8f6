// The log of zar serve: a JSON object in a line for each request, and for each event of a connection.
#pragma once

#include <string>

#include "simulator/text/json.h"

namespace command {

class ServeLog {
 public:
  // Appends to the file, which it makes for its owner alone; an empty path: nothing is logged. Throws runtime_error if
  // the file cannot be opened.
  explicit ServeLog(const std::string &path);
  ~ServeLog();
  ServeLog(const ServeLog &) = delete;
  ServeLog &operator=(const ServeLog &) = delete;

  bool is_open() const { return descriptor_ >= 0; }
  int descriptor() const { return descriptor_; }
  // Adds the time and the event to 'rest', which is an object. A log that cannot be written is reported once.
  void write(const char *event, const simulator::Json &rest);

 private:
  int descriptor_ = -1;
  bool has_failed_ = false;
};

}  // namespace command
