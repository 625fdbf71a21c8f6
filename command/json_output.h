// The only code with which sub-commands write JSON.
//
// Each sub-command writes one object that begins with 'schema_version' and 'command', with keys in the order of
// insertion. A JSON Schema under share/schema describes each; 'schema_version' grows with every change that could break
// a reader.
#pragma once

#include <ostream>
#include <string>
#include <string_view>

#include "simulator/text/json.h"

namespace command {

using simulator::Json;

// An object with the members that every output begins with.
Json begin_json(std::string_view command);

// The object of a command that got no file to work on: what is wrong with its files, and nothing else.
Json file_errors_object(std::string_view command, Json file_errors);

// Prints it indented, with a newline at the end. Invalid UTF-8, which can only come from the command line, is replaced.
void print_json(std::ostream &out, const Json &object);

// On one line. Invalid UTF-8 is replaced.
std::string compact_text(const Json &value);

// An object with one long list, written piece by piece, so that it needs no more memory than its largest element.
class JsonStream {
 public:
  // Writes the members of 'head', then begins the list. 'depth' is the number of objects and lists around the object.
  JsonStream(std::ostream &out, const Json &head, std::string_view list, size_t depth = 0);
  void add(const Json &element);
  // Prepares for an element that the caller writes, at the depth that this returns.
  size_t begin_element();
  // Ends the list, and the object with the members of 'tail'. Call it once, at the end.
  void end(const Json &tail);

 private:
  std::ostream *out_;
  size_t depth_;
  bool empty_ = true;
};

}  // namespace command
