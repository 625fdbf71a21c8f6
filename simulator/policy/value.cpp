#include "simulator/policy/value.h"

#include "simulator/text/text.h"
#include "simulator/text/utf8.h"

namespace simulator {

std::optional<BadValue> check_value(std::string_view text) {
  if (text.size() > kMaxValue)
    return BadValue{concat("a value of ", text.size(), " bytes"), concat("at most ", kMaxValue, " bytes")};
  if (!is_utf8(text)) return BadValue{"a value that is not UTF-8", "text in UTF-8"};
  return std::nullopt;
}

}  // namespace simulator
