// Attributes that a target may have, and what matches with them.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "simulator/reasoning/values.h"

namespace simulator::reasoning {

// Values of attributes by name; nothing: absent.
using Input = std::map<std::string, Value>;

// Whether it holds or matches when attributes that are not in 'input' are absent.
bool holds(const Filter &filter, const Input &input);
bool matches(const ClassMap &map, const Input &input);
bool matches(const Statement &statement, const Input &input);

// The filters of each attribute of a statement: one of each has to hold.
std::map<std::string_view, std::vector<const Filter *>> by_attribute(const Statement &statement);

// The values that a file uses, by attribute, few of each: worth a try before any search.
using Hints = std::map<std::string, std::vector<std::string>, std::less<>>;
Hints hints_of(const PolicyFile &file);

}  // namespace simulator::reasoning
