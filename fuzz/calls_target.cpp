// Any sequence of calls, compared with the model.
#include <cstddef>
#include <cstdint>

#include "fuzz/target.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  walk::run_target({}, [&](walk::Session &session) {
    calls::Decoder decoder({data, size});
    while (!decoder.done())
      if (!session.step(decoder.call())) return false;
    return true;
  });
  return 0;
}
