#include "simulator/reasoning/render.h"

#include "simulator/text/text.h"

namespace simulator::reasoning {

std::string text_of_input(const Input &input) {
  if (input.empty()) return "whatever the attributes are";
  std::string text;
  for (const auto &[attribute, value] : input)
    text += concat(text.empty() ? "" : ", ", attribute, " is ", value ? as_word(*value) : "absent");
  return text;
}

Json json_of_input(const Input &input) {
  Json object;
  object["set"] = Json::object();
  object["clear"] = Json::array();
  for (const auto &[attribute, value] : input) {
    if (value) {
      object["set"][attribute] = *value;
    } else {
      object["clear"].push_back(attribute);
    }
  }
  return object;
}

}  // namespace simulator::reasoning
