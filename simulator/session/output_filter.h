// Filters of what a command shows: "| include PATTERN" keeps the lines that match, "| exclude PATTERN" the others.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "simulator/session/words.h"
#include "simulator/text/text.h"

namespace re2 {
class RE2;
}

namespace simulator::session {

struct OutputFilter {
  std::shared_ptr<const re2::RE2> pattern;
  bool keeps = true;  // the lines that match
};

// Takes the filters from the end of a line. Nothing when one of them is wrong; 'complaints' then says what.
std::optional<std::vector<OutputFilter>> take_filters(Line &line, Complaints &complaints);

// The lines of a text that pass all filters.
std::string filtered(const std::string &text, const std::vector<OutputFilter> &filters);

}  // namespace simulator::session
