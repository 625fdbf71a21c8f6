// Formatting policy files: the canonical layout, and the proof that it changed nothing else.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "simulator/policy/model.h"
#include "simulator/policy/source.h"
#include "simulator/text/text.h"

namespace simulator::format {

// The text of 'source', from which 'file' was loaded, in the canonical layout. Returns nothing when the source holds
// something that cannot be laid out, which 'diagnostics' then names, or when the new text would not load to the same
// objects, scenario and tests with the same comments: that is a defect of the formatter, and 'defects' says what differs.
std::optional<std::string> formatted(const Source &source, const PolicyFile &file, Diagnostics &diagnostics,
                                     Complaints &defects);

// The texts of all comments of a source that loads, in order.
std::vector<std::string> comments_of(const Source &source);

}  // namespace simulator::format
