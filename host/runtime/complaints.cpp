#include <cstdarg>
#include <cstdio>
#include <new>

#include "host/runtime/monitor.h"

namespace runtime {

namespace {

struct Complaints {
  std::vector<std::string> texts;
};

}  // namespace

void complain(const char *format, ...) noexcept {
  char text[512];
  va_list values;
  va_start(values, format);
  std::vsnprintf(text, sizeof text, format, values);
  va_end(values);
  try {
    immortal<Complaints>().texts.emplace_back(text);
  } catch (const std::bad_alloc &) {
    // The service still refuses the request; only the complaint is lost.
  }
}

const std::vector<std::string> &complaints() {
  return immortal<Complaints>().texts;
}

void clear_complaints() {
  immortal<Complaints>().texts.clear();
}

}  // namespace runtime
