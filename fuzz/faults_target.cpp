// Any sequence of calls, compared with the model; a byte before each call says which of its platform requests fails, if
// any.
#include <cstddef>
#include <cstdint>

#include "fuzz/target.h"

namespace {

// Half of the calls have no fault; for the others a second attempt may also fail.
walk::FaultPlan plan_of(uint8_t byte) {
  walk::FaultPlan plan;
  if (byte % 2 == 0) return plan;
  plan.requests.push_back(1U + byte / 2 % 8);
  if (byte >= 192) plan.requests.push_back(1U + byte / 8 % 8);
  plan.mode = byte / 16 % 4 == 3 ? runtime::Fault::from_then_on : runtime::Fault::once;
  return plan;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  walk::run_target({}, [&](walk::Session &session) {
    calls::Decoder decoder({data, size});
    while (!decoder.done()) {
      const walk::FaultPlan plan = plan_of(decoder.byte());
      if (!session.step_with_fault(decoder.call(), plan)) return false;
      if (session.partial()) return false;  // the model cannot continue
    }
    return true;
  });
  return 0;
}
