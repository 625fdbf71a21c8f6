#include <cerrno>
#include <cstdint>
#include <cstring>

#include "host/runtime/services.h"

namespace {

// A larger size is assumed to be a converted negative number.
constexpr size_t kLargestSize = SIZE_MAX >> 1;

int refuse(char *to, size_t to_size, int error) {
  if (to && to_size > 0 && to_size <= kLargestSize) to[0] = '\0';
  return error;
}

bool overlap(const char *to, size_t to_length, const char *from, size_t from_length) {
  auto to_at = reinterpret_cast<uintptr_t>(to), from_at = reinterpret_cast<uintptr_t>(from);
  return to_at < from_at + from_length && from_at < to_at + to_length;
}

}  // namespace

int strncpy_s(char *to, size_t to_size, const char *from, size_t count) {
  if (!to || !from) return refuse(to, to_size, EINVAL);
  if (to_size == 0 || to_size > kLargestSize || count > kLargestSize) return refuse(to, to_size, ERANGE);
  // Reads no more of 'from' than may be copied, plus the character that shows that it does not fit.
  size_t length = strnlen(from, count < to_size ? count : to_size);
  if (length >= to_size) return refuse(to, to_size, ERANGE);
  size_t read = length < count ? length + 1 : length;
  if (overlap(to, length + 1, from, read)) return refuse(to, to_size, EINVAL);

  std::memcpy(to, from, length);
  to[length] = '\0';
  return 0;
}
