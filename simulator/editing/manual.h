// What the manual says about the keys of policy files.
#pragma once

#include <string>

#include "simulator/editing/grammar.h"

namespace simulator::editing {

// The text of zar-policy(5), in the language of its source.
extern const char *const kManual;

// The entry of the manual for a key of a mapping, or for what the mapping is a part of, in Markdown.
std::string manual_of(const Shape &shape, const Shape::Key &key);

}  // namespace simulator::editing
