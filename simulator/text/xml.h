// Texts inside XML.
#pragma once

#include <string>
#include <string_view>

namespace simulator {

// 'text' for the content of an element or for the value of an attribute in double quotes, in a document in UTF-8. What
// no XML document may contain is written as in messages (control characters, as \x1b) or replaced by U+FFFD.
std::string xml_text(std::string_view text);

}  // namespace simulator
