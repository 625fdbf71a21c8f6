#include "simulator/language_server/features.h"

#include <algorithm>

#include "simulator/editing/actions.h"
#include "simulator/editing/completion.h"
#include "simulator/editing/hover.h"
#include "simulator/editing/rename.h"
#include "simulator/format/format.h"
#include "simulator/language_server/convert.h"
#include "simulator/messages/jsonrpc.h"
#include "simulator/text/text.h"

namespace simulator::language_server {

namespace {

using editing::Kind;
using editing::Mention;
using editing::Span;
using messages::Failure;

size_t offset_in(const Document &document, const Json &params) {
  return document.text().offset_of(point_of(member_of(params, "position")));
}

// For editors that show no Markdown.
std::string without_markup(std::string text) {
  for (const std::string_view mark : {"```\n", "\n```", "**"}) {
    for (size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at))
      text.erase(at, mark.size());
  }
  return text;
}

Json markup(std::string text, const Abilities &abilities) {
  if (!abilities.markdown) return {{"kind", "plaintext"}, {"value", without_markup(std::move(text))}};
  return {{"kind", "markdown"}, {"value", std::move(text)}};
}

int completion_number(const editing::Completion &completion) {
  constexpr int kClass = 7;
  constexpr int kProperty = 10;
  constexpr int kEnumMember = 20;
  constexpr int kReference = 18;
  constexpr int kEvent = 23;
  constexpr int kVariable = 6;
  if (completion.is == editing::Candidate::key) return kProperty;
  if (completion.is == editing::Candidate::word) return kEnumMember;
  if (completion.kind == Kind::class_map) return kClass;
  if (completion.kind == Kind::event) return kEvent;
  return completion.kind == Kind::attribute ? kVariable : kReference;
}

// In the order of the list, whatever the labels are.
std::string sort_text(size_t number) {
  const std::string digits = std::to_string(number);
  return std::string(6 - std::min<size_t>(digits.size(), 6), '0') + digits;
}

std::vector<const Mention *> namesakes(Document &document, const Json &params, bool only_definitions) {
  const editing::Outline &outline = document.analysis().outline;
  const Mention *mention = outline.mention_at(offset_in(document, params));
  if (!mention) return {};
  return only_definitions ? outline.definitions_of(mention->kind, mention->name)
                          : outline.mentions_of(mention->kind, mention->name);
}

Json locations_of(const std::vector<const Mention *> &mentions, const Document &document) {
  Json locations = Json::array();
  for (const Mention *mention : mentions)
    locations.push_back(location_of(document.uri(), mention->span, document.text()));
  return locations;
}

Json nested(const editing::Symbol &symbol, const editing::Text &text) {
  Json json = {{"name", symbol.name.empty() ? "?" : symbol.name},
               {"kind", symbol_number(symbol)},
               {"range", range_of(symbol.whole, text)},
               {"selectionRange", range_of(symbol.name_span, text)}};
  if (symbol.inside.empty()) return json;
  Json &children = json["children"] = Json::array();
  for (const editing::Symbol &child : symbol.inside)
    children.push_back(nested(child, text));
  return json;
}

std::string lowered(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char each) { return each >= 'A' && each <= 'Z' ? static_cast<char>(each - 'A' + 'a') : each; });
  return text;
}

bool overlap(Span one, Span other) {
  return one.begin <= other.end && other.begin <= one.end;
}

// An editor may ask for some kinds of actions only.
bool wants_quick_fixes(const Json &params) {
  const Json &context = member_of(params, "context");
  if (!context.is_object() || !context.contains("only") || !context["only"].is_array()) return true;
  const Json &only = context["only"];
  // The empty kind stands for all.
  return std::any_of(only.begin(), only.end(), [](const Json &kind) {
    return kind.is_string() && (kind == "quickfix" || kind.get<std::string>().empty());
  });
}

Json action_of(const editing::Remedy &remedy, const editing::Problem &problem, const Document &document) {
  return {{"title", remedy.title},
          {"kind", "quickfix"},
          {"diagnostics", Json::array({json_of(problem, nullptr, document.text())})},
          {"isPreferred", remedy.preferred},
          {"edit", {{"changes", {{document.uri(), edits_of(remedy.edits, document.text())}}}}}};
}

Json lens(size_t offset, const Document &document, Json command) {
  return {{"range", range_of({offset, offset}, document.text())}, {"command", std::move(command)}};
}

// A lens that only shows something.
Json note_lens(const editing::Note &note, const Document &document) {
  return lens(note.offset, document, {{"title", note.text}, {"command", ""}});
}

Json hint(size_t offset, const std::string &label, const Document &document) {
  return {{"position", json_of(document.text().point_of(offset))}, {"label", label}, {"paddingLeft", true}};
}

}  // namespace

Json completion(Document &document, const Json &params, const Abilities &abilities) {
  const editing::Completions found =
      editing::complete(document.text().bytes(), offset_in(document, params), document.names());
  const Json range = range_of(found.replaced, document.text());
  Json items = Json::array();
  for (const editing::Completion &each : found.all) {
    Json item = {{"label", each.label},
                 {"kind", completion_number(each)},
                 {"sortText", sort_text(items.size())},
                 {"filterText", each.label},
                 {"textEdit", {{"range", range}, {"newText", each.insertion}}}};
    if (!each.about.empty()) item["documentation"] = markup(each.about, abilities);
    if (each.is == editing::Candidate::name) item["detail"] = editing::word_of(each.kind);
    items.push_back(std::move(item));
  }
  return {{"isIncomplete", false}, {"items", std::move(items)}};
}

