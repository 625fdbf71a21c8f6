// The key of a map as a good engineer would build it: in a buffer on the stack, without a formatter.
#pragma once

#include <algorithm>
#include <charconv>
#include <cstring>
#include <string_view>

#include "zar/types.h"

namespace bench {

class Key {
 public:
  explicit Key(const zar_map_info &info) {
    append(info.map_name);
    append(":");
    append(info.domain);
    append(":");
    char digits[12];
    auto end = std::to_chars(digits, digits + sizeof digits, static_cast<int32_t>(info.domain_type)).ptr;
    append({digits, static_cast<size_t>(end - digits)});
    text_[length_] = '\0';
  }
  std::string_view view() const { return {text_, length_}; }
  char *text() { return text_; }

 private:
  static constexpr size_t kMostCharacters = 99;

  void append(std::string_view part) {
    size_t fitting = std::min(part.size(), kMostCharacters - length_);
    std::memcpy(text_ + length_, part.data(), fitting);
    length_ += fitting;
  }

  char text_[kMostCharacters + 1];
  size_t length_ = 0;
};

}  // namespace bench
