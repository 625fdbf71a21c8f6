#include "tool/policy/kinds.h"

namespace tool {

std::vector<std::string_view> names_of(const PolicyFile &file, ObjectKind kind) {
  std::vector<std::string_view> names;
  with_objects(file, kind, [&](const auto &objects) {
    for (const auto &object : objects)
      names.push_back(object.name.value);
  });
  return names;
}

}  // namespace tool
