#include "simulator/policy/kinds.h"

#include <algorithm>

namespace simulator {

const KindWord *find_kind(std::string_view word) {
  const auto *const found =
      std::find_if(std::begin(kKinds), std::end(kKinds), [&](const KindWord &kind) { return kind.word == word; });
  return found == std::end(kKinds) ? nullptr : found;
}

const KindWord &word_of(ObjectKind kind) {
  return *std::find_if(std::begin(kKinds), std::end(kKinds), [&](const KindWord &each) { return each.kind == kind; });
}

std::vector<std::string_view> names_of(const PolicyFile &file, ObjectKind kind) {
  std::vector<std::string_view> names;
  with_objects(file, kind, [&](const auto &objects) {
    for (const auto &object : objects)
      names.push_back(object.name.value);
  });
  return names;
}

}  // namespace simulator
