#include "simulator/editing/rename.h"

#include <algorithm>

#include "simulator/policy/name.h"
#include "simulator/text/text.h"

namespace simulator::editing {

namespace {

NameKind name_kind_of(Kind kind) {
  if (kind == Kind::domain) return NameKind::domain;
  return kind == Kind::target ? NameKind::target : NameKind::map;
}

size_t line_number(std::string_view text, size_t offset) {
  const std::string_view before = text.substr(0, offset);
  return 1 + static_cast<size_t>(std::count(before.begin(), before.end(), '\n'));
}

std::string why_not_named(const Outline &outline, Kind kind, const std::string &name) {
  const bool is_free_text = kind == Kind::test || kind == Kind::claim;
  if (is_free_text) return {};
  const NameKind expected = name_kind_of(kind);
  if (!is_name(name, expected))
    return concat(shown(name), " cannot be the name of a ", word_of(kind), "; expected: ", describe_name(expected));
  if (!outline.mentions_of(kind, name).empty()) return concat("there is a ", word_of(kind), " '", name, "' already");
  return {};
}

}  // namespace

std::string why_not_renamed(const Analysis &analysis, std::string_view text, size_t offset) {
  const Mention *mention = analysis.outline.mention_at(offset);
  if (!mention) return "there is no name here";
  if (mention->kind == Kind::rule) return "a rule is named by its policy-map, its event and its number";
  if (!analysis.file) return "the file has errors, which may hide uses of the name; correct them first";
  for (const Mention *each : analysis.outline.mentions_of(mention->kind, mention->name)) {
    if (!each->verbatim)
      return concat("line ", line_number(text, each->span.begin),
                    " writes the name with escapes; write it plainly first");
  }
  return {};
}

Renaming rename(const Analysis &analysis, const std::string &text, size_t offset, const std::string &name) {
  Renaming renaming{.refusal = why_not_renamed(analysis, text, offset)};
  if (!renaming.refusal.empty()) return renaming;
  const Mention &mention = *analysis.outline.mention_at(offset);
  if (mention.name == name) return renaming;
  renaming.refusal = why_not_named(analysis.outline, mention.kind, name);
  if (!renaming.refusal.empty()) return renaming;

  const std::vector<const Mention *> mentions = analysis.outline.mentions_of(mention.kind, mention.name);
  for (const Mention *each : mentions)
    renaming.edits.push_back({each->span, name});
  const Analysis after = analyse(analysis.file->path, edited(text, renaming.edits), std::nullopt);
  const bool is_same = after.file && after.outline.mentions_of(mention.kind, name).size() == mentions.size();
  if (is_same) return renaming;
  return {{}, concat("with the name ", shown(name), " the file would mean something else")};
}

}  // namespace simulator::editing
