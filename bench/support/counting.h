// Counting operations under callgrind; elsewhere they are only made. scripts/costs runs the programs and reads the dumps.
#pragma once

#include <valgrind/callgrind.h>

#include <cstdint>
#include <deque>
#include <string>

namespace bench {

// Dumps what was counted; nothing is counted any more.
inline void dump(const std::string &name, uint32_t times) {
  static std::deque<std::string> titles;  // callgrind keeps only the addresses
  titles.push_back(name + '|' + std::to_string(times));
  CALLGRIND_DUMP_STATS_AT(titles.back().c_str());
}

// Forgets what was counted. CALLGRIND_ZERO_STATS would keep the counts of the jumps between functions, such as those from
// operator delete to free; a dump resets everything, and one without a number of calls is not read.
inline void forget() {
  CALLGRIND_DUMP_STATS_AT("uncounted");
}

// Counts one call of an operation that handles 'n_objects' objects.
template <class Operation>
void once(const std::string &name, uint32_t n_objects, Operation operation) {
  CALLGRIND_START_INSTRUMENTATION;
  forget();
  operation();
  CALLGRIND_STOP_INSTRUMENTATION;
  dump(name, n_objects);
}

}  // namespace bench
