// Converts the text of a filter that a person types, such as "not role equals guest".
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "simulator/policy/model.h"
#include "simulator/text/text.h"

namespace simulator {

// It reads what filter_text writes. Nothing when the text is no filter, or none of the files has the attribute;
// 'complaints' then says so.
std::optional<Filter> parse_condition(const std::string &text, const std::vector<const PolicyFile *> &files,
                                      Complaints &complaints);

}  // namespace simulator
