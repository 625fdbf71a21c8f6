// Regular expressions.
#pragma once

#include <memory>
#include <string>

#include <re2/re2.h>

namespace simulator {

// Never NULL; ok() says whether it can be used. A pattern may use only little memory, so that a short text cannot use a
// lot.
std::shared_ptr<const RE2> compile_pattern(const std::string &text);

// What is wrong with a pattern that cannot be used, and with which part of it.
std::string describe(const RE2 &pattern);

}  // namespace simulator
