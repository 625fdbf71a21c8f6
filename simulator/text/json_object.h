// The JSON objects of sub-commands: how each begins, and JSON in one line.
//
// Each sub-command writes one object that begins with 'schema_version' and 'command'. A JSON Schema under share/schema
// describes each; 'schema_version' grows with every change that could break a reader.
#pragma once

#include <string>
#include <string_view>

#include "simulator/text/json.h"

namespace simulator {

// An object with the members that the output of every sub-command begins with.
Json begin_json(std::string_view command);

// The object of a command that got no file to work on: what is wrong with its files, and nothing else.
Json file_errors_object(std::string_view command, Json file_errors);

// On one line. Invalid UTF-8 is replaced.
std::string compact_text(const Json &value);

}  // namespace simulator
