#include "simulator/policy/reader.h"

#include <algorithm>

#include "engine/engine.h"
#include "simulator/policy/name.h"
#include "simulator/text/text.h"

namespace simulator {

namespace {

std::string keys_text(const std::vector<std::string_view> &keys) {
  return keys.size() == 1 ? concat("the key ", keys[0]) : concat("one of the keys ", comma_separated(keys));
}

}  // namespace

Fields::Fields(const yaml::Node &node, std::string_view what, std::initializer_list<std::string_view> keys,
               Diagnostics &diagnostics)
    : node_(&node), what_(what), diagnostics_(&diagnostics) {
  const std::vector<std::string_view> vocabulary(keys);
  // An empty value is a mapping without entries.
  if (node.kind == yaml::Kind::null) return;
  if (node.kind != yaml::Kind::mapping) {
    diagnostics.add(node.position, concat(what, " is ", yaml::name_of(node.kind)),
                    concat("a mapping with ", keys_text(vocabulary)));
    is_sound_ = false;
    return;
  }
  const size_t before = diagnostics.count();
  for (const auto &[key, value] : node.entries) {
    if (diagnostics.hopeless()) return;
    if (key->kind != yaml::Kind::scalar) {
      diagnostics.add(key->position, concat("a key of ", what, " is ", yaml::name_of(key->kind)),
                      keys_text(vocabulary));
    } else if (std::find(keys.begin(), keys.end(), key->text) == keys.end()) {
      diagnostics.add(key->position, concat("unknown key ", shown(key->text), " in ", what), keys_text(vocabulary),
                      nearest(key->text, vocabulary));
    } else if (find(key->text)) {
      diagnostics.add(key->position, concat("duplicate key '", key->text, "' in ", what), "each key once");
    } else {
      known_.emplace_back(key->text, value);
    }
  }
  is_sound_ = diagnostics.count() == before;
}

const yaml::Node *Fields::find(std::string_view key) const {
  for (const auto &[known, value] : known_) {
    if (known == key) return value;
  }
  return nullptr;
}

const yaml::Node *Fields::require(std::string_view key) const {
  const yaml::Node *value = find(key);
  if (!value && is_sound_)
    diagnostics_->add(node_->position, concat(what_, " has no '", key, "'"), concat("the key ", key));
  return value;
}

bool Reader::is_kind(const yaml::Node &node, yaml::Kind kind, std::string_view what) const {
  if (node.kind == kind) return true;
  diagnostics_->add(node.position, concat(what, " is ", yaml::name_of(node.kind)), yaml::name_of(kind));
  return false;
}

std::optional<Name> Reader::text(const yaml::Node &node, std::string_view what) const {
  if (!is_kind(node, yaml::Kind::scalar, what)) return std::nullopt;
  return Name{node.text, node.position};
}

std::optional<Name> Reader::name(const yaml::Node &node, std::string_view what, NameKind kind) const {
  std::optional<Name> read = text(node, what);
  if (!read) return std::nullopt;

  const std::string &name = read->value;
  if (is_name(name, kind)) return read;
  diagnostics_->add(node.position, concat(shown(name), " cannot be ", what), describe_name(kind));
  return std::nullopt;
}

std::optional<int64_t> Reader::number(const yaml::Node &node, std::string_view what, int64_t low, int64_t high) const {
  if (!is_kind(node, yaml::Kind::scalar, what)) return std::nullopt;
  const std::optional<int64_t> number = engine::parse_number(node.text);
  if (number && *number >= low && *number <= high) return number;
  diagnostics_->add(node.position, concat(shown(node.text), " cannot be ", what),
                    concat("a number from ", low, " to ", high));
  return std::nullopt;
}

std::optional<bool> Reader::flag(const yaml::Node &node, std::string_view what) const {
  return choice<bool>(node, what, {{"true", true}, {"false", false}});
}

std::optional<size_t> Reader::chosen(const yaml::Node &node, std::string_view what,
                                     const std::vector<std::string_view> &words) const {
  if (!is_kind(node, yaml::Kind::scalar, what)) return std::nullopt;
  const auto found = std::find(words.begin(), words.end(), node.text);
  if (found != words.end()) return static_cast<size_t>(found - words.begin());
  diagnostics_->add(node.position, concat(shown(node.text), " cannot be ", what),
                    concat("one of ", comma_separated(words)), nearest(node.text, words));
  return std::nullopt;
}

std::vector<std::pair<Name, const yaml::Node *>> Reader::named_entries(const yaml::Node &node, std::string_view what,
                                                                       NameKind kind) const {
  std::vector<std::pair<Name, const yaml::Node *>> good;
  FirstPositions<std::string_view> seen;
  if (node.kind == yaml::Kind::null) return good;
  if (node.kind != yaml::Kind::mapping) {
    diagnostics_->add(node.position, concat("what stands here is ", yaml::name_of(node.kind)),
                      concat("a mapping from ", what, " to what belongs to it"));
    return good;
  }
  for (const auto &[key, body] : node.entries) {
    if (diagnostics_->hopeless()) break;
    std::optional<Name> read = name(*key, what, kind);
    if (!read) continue;
    if (const std::optional<Position> earlier = seen.earlier(key->text, key->position)) {
      diagnostics_->add(key->position, concat("duplicate name '", key->text, "'"),
                        concat(what, " once; the first is in line ", earlier->line), {}, *earlier);
    } else {
      good.emplace_back(std::move(*read), body);
    }
  }
  return good;
}

}  // namespace simulator
