#include "support/trace.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "platform/engine.h"
#include "support/traced_formats.h"

namespace rig {
namespace {

constexpr uint32_t kLevels = 1U << 3 | 1U << 6;
// The runtime's own lines (a queue entry that it has no memory for) come from no module.
constexpr uint32_t kNoModule = 0;

Lines captured;
Lines history;
bool comparisons_heard = false;

bool is_comparison(const runtime::TraceLine &line) {
  return line.format.find(" avl comp, ") != std::string::npos;
}

}  // namespace

bool capture(const runtime::TraceLine &line) {
  if (line.module == kNoModule) return false;
  EXPECT_EQ(line.module, kel_trace_id) << line.text;
  note_format(line.format);
  if (is_comparison(line) && !comparisons_heard) return false;
  captured.push_back({line.level, line.text});
  history.push_back(captured.back());
  return true;
}

std::ostream &operator<<(std::ostream &out, const Line &line) {
  return out << "\n    " << line.level << " | " << line.text;
}

bool untraced() {
  static const bool set = std::getenv("ZAR_TESTS_UNTRACED") != nullptr;
  return set;
}

bool Lines::operator==(const Lines &other) const {
  if (untraced()) return empty() || other.empty();
  return static_cast<const std::vector<Line> &>(*this) == static_cast<const std::vector<Line> &>(other);
}

void start_trace() {
  captured.clear();
  history.clear();
  comparisons_heard = false;
  runtime::want_trace_levels(untraced() ? 0 : kLevels);
  runtime::trace_to(capture);
}

Lines &traced() {
  return captured;
}
Lines take_trace() {
  return std::exchange(captured, {});
}
void forget_trace() {
  captured.clear();
}
const Lines &trace_history() {
  return history;
}

Lines take_errors() {
  Lines lines = take_trace();
  std::erase_if(lines, [](const Line &line) { return line.level != 3; });
  return lines;
}

void hear_comparisons(bool on) {
  comparisons_heard = on;
}

Quiet::Quiet() : lines_(captured.size()), calls_(calls().size()) {}

Quiet::~Quiet() {
  captured.resize(std::min(lines_, captured.size()));
  calls().resize(std::min(calls_, calls().size()));
}

}  // namespace rig
