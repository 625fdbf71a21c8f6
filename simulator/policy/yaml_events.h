// The parser's events for a policy file: for code that follows the text from one value to the next.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "simulator/policy/source.h"

namespace simulator::yaml {

enum class EventKind : uint8_t { null, scalar, alias, list, mapping, end };

struct Event {
  EventKind kind = EventKind::null;
  bool has_anchor = false;
  std::string text{};  // of a scalar
};

// Of a text that is one YAML document; throws an exception for any other. A list and a mapping end with an event of
// their own; a mapping has a key and a value in turn.
std::vector<Event> events_of(const Source &source);

}  // namespace simulator::yaml
