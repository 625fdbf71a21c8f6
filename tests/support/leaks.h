// Hides what the library leaves behind on purpose from leak checks: from that of sanitizer builds, and from valgrind's
// by keeping a pointer to it. Tests assert such leftovers with the runtime's inventory.
#pragma once

#include <vector>

#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define RIG_LEAK_CHECK 1
#endif
#elif defined(__SANITIZE_ADDRESS__)
#define RIG_LEAK_CHECK 1
#endif

#ifdef RIG_LEAK_CHECK
#include <sanitizer/common_interface_defs.h>
#include <sanitizer/lsan_interface.h>
#endif

namespace rig {

// 'block', and what it points to, is lost from now on. NULL does nothing.
inline void lost_on_purpose(const void *block) {
#ifdef RIG_LEAK_CHECK
  if (block != nullptr) __lsan_ignore_object(block);
#else
  static auto &lost = *new std::vector<const void *>;
  lost.push_back(block);
#endif
}

// What is allocated between the two may be lost. They nest.
inline void begin_losing() {
#ifdef RIG_LEAK_CHECK
  __lsan_disable();
#endif
}
inline void end_losing() {
#ifdef RIG_LEAK_CHECK
  __lsan_enable();
#endif
}

// What is allocated while one is alive may be lost.
class LosesOnPurpose {
 public:
  LosesOnPurpose() { begin_losing(); }
  ~LosesOnPurpose() { end_losing(); }
  LosesOnPurpose(const LosesOnPurpose &) = delete;
  LosesOnPurpose &operator=(const LosesOnPurpose &) = delete;
};

}  // namespace rig
