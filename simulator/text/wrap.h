// Lines that fit a narrow terminal.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace simulator {

// 'line', without a newline at its end, broken at blanks into lines of at most 'width' columns; a longer word is broken
// too. All but the first are indented by 'indent', or by half the width if that is less. A width of 0 is no limit.
std::string wrapped(std::string_view line, size_t width, size_t indent);

// All lines of 'text', each wrapped; what does not fit is indented deeper than its line.
std::string wrapped_lines(std::string_view text, size_t width);

}  // namespace simulator
