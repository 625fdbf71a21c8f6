// What is known about something in a policy file, for a person that points at it.
#pragma once

#include <optional>
#include <string>

#include "simulator/editing/outline.h"
#include "simulator/policy/model.h"

namespace simulator::editing {

struct Hover {
  Span span{};
  std::string text{};  // Markdown
};

// 'file' is the file as it was valid last; NULL if it never was.
std::optional<Hover> hover_at(const Outline &outline, size_t offset, const PolicyFile *file);

// The verdicts that the rules of an event can decide: "decides permit or deny", "decides nothing".
std::string decisions_of(const EventRules &event);

}  // namespace simulator::editing
