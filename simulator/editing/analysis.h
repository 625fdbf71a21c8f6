// A text of an editor as the loader understands it, also while it is broken: then the lines around the mistake are left
// out, and the rest is read as usual.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "simulator/editing/outline.h"
#include "simulator/editing/text.h"
#include "simulator/policy/load.h"
#include "simulator/policy/model.h"

namespace simulator::editing {

struct RelatedPlace {
  Span span{};
  std::string message{};
};

enum class Severity : uint8_t { error = 1, warning = 2, information = 3 };

// Something to show to the person who edits the text.
struct Problem {
  Span span{};
  Severity severity = Severity::error;
  std::string code{};  // of lint: the kind of the finding; empty for errors
  std::string message{};
  std::string suggestion{};  // what should probably stand there; may be empty
  std::vector<RelatedPlace> related{};
};

struct Analysis {
  Outline outline{};
  std::optional<PolicyFile> file{};  // if there are no errors
  std::vector<Problem> problems{};   // what check reports
};

// 'edited_at' is where the text was changed last: the first place to look for a mistake.
Analysis analyse(const std::string &name, const std::string &text, std::optional<size_t> edited_at);

// The place of a position of a file whose text this is.
Span span_at(const Source &source, Position position);

}  // namespace simulator::editing
