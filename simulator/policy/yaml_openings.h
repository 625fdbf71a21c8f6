// The brackets and quotes of a YAML text, for errors in texts that cannot be parsed: the parser notices a bracket or a
// quote that is never closed only where the text goes on wrongly, often at its end.
//
// This reads only what is needed to find brackets and quotes: comments, texts in quotes, blocks of text, and where a
// value can begin. It accepts any text, so only what the parser has refused can depend on it.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace simulator::yaml {

struct Openings {
  // Offsets of the brackets that are open at the end of the text, from outside in.
  std::vector<size_t> brackets;
  // Of the quote that is open there.
  std::optional<size_t> quote;
  // The last text in quotes that ended: its first quote, and the end behind its last one.
  struct Quoted {
    size_t begin;
    size_t end;
  };
  std::optional<Quoted> last_quoted;
};

Openings find_openings(std::string_view text);

// The end of the text in quotes that begins at this offset; nothing if it has none.
std::optional<size_t> end_of_quoted(std::string_view text, size_t begin);

}  // namespace simulator::yaml