Json hover(Document &document, const Json &params, const Abilities &abilities) {
  const size_t offset = offset_in(document, params);
  const PolicyFile *file = document.last_valid();
  const std::optional<editing::Hover> found = editing::hover_at(document.analysis().outline, offset, file);
  if (!found) return nullptr;
  return {{"contents", markup(found->text, abilities)}, {"range", range_of(found->span, document.text())}};
}

Json definition(Document &document, const Json &params) {
  return locations_of(namesakes(document, params, true), document);
}

Json references(Document &document, const Json &params) {
  const Json &context = member_of(params, "context");
  const bool with_definitions = context.is_object() && context.value("includeDeclaration", Json(true)) == true;
  std::vector<const Mention *> all = namesakes(document, params, false);
  if (!with_definitions) std::erase_if(all, [](const Mention *mention) { return mention->defines; });
  return locations_of(all, document);
}

Json prepare_rename(Document &document, const Json &params) {
  const size_t offset = offset_in(document, params);
  const editing::Analysis &analysis = document.analysis();
  const std::string why = editing::why_not_renamed(analysis, document.text().bytes(), offset);
  if (!why.empty()) throw Failure(kRequestFailed, why);
  const Mention &mention = *analysis.outline.mention_at(offset);
  return {{"range", range_of(mention.span, document.text())}, {"placeholder", mention.name}};
}

Json rename(Document &document, const Json &params) {
  const std::string name = text_of(params, "newName");
  const editing::Renaming renaming =
      editing::rename(document.analysis(), document.text().bytes(), offset_in(document, params), name);
  if (!renaming.refusal.empty()) throw Failure(kRequestFailed, renaming.refusal);
  return {{"changes", {{document.uri(), edits_of(renaming.edits, document.text())}}}};
}

Json document_symbols(Document &document, const Abilities &abilities) {
  const std::vector<editing::Symbol> &symbols = document.analysis().outline.symbols();
  Json all = Json::array();
  if (abilities.nested_symbols) {
    for (const editing::Symbol &symbol : symbols)
      all.push_back(nested(symbol, document.text()));
  } else {
    add_matching(symbols, "", document.uri(), document.text(), "", all);
  }
  return all;
}

Json code_actions(Document &document, const Json &params, const Abilities &abilities) {
  const Span range = span_of(member_of(params, "range"), document.text());
  Json actions = Json::array();
  if (!abilities.literal_actions || !wants_quick_fixes(params)) return actions;
  const editing::Analysis &analysis = document.analysis();
  for (const editing::Problem &problem : document.problems()) {
    if (!overlap(problem.span, range)) continue;
    for (const editing::Remedy &remedy : editing::remedies_for(problem, analysis, document.text().bytes()))
      actions.push_back(action_of(remedy, problem, document));
  }
  return actions;
}

Json formatting(Document &document) {
  const editing::Analysis &analysis = document.analysis();
  if (!analysis.file) throw Failure(kRequestFailed, "the file has errors; correct them first");
  const std::string &text = document.text().bytes();
  Diagnostics diagnostics;
  Complaints defects;
  const std::optional<std::string> formatted =
      format::formatted(Source(analysis.file->path, text), *analysis.file, diagnostics, defects);
  if (!diagnostics.empty()) {
    const Diagnostic why = diagnostics.sorted().front();
    throw Failure(kRequestFailed, concat("line ", why.position.line, ": ", why.message, "; expected: ", why.expected));
  }
  if (!formatted) throw Failure(messages::ErrorCode::internal_error, comma_separated({defects.begin(), defects.end()}));
  if (*formatted == text) return Json::array();
  return edits_of({editing::difference(text, *formatted)}, document.text());
}

Json code_lenses(Document &document, const editing::Studied &studied) {
  Json lenses = Json::array();
  for (const editing::Note &note : studied.events)
    lenses.push_back(note_lens(note, document));
  for (const editing::Note &note : studied.steps)
    lenses.push_back(note_lens(note, document));
  for (const editing::Note &note : studied.claims)
    lenses.push_back(note_lens(note, document));
  const PolicyFile *file = document.last_valid();
  for (size_t at = 0; file && at < std::min(studied.tests.size(), file->tests.size()); ++at) {
    const editing::Note &note = studied.tests[at];
    const Json arguments = {document.uri(), file->tests[at].name.value};
    lenses.push_back(
        lens(note.offset, document,
             {{"title", concat("run this test: ", note.text)}, {"command", kRunTest}, {"arguments", arguments}}));
  }
  return lenses;
}

Json inlay_hints(const Document &document, const Json &params, const editing::Studied &studied) {
  const Span range = span_of(member_of(params, "range"), document.text());
  Json hints = Json::array();
  for (const editing::Note &note : studied.decisions) {
    if (range.contains(note.offset))
      hints.push_back(hint(document.text().line_at(note.offset).end, note.text, document));
  }
  for (const editing::Note &note : studied.rules) {
    if (range.contains(note.offset))
      hints.push_back(hint(document.text().line_at(note.offset).end, note.text, document));
  }
  return hints;
}

void add_matching(const std::vector<editing::Symbol> &symbols, const std::string &text, const std::string &uri,
                  const editing::Text &source, const std::string &container, Json &out) {
  for (const editing::Symbol &symbol : symbols) {
    const bool is_section = symbol.shape == "section";
    if (!is_section && lowered(symbol.name).find(lowered(text)) != std::string::npos) {
      out.push_back({{"name", symbol.name.empty() ? "?" : symbol.name},
                     {"kind", symbol_number(symbol)},
                     {"location", location_of(uri, symbol.name_span, source)},
                     {"containerName", container}});
    }
    add_matching(symbol.inside, text, uri, source, is_section ? container : symbol.name, out);
  }
}

}  // namespace simulator::language_server
