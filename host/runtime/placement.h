// How the records of a store lie in relation to the processor's cache lines.
#pragma once

namespace runtime {

enum class Placement {
  dense,     // one after the other
  by_lines,  // where records have more than two lines: eight bytes before the begin of a line, each
};

}  // namespace runtime
