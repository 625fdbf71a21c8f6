// The differences between two texts, line by line.
#pragma once

#include <string>
#include <string_view>

namespace simulator::format {

// In the unified format that patch reads, with three lines of context; empty for equal texts. 'name' names both texts.
std::string unified_diff(std::string_view name, std::string_view before, std::string_view after);

}  // namespace simulator::format
