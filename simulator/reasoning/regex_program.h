// The regular expressions of filters, as programs that can be reasoned about.
//
// RE2 answers whether one text matches one expression. A proof has to know whether there is a text at all that matches some
// expressions and not others, so they are compiled here, in RE2's syntax, to a nondeterministic automaton over bytes.
// Expressions with Unicode properties (\p), single bytes (\C), or letters outside ASCII whose case does not matter are
// not compiled; neither are very large ones.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace simulator::reasoning {

// A condition on a place between two bytes, or at an end of the text.
enum class Edge : uint8_t { text_begin, text_end, line_begin, line_end, word_edge, no_word_edge };

struct Instruction {
  enum class Kind : uint8_t {
    bytes,  // takes a byte from 'low' to 'high' and goes on at 'next'
    split,  // goes on at 'next' and at 'other'
    edge,   // goes on at 'next' where the condition holds
    match,  // the text matches
  };
  Kind kind = Kind::match;
  uint8_t low = 0;
  uint8_t high = 0;
  Edge edge = Edge::text_begin;
  uint32_t next = 0;
  uint32_t other = 0;
};

struct RegexProgram {
  std::vector<Instruction> instructions{};
  uint32_t start = 0;
};

// The pattern must be one that RE2 accepts. Nothing when it is one of these.
std::optional<RegexProgram> compile_regex(std::string_view pattern);

}  // namespace simulator::reasoning
