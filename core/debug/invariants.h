// What always holds between two operations, as checks. The numbers are those of 'zar/records.h'.
#pragma once

namespace zar::debug {

// Checks all that the ledger knows of; calls broken() when something does not hold. 'every_call' tells whether the
// repository was checked after the operation before this one too: only then is known what was added since.
void check_invariants(bool every_call);

// Says which invariant of which record the operation broke, and ends the process.
[[noreturn, gnu::format(printf, 3, 4)]] void broken(const char *record, int number, const char *format, ...);

}  // namespace zar::debug
