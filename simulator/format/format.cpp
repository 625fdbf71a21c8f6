#include "simulator/format/format.h"

#include <algorithm>

#include "simulator/format/layout.h"
#include "simulator/format/syntax.h"
#include "simulator/policy/load.h"
#include "simulator/policy/write.h"
#include "simulator/policy/yaml.h"

namespace simulator::format {

namespace {

// The same source with a newline alone at the end of each line.
Source with_plain_newlines(const Source &source) {
  std::string text;
  text.reserve(source.text().size());
  for (size_t at = 0; at < source.text().size(); ++at) {
    if (!std::string_view(source.text()).substr(at).starts_with("\r\n")) text += source.text()[at];
  }
  return {source.name(), std::move(text)};
}

// A carriage return in the middle of a line ends it for some YAML readers only.
bool has_stray_carriage_return(const Source &source, Diagnostics &diagnostics) {
  const std::string_view text = source.text();
  const size_t at = text.find('\r');
  if (at == std::string_view::npos) return false;
  const std::string_view before = text.substr(0, at);
  const auto line = static_cast<size_t>(std::count(before.begin(), before.end(), '\n'));
  diagnostics.add(source.position_of(line, at - (before.rfind('\n') + 1)), "a carriage return in the middle of a line",
                  "a newline");
  return true;
}

bool are_equal(const yaml::Node &one, const yaml::Node &other) {
  if (one.kind != other.kind || one.text != other.text) return false;
  const auto equal_entries = [](const auto &a, const auto &b) {
    return are_equal(*a.first, *b.first) && are_equal(*a.second, *b.second);
  };
  return std::equal(one.items.begin(), one.items.end(), other.items.begin(), other.items.end(),
                    [](const yaml::Node *a, const yaml::Node *b) { return are_equal(*a, *b); }) &&
         std::equal(one.entries.begin(), one.entries.end(), other.entries.begin(), other.entries.end(), equal_entries);
}

bool have_equal_values(const Source &before, const Source &after) {
  Diagnostics errors;
  const std::optional<yaml::Document> one = yaml::parse(before, errors);
  const std::optional<yaml::Document> other = yaml::parse(after, errors);
  return one && other && are_equal(one->root(), other->root());
}

bool loads_to_equal_objects(const PolicyFile &file, const Source &after) {
  Diagnostics errors;
  const std::optional<PolicyFile> other = load(after, errors);
  return other && write_objects(file) == write_objects(*other);
}

}  // namespace

std::optional<std::string> formatted(const Source &source, const PolicyFile &file, Diagnostics &diagnostics,
                                     Complaints &defects) {
  const Source before = with_plain_newlines(source);
  if (has_stray_carriage_return(before, diagnostics)) return std::nullopt;
  const std::optional<Syntax> syntax = read_syntax(before, diagnostics);
  if (!syntax) return std::nullopt;

  const Source after(source.name(), lay_out(*syntax));
  const auto differs = [&](std::string_view what) {
    defects.push_back(concat(source.name(), ": its text in the canonical layout would have other ", what));
  };
  // The values are those of the whole file, with its scenario and its tests.
  if (!have_equal_values(source, after)) {
    differs("values");
  } else if (!loads_to_equal_objects(file, after)) {
    differs("objects");
  } else if (syntax->comments != comments_of(after)) {
    differs("comments");
  }
  return defects.empty() ? std::optional(after.text()) : std::nullopt;
}

std::vector<std::string> comments_of(const Source &source) {
  Diagnostics diagnostics;
  std::optional<Syntax> syntax = read_syntax(source, diagnostics);
  return syntax ? std::move(syntax->comments) : std::vector<std::string>();
}

}  // namespace simulator::format
