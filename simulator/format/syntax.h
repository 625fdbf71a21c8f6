// A policy file as it is written: every value with its text, every comment, every empty line.
//
// The YAML parser drops comments, quotes and anchors, so its tree cannot be written back. But its events say exactly
// which values the text holds, in which order and how they are nested. This reader follows the text with the events as a
// guide: it never decides what a text means, only where the value that the next event describes ends. A text that does
// not fit its events is refused, so a disagreement with the parser cannot change a file.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "simulator/policy/diagnostics.h"
#include "simulator/policy/source.h"

namespace simulator::format {

struct Comment {
  std::string text{};         // from '#' on, without blanks at the end
  bool own_line = false;      // else it ends a line
  bool blank_before = false;  // an empty line separates it from what precedes
  size_t column = 0;          // of a comment on a line of its own, from 0
  size_t distance = 0;        // the blanks between what precedes it on its line and the comment
};

// What stands in front of a value: comments, and perhaps an empty line behind the last one.
struct Gap {
  std::vector<Comment> comments{};
  bool blank = false;
};

enum class Shape : uint8_t {
  nothing,     // a value that is left out
  text,        // a scalar in one of the three flow styles, or an alias
  block_text,  // a scalar whose lines follow '|' or '>'
  list,
  mapping,
};

struct Entry;

struct Node {
  Shape shape = Shape::nothing;
  std::string anchor{};
  std::string value{};  // of a scalar: what it means
  std::vector<std::string>
      lines{};                  // of a scalar, as written, without their indentation; first the header of a block_text
  size_t indicator = 0;         // of a block_text: the indentation that its header gives, if it gives one
  bool plain = false;           // a scalar without quotes
  bool in_brackets = false;     // a list or mapping in brackets
  bool on_lines = false;        // the brackets are not on the same line
  std::vector<Entry> entries;   // of a list or mapping
  std::vector<Comment> last{};  // comments behind the last entry
};

struct Entry {
  Gap before{};
  Node key{};                      // only in a mapping
  std::vector<Comment> between{};  // between the key or dash and the value
  Node value{};
};

// A line that begins or ends a document: a directive, dashes or dots.
struct Marker {
  Gap before{};
  std::string text{};
};

struct Syntax {
  std::vector<Marker> head{};
  Entry root{};
  std::vector<Marker> tail{};
  std::vector<Comment> last{};
  std::vector<std::string> comments{};  // the texts of all comments, in order
};

// Reads a text without carriage returns that is one YAML document. Returns nothing when something in it cannot be laid
// out anew without risk; 'diagnostics' then says what.
std::optional<Syntax> read_syntax(const Source &source, Diagnostics &diagnostics);

}  // namespace simulator::format
