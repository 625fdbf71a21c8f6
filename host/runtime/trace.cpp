#include <fnmatch.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <new>

#include "host/runtime/kept_trace.h"
#include "host/runtime/monitor.h"
#include "host/runtime/services.h"

namespace runtime {

namespace {

// A separate variable, so that the test of a level is one load and one test while the trace is off.
constinit uint32_t wanted_levels = 0;

constexpr uint32_t kLevels = 32;

struct CloseFile {
  void operator()(std::FILE *file) const { std::fclose(file); }
};

struct Sinks {
  bool to_stderr = false;
  std::unique_ptr<std::FILE, CloseFile> file;
  std::function<void(const TraceLine &)> callback;

  bool none() const { return !to_stderr && !file && !callback && kept_trace.capacity == 0; }
};

Sinks &sinks() {
  return immortal<Sinks>();
}

TraceFilter &the_filter() {
  return immortal<TraceFilter>();
}

bool matches_any(const std::vector<std::string> &patterns, const TraceTopic &topic) {
  return std::any_of(patterns.begin(), patterns.end(), [&topic](const std::string &pattern) {
    return fnmatch(pattern.c_str(), topic.subject, 0) == 0 || fnmatch(pattern.c_str(), topic.category, 0) == 0;
  });
}

bool passes(const TraceTopic &topic) {
  const TraceFilter &filter = the_filter();
  return (filter.only.empty() || matches_any(filter.only, topic)) && !matches_any(filter.without, topic);
}

[[gnu::format(printf, 1, 0)]] std::string formatted(const char *format, va_list values) {
  va_list again;
  va_copy(again, values);
  int length = std::vsnprintf(nullptr, 0, format, again);
  va_end(again);
  if (length < 0) return format;
  std::string text(static_cast<size_t>(length), '\0');
  std::vsnprintf(text.data(), text.size() + 1, format, values);
  return text;
}

// Some messages end in a newline and some do not; in a stream each has its own line.
void write_line(std::FILE *stream, const std::string &text) {
  std::fputs(text.c_str(), stream);
  if (text.empty() || text.back() != '\n') std::fputc('\n', stream);
  std::fflush(stream);
}

void emit(const TraceLine &line) {
  const TraceTopic topic = topic_of(line.text.c_str());
  if (!passes(topic)) return;
  keep_line(line.level, line.text.c_str(), line.text.size(), topic);
  if (sinks().to_stderr) write_line(stderr, line.text);
  if (sinks().file) write_line(sinks().file.get(), line.text);
  // A copy, since the callback may set another one.
  if (auto callback = sinks().callback) callback(line);
}

}  // namespace

void want_trace_levels(uint32_t bits) {
  wanted_levels = bits;
}

uint32_t wanted_trace_levels() {
  return wanted_levels;
}

void trace_to_stderr(bool on) {
  sinks().to_stderr = on;
}

bool trace_to_file(const std::string &path) {
  sinks().file.reset(path.empty() ? nullptr : std::fopen(path.c_str(), "a"));
  return path.empty() || sinks().file;
}

void trace_to(std::function<void(const TraceLine &)> sink) {
  sinks().callback = std::move(sink);
}

void filter_trace(TraceFilter filter) {
  the_filter() = std::move(filter);
}

}  // namespace runtime

using namespace runtime;

uint32_t btrace_module_test(uint32_t, uint32_t level) {
  if (wanted_levels == 0) [[likely]]
    return 0;
  return level < kLevels && (wanted_levels >> level & 1) != 0;
}

void btrace_wrapper(uint32_t module, uint32_t level, uint32_t reserved, const char *format, ...) {
  if (reserved != 0) complain("a message of level %u came with %u in the reserved place", level, reserved);
  if (btrace_module_test(module, level) == 0 || sinks().none() || !format) return;
  va_list values;
  va_start(values, format);
  try {
    emit({module, level, format, formatted(format, values)});
  } catch (const std::bad_alloc &) {
    // A message is lost if there is no memory for it.
  }
  va_end(values);
}
