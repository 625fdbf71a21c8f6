#include "command/trace_levels.h"

#include <cstdint>

#include "runtime/control.h"

namespace command {

namespace {

constexpr uint32_t kErrors = 1U << 3;
constexpr uint32_t kInfos = 1U << 6;

uint32_t bits_of(std::string_view level) {
  if (level == "error") return kErrors;
  return level == "info" ? kErrors | kInfos : 0;
}

}  // namespace

void show_trace(std::string_view level) {
  runtime::want_trace_levels(bits_of(level));
  runtime::trace_to_stderr(!level.empty());
}

}  // namespace command
