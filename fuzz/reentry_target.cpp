// Any sequence of calls, compared with the model, by clients whose functions call back: a byte before each call says
// within which of the functions that the library calls the call is made, if within any.
#include <cstddef>
#include <cstdint>

#include "fuzz/target.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  constexpr uint8_t kPlaces = 5;
  calls::Decoder decoder({data, size});
  std::vector<calls::Call> made;
  while (!decoder.done()) {
    const uint8_t within = decoder.byte() % kPlaces;
    made.push_back(decoder.call());
    made.back().within = within;
  }
  walk::run_target({}, [&](walk::Session &session) { return session.steps(made); });
  return 0;
}
