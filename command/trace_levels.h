// Selects which of the library's own messages are shown.
#pragma once

#include <string_view>

namespace command {

// "error", "info" for all, or an empty text for none; they go to standard error.
void show_trace(std::string_view level);

}  // namespace command
