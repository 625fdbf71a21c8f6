// The names in a policy file: where each is defined and used, and what is inside what.
//
// It is made from the YAML tree alone, so that it exists for a file that does not load.
#pragma once

#include <array>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "simulator/editing/grammar.h"
#include "simulator/editing/text.h"
#include "simulator/policy/source.h"
#include "simulator/policy/yaml.h"

namespace simulator::editing {

// A place that names something.
struct Mention {
  Kind kind = Kind::none;
  std::string name{};
  Span span{};
  bool defines = false;
  bool verbatim = true;  // the text at the place is the name: no escapes, no folded lines
};

// Something with a name of its own, or a section of the file.
struct Symbol {
  Kind kind = Kind::none;  // none: a section
  std::string name{};
  std::string shape{};  // "event"
  Span whole{};
  Span name_span{};
  std::vector<Symbol> inside{};
};

// A key of a mapping with a fixed vocabulary, and a word of a choice.
struct Keyword {
  Span span{};
  const Shape *shape = nullptr;  // of the mapping
  const Shape::Key *key = nullptr;
};

// Names by kind, each once, in the order of the file.
using Names = std::array<std::vector<std::string>, kKindCount>;

class Outline {
 public:
  Outline() = default;
  Outline(const Source &source, const yaml::Document &document);
  // The index points into the lists.
  Outline(Outline &&) = default;
  Outline &operator=(Outline &&) = default;

  // Sections with everything in them.
  const std::vector<Symbol> &symbols() const { return symbols_; }
  // In the order of their places.
  const std::vector<Mention> &mentions() const { return mentions_; }
  // NULL if nothing is named there.
  const Mention *mention_at(size_t offset) const;
  const Keyword *keyword_at(size_t offset) const;
  // Valid as long as the outline.
  std::vector<const Mention *> mentions_of(Kind kind, std::string_view name) const;
  // The places that define it. An attribute that no target gets is defined by all its uses.
  std::vector<const Mention *> definitions_of(Kind kind, std::string_view name) const;
  Names names() const;

 private:
  friend class OutlineBuilder;
  using Key = std::pair<Kind, std::string_view>;

  void index();

  std::vector<Symbol> symbols_;
  std::vector<Mention> mentions_;
  std::vector<Keyword> keywords_;
  std::map<Key, std::vector<size_t>> by_name_;
};

// The place of a value that begins at this offset: to its closing quote, or to what ends a plain one.
Span span_of_value(std::string_view text, size_t begin);

}  // namespace simulator::editing
