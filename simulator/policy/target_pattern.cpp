#include "simulator/policy/target_pattern.h"

#include <optional>

#include "simulator/policy/step_text.h"

namespace simulator {

// Goes back only to the last *: what an earlier one stands for never has to change again.
bool fits(std::string_view text, std::string_view pattern) {
  size_t at = 0;
  size_t next = 0;
  size_t after_star = std::string_view::npos;
  size_t star_ends = 0;
  while (at < text.size()) {
    if (next < pattern.size() && pattern[next] == '*') {
      after_star = ++next;
      star_ends = at;
    } else if (next < pattern.size() && pattern[next] == text[at]) {
      ++at;
      ++next;
    } else if (after_star != std::string_view::npos) {
      next = after_star;
      at = ++star_ends;
    } else {
      return false;
    }
  }
  return pattern.find_first_not_of('*', next) == std::string_view::npos;
}

bool has_pattern(std::string_view event) {
  const size_t at = event.find('@');
  return at != std::string_view::npos && event.find('*', at) != std::string_view::npos;
}

std::vector<Step> parse_events(const std::string &text, const PolicyFile &file, Complaints &complaints) {
  if (!has_pattern(text)) {
    std::optional<Step> step = parse_event(text, file, complaints);
    return step ? std::vector<Step>{std::move(*step)} : std::vector<Step>{};
  }
  const size_t at = text.find('@');
  const std::string_view pattern = std::string_view(text).substr(at + 1);
  std::vector<Step> steps;
  for (const Target &target : file.targets) {
    if (!fits(target.name.value, pattern)) continue;
    std::optional<Step> step = parse_event(concat(text.substr(0, at + 1), target.name.value), file, complaints);
    // The event is wrong on every target.
    if (!step) return {};
    steps.push_back(std::move(*step));
  }
  if (steps.empty()) complaints.push_back(concat("no target of ", file.path, " fits '", pattern, "'"));
  return steps;
}

}  // namespace simulator
