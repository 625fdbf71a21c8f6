// Characters of a text in UTF-8.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace simulator {

struct Character {
  char32_t code = 0;
  size_t length = 0;  // in bytes; 0: the text does not begin with a character
};

// The character at the front of 'text', which is not empty. Overlong forms, surrogates and everything after the last
// character of Unicode are no characters.
Character front_of(std::string_view text);

// The bytes of a character.
std::string to_utf8(char32_t code);

// Whether the text consists of characters.
bool is_utf8(std::string_view text);

}  // namespace simulator
