#include "simulator/policy/position_json.h"

namespace simulator {

void add_position(Json &object, Position position) {
  object["line"] = position.line;
  object["column"] = position.column;
  if (position.source != 0) object["source"] = position.source;
}

void add_position_or_null(Json &object, Position position) {
  add_position(object, position);
  if (position.line == 0) object["line"] = object["column"] = nullptr;
}

}  // namespace simulator
