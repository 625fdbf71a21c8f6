// Texts under each other in columns.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace simulator {

// The text with blanks after it, up to the width.
std::string padded(std::string_view text, size_t width);

// Words side by side, sorted down the columns, in lines of at most this width. A longer word has a line of its own.
std::string in_columns(const std::vector<std::string> &words, size_t width);

}  // namespace simulator
