// Checks of what always holds between two operations. The numbers are those of 'zar/records.h'.
#pragma once

namespace zar::debug {

// Checks all records in the ledger; calls broken() if an invariant does not hold. 'every_call' says whether the
// repository was also checked after the previous operation: only then is it known what was added since.
void check_invariants(bool every_call);

// Reports the invariant that the operation broke and the record, and aborts the process.
[[noreturn, gnu::format(printf, 3, 4)]] void broken(const char *record, int number, const char *format, ...);

}  // namespace zar::debug
