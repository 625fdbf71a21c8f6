#include "core/names.h"

namespace zar {

// Built by hand: it stands in front of every look-up by name, where formatting would cost more than the search.
NameKey::NameKey(const zar_map_info &info) {
  append(info.map_name);
  append(':');
  append(info.domain);
  append(':');
  append_number(info.domain_type);
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

// As a signed decimal number.
void NameKey::append_number(uint32_t number) {
  constexpr uint32_t kMostDigits = 11;
  char digits[kMostDigits + 1];
  char *digit = digits + kMostDigits;
  *digit = '\0';
  bool negative = static_cast<int32_t>(number) < 0;
  uint32_t rest = negative ? 0 - number : number;
  do {
    *--digit = static_cast<char>('0' + rest % 10);
    rest /= 10;
  } while (rest != 0);
  if (negative) *--digit = '-';
  append(digit);
}

void clear(void *memory, size_t size) {
  std::memset(memory, 0, size);
}

}  // namespace zar
