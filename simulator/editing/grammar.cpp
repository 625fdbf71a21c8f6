#include "simulator/editing/grammar.h"

#include <algorithm>
#include <deque>
#include <map>

#include "simulator/policy/schema.h"
#include "simulator/text/json.h"
#include "simulator/text/text.h"

namespace simulator::editing {

namespace {

// The schema says which texts are names, but not of what. A place is a definition of the schema and a key in it; behind
// it "{}" stands for the keys of a mapping from names, "[]" for the items of a list.
struct Naming {
  std::string_view place;
  Kind kind;
};
constexpr Naming kNamings[] = {
    {"file.clients{}", Kind::client},
    {"file.domains{}", Kind::domain},
    {"file.class-maps{}", Kind::class_map},
    {"file.policy-maps{}", Kind::policy_map},
    {"file.parameter-maps{}", Kind::parameter_map},
    {"file.targets{}", Kind::target},
    {"domain.owner", Kind::client},
    {"class_map.domain", Kind::domain},
    {"policy_map.domain", Kind::domain},
    {"policy_map.events{}", Kind::event},
    {"filter.attribute", Kind::attribute},
    {"rule.class", Kind::class_map},
    {"action.set{}", Kind::attribute},
    {"action.clear", Kind::attribute},
    {"action.count", Kind::attribute},
    {"action.raise", Kind::event},
    {"action.apply", Kind::parameter_map},
    {"attributes{}", Kind::attribute},
    {"target.client", Kind::client},
    {"target.policies[]", Kind::policy_map},
    {"clear[]", Kind::attribute},
    {"step.event", Kind::event},
    {"step.target", Kind::target},
    {"test.name", Kind::test},
    {"test.event", Kind::event},
    {"test.target", Kind::target},
    {"test_step.event", Kind::event},
    {"test_step.target", Kind::target},
    {"claim.name", Kind::claim},
    {"claim.event", Kind::event},
    {"claim.policies[]", Kind::policy_map},
    {"claim.never-runs", Kind::rule},
    {"claim.always-runs", Kind::rule},
    {"claim.ends-with{}", Kind::attribute},
    {"expectation.rules[]", Kind::rule},
    {"expectation.attributes{}", Kind::attribute},
};

Kind kind_at(std::string_view place) {
  for (const Naming &naming : kNamings) {
    if (naming.place == place) return naming.kind;
  }
  return Kind::none;
}

// An attribute is defined where a target gets it.
bool defines(std::string_view place) {
  return place.starts_with("file.") || place == "policy_map.events{}" || place == "action.set{}";
}

std::string word_of(const Json &value) {
  return value.is_string() ? value.get<std::string>() : value.dump();
}

bool lists(const Json &schema, const char *list, const std::string &word) {
  if (!schema.contains(list)) return false;
  const Json &all = schema[list];
  return std::find(all.begin(), all.end(), word) != all.end();
}

// A mapping has exactly one of these keys. In the schema, each of its alternatives requires one of them and nothing else.
std::vector<std::string> exclusive_keys(const Json &schema) {
  std::vector<std::string> keys;
  for (const Json &alternative : schema.value("oneOf", Json::array())) {
    if (alternative.size() == 1 && alternative.contains("required") && alternative["required"].size() == 1)
      keys.push_back(alternative["required"][0]);
  }
  return keys;
}

class Grammar {
 public:
  Grammar() : schema_(Json::parse(kPolicySchema)) { file_ = &shape_of(schema_, "file"); }

  const Shape &file() const { return *file_; }

 private:
  const Shape &shape_of(const Json &schema, const std::string &place) {
    Shape &shape = shapes_.emplace_back();
    fill(shape, schema, place);
    return shape;
  }

  // A definition has one place, however it is reached.
  void fill(Shape &shape, const Json &schema, const std::string &place) {
    if (shape.kind == Kind::none) shape.kind = kind_at(place);
    if (schema.contains("$ref")) {
      const std::string definition =
          schema["$ref"].get<std::string>().substr(std::string_view("#/definitions/").size());
      fill(shape, schema_["definitions"][definition], definition);
      return;
    }
    for (const Json &alternative : schema.value("anyOf", Json::array())) {
      // Alternatives that only require keys describe no values.
      if (!alternative.contains("required")) fill(shape, alternative, place);
    }
    if (schema.contains("enum")) add_words(shape, schema["enum"]);
    if (schema.contains("items")) shape.item = &shape_of(schema["items"], place + "[]");
    if (schema.contains("properties")) add_keys(shape, schema, place);
    if (schema.contains("additionalProperties") && schema["additionalProperties"].is_object()) {
      shape.key_kind = kind_at(place + "{}");
      shape.keys_define = defines(place + "{}");
      shape.any_value = &shape_of(schema["additionalProperties"], place + "[]");
    }
  }

  static void add_words(Shape &shape, const Json &values) {
    for (const Json &value : values) {
      const std::string word = word_of(value);
      if (std::find(shape.words.begin(), shape.words.end(), word) == shape.words.end()) shape.words.push_back(word);
    }
  }

  void add_keys(Shape &shape, const Json &schema, const std::string &place) {
    shape.name = place;
    const std::vector<std::string> exclusive = exclusive_keys(schema);
    for (const auto &[word, value] : schema["properties"].items()) {
      const bool excludes = std::find(exclusive.begin(), exclusive.end(), word) != exclusive.end();
      shape.keys.push_back({word, &shape_of(value, concat(place, ".", word)), value.value("description", ""),
                            lists(schema, "required", word), excludes});
    }
  }

  Json schema_;
  std::deque<Shape> shapes_;  // a deque: shapes point to each other
  const Shape *file_;
};

}  // namespace

std::string_view word_of(Kind kind) {
  constexpr std::string_view kWords[] = {"",       "client", "domain",    "class-map", "policy-map", "parameter-map",
                                         "target", "event",  "attribute", "rule",      "test",       "claim"};
  static_assert(std::size(kWords) == kKindCount);
  return kWords[static_cast<size_t>(kind)];
}

const Shape::Key *Shape::find(std::string_view word) const {
  const auto found = std::find_if(keys.begin(), keys.end(), [&](const Key &key) { return key.word == word; });
  return found == keys.end() ? nullptr : &*found;
}

const Shape &file_shape() {
  static const Grammar grammar;
  return grammar.file();
}

}  // namespace simulator::editing
