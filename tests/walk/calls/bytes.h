// Calls that are written by hand: names for the bytes of their arguments. Scene gives the bytes their meaning.
#pragma once

#include <cstdint>
#include <initializer_list>

#include "tests/walk/calls/operations.h"

namespace calls::bytes {

constexpr uint8_t kClientOne = 0;

// A handle, the record behind one, or a place for one: one of four slots for each kind.
constexpr uint8_t slot(uint8_t number) {
  return number < 2 ? number : static_cast<uint8_t>(number + 4);
}

// The first and second name of the alphabet.
constexpr uint8_t kNameA = 0;
constexpr uint8_t kNameB = 145;

// The n-th name of the alphabet, up to 15.
constexpr uint8_t name(uint8_t n) {
  return static_cast<uint8_t>(192 + n);
}

// What follows the name in an info: domain and type.
constexpr uint8_t kControl = 0;      // the first domain, CONTROL
constexpr uint8_t kNotControl = 56;  // the first domain, the other type
constexpr uint8_t kSubscriber = 23;  // the domain "subscriber", CONTROL

constexpr uint8_t kFirstDomain = 0;
constexpr uint8_t kKeywordT = 1;

constexpr uint8_t event(uint8_t id) {
  return id == 0 ? 0 : static_cast<uint8_t>(128 + id);
}
// Up to 5.
constexpr uint8_t number(uint8_t value) {
  return value;
}
// 1 to 3.
constexpr uint8_t criteria(uint8_t value) {
  return static_cast<uint8_t>(value - 1);
}
// The context of an action or a filter with all functions, and data of this value, up to 3.
constexpr uint8_t context(uint8_t value) {
  return value;
}

constexpr uint8_t kNo = 0;
constexpr uint8_t kYes = 1;
// A pointer that is not NULL.
constexpr uint8_t kGiven = 0;

// Ends the process unless the operation takes exactly this many bytes.
Call call(Op op, std::initializer_list<uint8_t> argument_bytes);

}  // namespace calls::bytes
