#include "command/serve_log.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <ctime>
#include <stdexcept>

#include "command/report.h"
#include "simulator/text/json_object.h"
#include "simulator/text/text.h"

using namespace simulator;

namespace command {

namespace {

// As RFC 3339 has it, in UTC.
std::string time_now() {
  using namespace std::chrono;
  const auto now = system_clock::now();
  const std::time_t seconds = system_clock::to_time_t(now);
  const auto milliseconds = duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
  std::tm parts{};
  gmtime_r(&seconds, &parts);
  char text[32];
  const size_t length = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S.", &parts);
  const std::string fraction = std::to_string(1000 + milliseconds).substr(1);
  return std::string(text, length) + fraction + "Z";
}

}  // namespace

ServeLog::ServeLog(const std::string &path) {
  if (path.empty()) return;
  descriptor_ = open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (descriptor_ < 0) throw std::runtime_error(concat(path, ": ", std::strerror(errno)));
}

ServeLog::~ServeLog() {
  if (is_open()) close(descriptor_);
}

void ServeLog::write(const char *event, const Json &rest) {
  if (!is_open()) return;
  Json entry;
  entry["time"] = time_now();
  entry["event"] = event;
  entry.update(rest);
  const std::string line = concat(compact_text(entry), "\n");
  // One call for a line, so that lines of several servers do not mix.
  if (::write(descriptor_, line.data(), line.size()) == static_cast<ssize_t>(line.size()) || has_failed_) return;
  has_failed_ = true;
  complain(concat("the log cannot be written: ", std::strerror(errno)));
}

}  // namespace command
