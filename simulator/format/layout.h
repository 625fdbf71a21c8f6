// The canonical layout of policy files.
//
// - Two blanks of indentation, also in front of the dashes of a list; no blanks at the end of a line; at most one empty
//   line in a row, and none where a file or block begins or ends.
// - A list or mapping in brackets is written [a, b] and {a: b, c: d}. It stays in brackets when the author wrote it on
//   one line and it fits, with what is in front of it, into 120 columns; otherwise its entries get lines of their own.
// - Filters, ranges, what 'set' and 'clear' change and the policies of a target are in brackets whenever they fit, since
//   a file has many of them and each is short.
// - What is on lines of its own otherwise remains there: the author knows best which objects deserve the room.
// - Values keep their quotes. A text of several lines keeps its lines.
// - A comment on a line of its own is indented like what follows or, at the end of a block, like the block. A comment at
//   the end of a line keeps the blanks in front of it, at least two, so that comments in a column remain there.
#pragma once

#include <string>

#include "simulator/format/syntax.h"

namespace simulator::format {

std::string lay_out(const Syntax &syntax);

}  // namespace simulator::format
