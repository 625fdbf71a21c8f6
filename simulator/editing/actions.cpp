#include "simulator/editing/actions.h"

#include <algorithm>

#include "simulator/editing/text.h"
#include "simulator/text/text.h"

namespace simulator::editing {

namespace {

size_t end_of_line(std::string_view text, size_t at) {
  return std::min(text.find('\n', at), text.size());
}

std::string indent_at(std::string_view text, size_t at) {
  const size_t line = begin_of_line(text, at);
  const size_t content = text.find_first_not_of(' ', line);
  return std::string(std::min(content, text.size()) - line, ' ');
}

const Symbol *find_section(const Outline &outline, std::string_view name) {
  const std::vector<Symbol> &sections = outline.symbols();
  const auto found =
      std::find_if(sections.begin(), sections.end(), [&](const Symbol &each) { return each.name == name; });
  return found == sections.end() ? nullptr : &*found;
}

const Symbol *find_object(const Outline &outline, size_t offset) {
  for (const Symbol &section : outline.symbols()) {
    for (const Symbol &object : section.inside) {
      if (object.name_span.contains(offset)) return &object;
    }
  }
  return nullptr;
}

// Adds a new entry to a section.
Edit entry_in(const Symbol &section, std::string_view text, const std::string &entry) {
  const size_t value = text.find_first_not_of(" :", section.name_span.end);
  if (value != std::string_view::npos && text[value] == '{') {
    const bool is_empty = section.inside.empty();
    return {{value + 1, value + 1}, concat(entry, is_empty ? "" : ", ")};
  }
  const std::string indent = section.inside.empty() ? "  " : indent_at(text, section.inside.front().whole.begin);
  const size_t end =
      end_of_line(text, section.inside.empty() ? section.name_span.end : section.inside.back().whole.end);
  return {{end, end}, concat("\n", indent, entry)};
}

Edit entry_in_new_section(const Outline &outline, std::string_view text, std::string_view name,
                          const std::string &entry) {
  const Symbol *policies = find_section(outline, "policy-maps");
  const size_t at = policies ? begin_of_line(text, policies->whole.begin) : text.size();
  const bool needs_break = at == text.size() && !text.ends_with('\n');
  return {{at, at}, concat(needs_break ? "\n" : "", name, ":\n  ", entry, "\n")};
}

class Workshop {
 public:
  Workshop(const Problem &problem, const Analysis &analysis, const std::string &text)
      : problem_(&problem), analysis_(&analysis), text_(&text) {}

  std::vector<Remedy> run() {
    apply_suggestion();
    add_missing_class();
    remove_unused();
    ignore_finding();
    return std::move(remedies_);
  }

 private:
  Analysis after(const Remedy &remedy) const { return analyse("", edited(*text_, remedy.edits), std::nullopt); }

  void apply_suggestion() {
    if (problem_->suggestion.empty()) return;
    offer_if_fewer({concat("Change to '", problem_->suggestion, "'"), {{problem_->span, problem_->suggestion}}, true});
  }

  // It has no filters yet, so it always matches.
  void add_missing_class() {
    const Mention *mention = analysis_->outline.mention_at(problem_->span.begin);
    const bool is_missing = mention && mention->kind == Kind::class_map &&
                            problem_->message.starts_with(concat("class-map '", mention->name, "' is used"));
    if (!is_missing) return;
    const std::string entry = concat(mention->name, ": {filters: []}");
    const Symbol *section = find_section(analysis_->outline, "class-maps");
    const Edit edit = section ? entry_in(*section, *text_, entry)
                              : entry_in_new_section(analysis_->outline, *text_, "class-maps", entry);
    offer_if_fewer({concat("Add the class-map '", mention->name, "'"), {edit}, false});
  }

  void offer_if_fewer(Remedy remedy) {
    if (after(remedy).problems.size() < analysis_->problems.size()) remedies_.push_back(std::move(remedy));
  }

  bool is_about_use() const {
    return problem_->code == "unused-class" || problem_->code == "unused-parameter-map" ||
           problem_->code == "inactive-policy";
  }

  void remove_unused() {
    const Symbol *object = is_about_use() ? find_object(analysis_->outline, problem_->span.begin) : nullptr;
    if (!object) return;
    const size_t end = end_of_line(*text_, object->whole.end);
    const Span lines = {begin_of_line(*text_, object->whole.begin), std::min(end + 1, text_->size())};
    Remedy remedy = {concat("Remove the ", word_of(object->kind), " '", object->name, "'"), {{lines, ""}}, false};
    const Analysis result = after(remedy);
    // Lines that hold something else too would take it away.
    const size_t before = analysis_->outline.names()[static_cast<size_t>(object->kind)].size();
    const bool is_alone = result.outline.names()[static_cast<size_t>(object->kind)].size() + 1 == before;
    if (result.file && is_alone) remedies_.push_back(std::move(remedy));
  }

  void ignore_finding() {
    if (problem_->code.empty() || problem_->code == "unused-ignore") return;
    const size_t line = begin_of_line(*text_, problem_->span.begin);
    Remedy remedy = {
        concat("Ignore this ", problem_->code),
        {{{line, line}, concat(indent_at(*text_, line), "# zar: ignore ", problem_->code, ": say why it may stay\n")}},
        false};
    if (after(remedy).file) remedies_.push_back(std::move(remedy));
  }

  const Problem *problem_;
  const Analysis *analysis_;
  const std::string *text_;
  std::vector<Remedy> remedies_;
};

}  // namespace

std::vector<Remedy> remedies_for(const Problem &problem, const Analysis &analysis, const std::string &text) {
  return Workshop(problem, analysis, text).run();
}

}  // namespace simulator::editing
