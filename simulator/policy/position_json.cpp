#include "simulator/policy/position_json.h"

namespace simulator {

void add_place(Json &object, Place place) {
  object["line"] = place.line;
  object["column"] = place.column;
  if (place.source != 0) object["source"] = place.source;
}

void add_place_or_null(Json &object, Place place) {
  add_place(object, place);
  if (place.line == 0) object["line"] = object["column"] = nullptr;
}

}  // namespace simulator
