// How the records of a store are aligned to the processor's cache lines.
#pragma once

namespace runtime {

enum class Placement {
  dense,     // one after the other
  by_lines,  // for records of more than two lines: each begins eight bytes before a line
};

}  // namespace runtime
