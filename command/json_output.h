// The only code with which sub-commands write JSON.
//
// simulator/text/json_object.h says what the object of each sub-command begins with.
#pragma once

#include <ostream>
#include <string>
#include <string_view>

#include "simulator/text/json_object.h"

namespace command {

using simulator::begin_json;
using simulator::compact_text;
using simulator::file_errors_object;
using simulator::Json;

// Prints it indented, with a newline at the end. Invalid UTF-8, which can only come from the command line, is replaced.
void print_json(std::ostream &out, const Json &object);

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
