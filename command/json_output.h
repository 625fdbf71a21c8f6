// The one way in which sub-commands write JSON.
//
// Each writes one object that begins with 'schema_version' and 'command', keys in the order in which they were added. The
// shape of each is described by a JSON Schema under share/schema; 'schema_version' grows with every change that a reader
// could stumble over.
#pragma once

#include <ostream>
#include <string_view>

#include "simulator/text/json.h"

namespace command {

using simulator::Json;

// The object with what every one begins with.
Json begin_json(std::string_view command);

// Indented, with a line end. What is no UTF-8 in it, which can only come from the command line, is replaced.
void print_json(std::ostream &out, const Json &object);

// An object with one long list, written as it comes, so that it takes no more memory than its largest element.
class JsonStream {
 public:
  // Writes the members of 'head', then begins the list. 'depth' is how many objects and lists stand around the object.
  JsonStream(std::ostream &out, const Json &head, std::string_view list, size_t depth = 0);
  void add(const Json &element);
  // What comes next is an element that somebody else writes, at this depth.
  size_t begin_element();
  // Ends the list, and the object with the members of 'tail'. To be called once, last.
  void end(const Json &tail);

 private:
  std::ostream *out_;
  size_t depth_;
  bool empty_ = true;
};

}  // namespace command
