// JSON values: objects keep their keys in the order of insertion.
#pragma once

#include <optional>
#include <string>

#include <nlohmann/json.hpp>

namespace simulator {

using Json = nlohmann::ordered_json;

// A text, or null.
inline Json text_or_null(const std::optional<std::string> &text) {
  return text ? Json(*text) : Json(nullptr);
}

}  // namespace simulator
