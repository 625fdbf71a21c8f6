#include "simulator/policy/attributes.h"

#include <unordered_set>

namespace simulator {

std::vector<std::string_view> attribute_names(const PolicyFile &file) {
  std::vector<std::string_view> names;
  std::unordered_set<std::string_view> seen;
  for_each_attribute(file, [&](const Name &attribute) {
    if (seen.insert(attribute.value).second) names.push_back(attribute.value);
  });
  return names;
}

}  // namespace simulator
