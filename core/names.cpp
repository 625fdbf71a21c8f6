#include "core/names.h"

namespace zar {

// Built by hand: every look-up by name begins with it, and formatting would cost more than the search.
NameKey::NameKey(const zar_map_info &info) {
  append(info.map_name);
  append(':');
  append(info.domain);
  append(':');
  append(static_cast<char>('0' + info.domain_type));  // callers have verified that it is one digit
  text_[length_] = '\0';
}

void NameKey::append(const char *text) {
  size_t fitting = strnlen(text, kSize - 1 - length_);
  std::memcpy(text_ + length_, text, fitting);
  length_ += fitting;
}

void NameKey::append(char character) {
  if (length_ < kSize - 1) text_[length_++] = character;
}

}  // namespace zar
