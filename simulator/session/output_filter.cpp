#include "simulator/session/output_filter.h"

#include <algorithm>

#include "simulator/policy/pattern.h"

namespace simulator::session {

namespace {

// The words of one filter, without the bar.
std::optional<OutputFilter> read_filter(const std::vector<std::string> &words, Complaints &complaints) {
  constexpr const char *kExpected = "; expected: | include PATTERN, or | exclude PATTERN";
  if (words.empty()) {
    complaints.push_back(concat("there is nothing behind '|'", kExpected));
  } else if (words[0] != "include" && words[0] != "exclude") {
    complaints.push_back(concat(no_such("filter", words[0], {"include", "exclude"}), kExpected));
  } else if (words.size() == 1) {
    complaints.push_back(concat("'", words[0], "' has no pattern", kExpected));
  } else if (words.size() > 2) {
    complaints.push_back(concat("'", words[2], "' is one word too many; a pattern with blanks needs quotes"));
  }
  if (!complaints.empty()) return std::nullopt;

  OutputFilter filter{compile_pattern(words[1]), words[0] == "include"};
  if (filter.pattern->ok()) return filter;
  complaints.push_back(concat("'", words[1], "' is not a regular expression: ", describe(*filter.pattern)));
  return std::nullopt;
}

}  // namespace

std::optional<std::vector<OutputFilter>> take_filters(Line &line, Complaints &complaints) {
  std::vector<OutputFilter> filters;
  const size_t end = line.first_bar();
  for (size_t bar = end; bar < line.words.size();) {
    const size_t next = line.first_bar(bar + 1);
    const auto word = [&](size_t at) { return line.words.begin() + static_cast<std::ptrdiff_t>(at); };
    std::optional<OutputFilter> filter = read_filter(std::vector<std::string>(word(bar + 1), word(next)), complaints);
    if (!filter) return std::nullopt;
    filters.push_back(std::move(*filter));
    bar = next;
  }
  line.words.resize(end);
  line.ends.resize(end);
  line.are_bars.resize(end);
  return filters;
}

std::string filtered(const std::string &text, const std::vector<OutputFilter> &filters) {
  if (filters.empty()) return text;
  std::string kept;
  for (std::string_view rest = text; !rest.empty();) {
    const std::string_view line = rest.substr(0, rest.find('\n'));
    const bool passes = std::all_of(filters.begin(), filters.end(), [&](const OutputFilter &filter) {
      return RE2::PartialMatch({line.data(), line.size()}, *filter.pattern) == filter.keeps;
    });
    if (passes) kept += concat(line, "\n");
    rest.remove_prefix(std::min(rest.size(), line.size() + 1));
  }
  return kept;
}

}  // namespace simulator::session
