// What may stand where in a policy file, from the schema of policy files, and what the names in it name.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace simulator::editing {

// What a text of a policy file names.
enum class Kind : uint8_t {
  none,
  client,
  domain,
  class_map,
  policy_map,
  parameter_map,
  target,
  event,
  attribute,
  rule,  // POLICY/EVENT/NUMBER, or a class-map for all its rules
  test,
  claim,
};
inline constexpr size_t kKindCount = 12;

// "class-map".
std::string_view word_of(Kind kind);

struct Shape {
  struct Key {
    std::string word{};
    const Shape *value = nullptr;
    std::string about{};
    bool required = false;
    bool excludes = false;  // only one of the keys of a mapping that do
  };

  std::string name{};       // "rule"; of the whole file "file"
  std::vector<Key> keys{};  // of a mapping, in their usual order

  // Of a mapping from names: what its keys name, and their values.
  Kind key_kind = Kind::none;
  bool keys_define = false;
  const Shape *any_value = nullptr;

  const Shape *item = nullptr;       // of a list
  std::vector<std::string> words{};  // of a choice
  Kind kind = Kind::none;            // what a text names

  const Key *find(std::string_view word) const;
  bool is_mapping() const { return !keys.empty() || any_value; }
};

const Shape &file_shape();

}  // namespace simulator::editing
