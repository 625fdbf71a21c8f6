// The names for numbers are those of the numbers that the library works with, and each status has a text of its own.
#include "zar/status.h"

#include <cstdio>
#include <set>
#include <string>

#include "core/status.h"

static_assert(ZAR_STATUS_SUCCESS == uint32_t{zar::kSuccess} && ZAR_STATUS_CHECK_FAILED == uint32_t{zar::kCheckFailed});
static_assert(ZAR_STATUS_STEP_FAILED == uint32_t{zar::kFailed} && ZAR_STATUS_NO_MEMORY == uint32_t{zar::kNoMemory});
static_assert(ZAR_STATUS_INVALID_ARGUMENT == uint32_t{zar::kInvalidArgument});
static_assert(ZAR_STATUS_NOTHING_FOUND == uint32_t{zar::kNothingFound});
static_assert(ZAR_STATUS_TREE_FAILED == uint32_t{zar::kTreeFailed} && ZAR_DOMAIN_CONTROL == zar::kControl);

int main() {
  constexpr uint32_t kMost = 1000;
  std::multiset<std::string> texts;
  for (uint32_t status = 0; status < kMost; ++status)
    texts.insert(zar_status_text(status));
  std::set<std::string> different(texts.begin(), texts.end());
  const bool good = different.size() == 8 && texts.count("unknown status") == kMost - 7 &&
                    zar_status_text(ZAR_STATUS_NO_MEMORY) == std::string("out of memory") &&
                    zar_status_text(UINT32_MAX) == std::string("unknown status");
  for (const std::string &text : different)
    if (!good) std::printf("%zu times '%s'\n", texts.count(text), text.c_str());
  return good ? 0 : 1;
}
