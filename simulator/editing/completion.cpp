#include "simulator/editing/completion.h"

#include <algorithm>

#include "simulator/editing/manual.h"
#include "simulator/lint/findings.h"
#include "simulator/text/text.h"

namespace simulator::editing {

namespace {

bool is_present(const Place &place, std::string_view word) {
  return std::find(place.present.begin(), place.present.end(), word) != place.present.end();
}

// Whether a key that excludes the others of its kind is there.
bool is_decided(const Place &place) {
  return std::any_of(place.shape->keys.begin(), place.shape->keys.end(),
                     [&](const Shape::Key &key) { return key.excludes && is_present(place, key.word); });
}

// A value on lines of its own begins on the next line.
std::string insertion_of(const Shape::Key &key, bool in_brackets) {
  const bool has_lines = !in_brackets && (key.value->is_mapping() || key.value->item) && key.value->words.empty();
  return concat(key.word, has_lines ? ":" : ": ");
}

void add_keys(const Place &place, std::vector<Completion> &all) {
  const bool decided = is_decided(place);
  for (const Shape::Key &key : place.shape->keys) {
    if (is_present(place, key.word) || (decided && key.excludes)) continue;
    all.push_back(
        {Candidate::key, Kind::none, key.word, insertion_of(key, place.in_brackets), manual_of(*place.shape, key)});
  }
}

void add_words(const Shape &shape, std::vector<Completion> &all) {
  for (const std::string &word : shape.words)
    all.push_back({Candidate::word, Kind::none, word, word, {}});
}

void add_names(Kind kind, const Names &names, const Place &place, std::string_view behind,
               std::vector<Completion> &all) {
  for (const std::string &name : names[static_cast<size_t>(kind)]) {
    if (place.is_key && is_present(place, name)) continue;
    all.push_back({Candidate::name, kind, name, concat(name, behind), {}});
  }
}

// New objects get new names; only what other parts of the file name can be a key already.
bool has_known_keys(const Shape &shape) {
  return shape.key_kind == Kind::attribute || shape.key_kind == Kind::event;
}

void add_for(const Place &place, const Names &names, std::vector<Completion> &all) {
  const Shape &shape = *place.shape;
  if (place.is_key) {
    add_keys(place, all);
    if (has_known_keys(shape)) add_names(shape.key_kind, names, place, ": ", all);
    return;
  }
  add_words(shape, all);
  if (!shape.words.empty()) add_keys(place, all);
  if (shape.kind == Kind::test || shape.kind == Kind::claim) return;
  add_names(shape.kind, names, place, "", all);
  // The name of a class-map stands for its rules.
  if (shape.kind == Kind::rule) add_names(Kind::class_map, names, place, "", all);
}

// Behind "# zar: ignore ".
Completions complete_comment(std::string_view comment, size_t offset) {
  constexpr std::string_view kIgnore = "zar: ignore ";
  Completions completions{.replaced = {offset, offset}};
  const size_t at = comment.find(kIgnore);
  if (at == std::string_view::npos) return completions;
  const std::string_view word = comment.substr(at + kIgnore.size());
  if (word.find_first_of(" :") != std::string_view::npos) return completions;
  completions.replaced.begin = offset - word.size();
  for (const std::string_view kind : lint::kind_names())
    completions.all.push_back({Candidate::word, Kind::none, std::string(kind), concat(kind, ": "), {}});
  return completions;
}

}  // namespace

Completions complete(std::string_view text, size_t offset, const Names &names) {
  if (const std::optional<std::string_view> comment = comment_before(text, offset))
    return complete_comment(*comment, offset);
  const std::optional<Place> place = place_at(text, offset);
  if (!place) return {.replaced = {offset, offset}};
  Completions completions{.replaced = place->word};
  add_for(*place, names, completions.all);
  return completions;
}

}  // namespace simulator::editing
