// The settings of the trace in the environment, for hosts that have nothing but the installed runtime. They are read
// once, when the runtime is loaded; a program that runs with the rights of another user ignores them.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "host/runtime/control.h"

namespace runtime {

namespace {

constexpr uint32_t kErrors = 1u << 3, kErrorsAndInformation = kErrors | 1u << 6;
constexpr unsigned long kMostKeptLines = 1000000;

std::string setting(const char *name) {
  const char *value = secure_getenv(name);
  return value ? value : "";
}

void refuse(const char *name, const std::string &value, const char *expected) {
  std::fprintf(stderr, "zar: the setting %s=%s is ignored: %s\n", name, value.c_str(), expected);
}

std::vector<std::string> words_of(const std::string &list) {
  std::vector<std::string> words;
  for (size_t begin = 0, end = 0; begin < list.size(); begin = end + 1) {
    end = std::min(list.find(',', begin), list.size());
    if (end > begin) words.push_back(list.substr(begin, end - begin));
  }
  return words;
}

void set_levels(const std::string &value) {
  if (value == "error") return want_trace_levels(kErrors);
  if (value == "info") return want_trace_levels(kErrorsAndInformation);
  refuse("ZAR_TRACE", value, "it is error, or info for both levels");
}

// True if lines are kept.
bool set_kept_lines(const std::string &value) {
  char *end = nullptr;
  const unsigned long n_lines = std::strtoul(value.c_str(), &end, 10);
  if (value[0] < '0' || value[0] > '9' || *end != '\0' || n_lines == 0 || n_lines > kMostKeptLines) {
    refuse("ZAR_TRACE_KEEP", value, "it is a number of lines from 1 to 1000000");
    return false;
  }
  if (!keep_trace_lines(n_lines)) refuse("ZAR_TRACE_KEEP", value, "there is no memory for this number of lines");
  return true;
}

void set_sink(const std::string &value) {
  if (value == "stderr") return trace_to_stderr(true);
  if (!trace_to_file(value)) refuse("ZAR_TRACE_TO", value, "the file cannot be opened; it is stderr or a file");
}

[[gnu::constructor]] void read_settings() {
  const std::string levels = setting("ZAR_TRACE"), kept = setting("ZAR_TRACE_KEEP"), sink = setting("ZAR_TRACE_TO");
  if (!levels.empty()) set_levels(levels);
  const bool keeps = !kept.empty() && set_kept_lines(kept);
  if (!sink.empty() || (!levels.empty() && !keeps)) set_sink(sink.empty() ? "stderr" : sink);
  filter_trace({.only = words_of(setting("ZAR_TRACE_ONLY")), .without = words_of(setting("ZAR_TRACE_WITHOUT"))});
}

}  // namespace

}  // namespace runtime
