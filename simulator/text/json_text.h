// JSON as text, for output that is too much for trees of JSON values.
#pragma once

#include <string>
#include <string_view>

namespace simulator {

// Appends 'text', which is UTF-8, as a JSON string.
void append_json_string(std::string &out, std::string_view text);

}  // namespace simulator
