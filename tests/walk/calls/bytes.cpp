#include "tests/walk/calls/bytes.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace calls::bytes {

Call call(Op op, std::initializer_list<uint8_t> argument_bytes) {
  if (argument_bytes.size() != bytes_of(op)) {
    std::fprintf(stderr, "the arguments of %s have %zu bytes, not %zu\n", operation(op).name, bytes_of(op),
                 argument_bytes.size());
    std::abort();
  }
  Call made{op, {}};
  std::copy(argument_bytes.begin(), argument_bytes.end(), made.bytes.begin());
  return made;
}

}  // namespace calls::bytes
