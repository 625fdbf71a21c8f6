#include "simulator/policy/yaml_errors.h"

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <optional>

#include <yaml-cpp/mark.h>

#include "simulator/policy/yaml_openings.h"
#include "simulator/text/text.h"

namespace simulator::yaml {

namespace {

namespace parser_says = YAML::ErrorMsg;

struct Sentence {
  const char *parser;  // how the parser's message begins
  const char *message;
  const char *expected;
};

constexpr const char *kUnfinishedList = "neither ',' nor ']' in a list in brackets";
constexpr const char *kUnfinishedMapping = "neither ',' nor '}' in a mapping in braces";
constexpr const char *kNoDirectives = "no line that begins with '%'";
constexpr const char *kKeyAndValue =
    "KEY: VALUE with each key on a line of its own, and quotes around a text with ': ' in it";
constexpr const char *kNameOfAnchor = "a name of letters and digits, or quotes around the text";
constexpr const char *kBlockText = "'-', '+' or a digit from 1 to 9, and the text on the lines below";
constexpr const char *kHexadecimal = R"(\xHH, \uHHHH or \UHHHHHHHH with hexadecimal digits)";

// Describes a line with wrong indentation, a tab for example.
const Sentence kOfIndentation[] = {
    {parser_says::END_OF_MAP, "this does not continue the mapping above", "a key at the indentation of the keys above"},
    {parser_says::END_OF_SEQ, "this does not continue the list above", "'-' at the indentation of the items above"},
    {parser_says::BLOCK_ENTRY, "a '-' where no item of a list can begin", "each item on a line of its own"},
    {parser_says::MAP_KEY, "a key where none can begin", kKeyAndValue},
    {parser_says::MAP_VALUE, "a ':' that follows no key", kKeyAndValue},
    {parser_says::TAB_IN_INDENTATION, "a tab in the indentation", "spaces"},
};

const Sentence kOther[] = {
    {parser_says::END_OF_SEQ_FLOW, kUnfinishedList, "',' before the next item, or ']' after the last one"},
    {parser_says::END_OF_MAP_FLOW, kUnfinishedMapping, "',' before the next key, or '}' after the last value"},
    {parser_says::FLOW_END, "this bracket closes none that is open", "'[' before ']', and '{' before '}'"},
    {parser_says::EOF_IN_SCALAR, "a text in quotes that does not end", "the closing quote"},
    {parser_says::DOC_IN_SCALAR, "a document ends inside a text in quotes", "the closing quote before this line"},
    {parser_says::UNKNOWN_TOKEN, "a value cannot begin with this character", "quotes around the text"},
    {parser_says::INVALID_ESCAPE, "an unknown escape in a text in double quotes",
     R"(an escape such as \n, \t, \" or \\; in single quotes a backslash is an ordinary character)"},
    {parser_says::INVALID_HEX, "an escape without its digits", kHexadecimal},
    {parser_says::INVALID_UNICODE, "an escape for a character that does not exist", kHexadecimal},
    {parser_says::UNKNOWN_ANCHOR, "an alias whose anchor is not defined",
     "'&' with the same name before a value further up, or quotes around the text"},
    {parser_says::ALIAS_NOT_FOUND, "'*' without the name of an anchor", kNameOfAnchor},
    {parser_says::ANCHOR_NOT_FOUND, "'&' without a name for the anchor", kNameOfAnchor},
    {parser_says::CHAR_IN_ALIAS, "a character that the name of an anchor cannot hold", kNameOfAnchor},
    {parser_says::CHAR_IN_ANCHOR, "a character that the name of an anchor cannot hold", kNameOfAnchor},
    {parser_says::MULTIPLE_ANCHORS, "two anchors of one value", "one '&' before a value"},
    {parser_says::ALIAS_CONTENT, "an alias with more than its name", "the alias alone"},
    {parser_says::ZERO_INDENT_IN_BLOCK, "an indentation of 0 for a block of text", kBlockText},
    {parser_says::CHAR_IN_BLOCK, "an unknown sign at the head of a block of text", kBlockText},
    {parser_says::MULTIPLE_TAGS, "two tags of one value", "no tags"},
    {parser_says::CHAR_IN_TAG_HANDLE, "a tag that cannot be read", "no tags"},
    {parser_says::TAG_WITH_NO_SUFFIX, "a tag that cannot be read", "no tags"},
    {parser_says::END_OF_VERBATIM_TAG, "a tag that cannot be read", "no tags"},
    {parser_says::YAML_DIRECTIVE_ARGS, "a directive that cannot be read", kNoDirectives},
    {parser_says::YAML_VERSION, "a directive that cannot be read", kNoDirectives},
    {parser_says::YAML_MAJOR_VERSION, "a newer YAML than version 1", kNoDirectives},
    {parser_says::REPEATED_YAML_DIRECTIVE, "a directive that stands here twice", kNoDirectives},
    {parser_says::TAG_DIRECTIVE_ARGS, "a directive that cannot be read", kNoDirectives},
    {parser_says::REPEATED_TAG_DIRECTIVE, "a directive that stands here twice", kNoDirectives},
};

// No message of the parser is the beginning of another one.
template <size_t size>
const Sentence *find(const Sentence (&sentences)[size], std::string_view parser_message) {
  const auto *found = std::find_if(std::begin(sentences), std::end(sentences), [&](const Sentence &sentence) {
    return parser_message.starts_with(sentence.parser);
  });
  return found == std::end(sentences) ? nullptr : found;
}

// The byte of the line, from 0, at which its indentation has a tab.
std::optional<size_t> tab_in_indentation(std::string_view line) {
  const size_t end = line.find_first_not_of(' ');
  if (end == std::string_view::npos || line[end] != '\t') return std::nullopt;
  return end;
}

Diagnostic diagnostic(Position position, std::string_view message, std::string expected) {
  return {position, concat("not YAML: ", message), std::move(expected), {}};
}

// Tabs are invisible to most people, and the parser reports only what follows one.
Diagnostic describe_indentation(const YAML::Mark &mark, const Sentence &sentence, const Source &source) {
  const Position position = position_of(source, mark);
  const std::optional<size_t> tab = tab_in_indentation(source.line(position.line));
  if (!tab) return diagnostic(position, sentence.message, sentence.expected);
  return diagnostic(source.position_of(static_cast<size_t>(mark.line), *tab), "a tab in the indentation", "spaces");
}

bool is_one_of(const YAML::Exception &error, std::initializer_list<const char *> messages) {
  return std::any_of(messages.begin(), messages.end(),
                     [&](const char *message) { return error.msg.starts_with(message); });
}

Diagnostic describe_open_bracket(size_t bracket, const Source &source) {
  const bool is_list = source.text()[bracket] == '[';
  return diagnostic(source.position_at(bracket), concat("this '", source.text()[bracket], "' is never closed"),
                    is_list ? "']' after the last item" : "'}' after the last value");
}

// 'at' is the byte of a bracket that closes none; nothing if no other one is open.
std::optional<Diagnostic> describe_wrong_bracket(size_t at, const Openings &before, const Source &source) {
  const std::string &text = source.text();
  if (before.brackets.empty() || at >= text.size()) return std::nullopt;
  const size_t open = before.brackets.back();
  const Position position = source.position_at(open);
  return diagnostic(source.position_at(at),
                    concat("this '", text[at], "' does not close the '", text[open], "' in line ", position.line,
                           ", column ", position.column),
                    text[open] == '[' ? "']' before it" : "'}' before it");
}

// A text in quotes that ends at the next quote of another text is noticed only behind that quote.
std::optional<Diagnostic> describe_quoted(const Openings::Quoted &quoted, size_t error, const Source &source) {
  const std::string_view text = source.text();
  const std::string_view gap = text.substr(quoted.end, error - quoted.end);
  if (gap.find_first_not_of(" \t") != std::string_view::npos) return std::nullopt;
  const Position begin = source.position_at(quoted.begin);
  const Position end = source.position_at(quoted.end - 1);
  if (begin.line != end.line) {
    return diagnostic(begin, concat("the text in these quotes goes on to line ", end.line),
                      "the closing quote where the text ends");
  }
  if (!gap.empty()) return std::nullopt;
  return diagnostic(end, "the text in quotes ends here, but more follows",
                    text[quoted.begin] == '"' ? "\\\" for a quote inside the text" : "'' for a quote inside the text");
}

// Finds the bracket or quote that is to blame, which is often far above the place where the parser gave up.
std::optional<Diagnostic> describe_opening(const YAML::Exception &error, const Source &source) {
  if (error.mark.is_null()) return std::nullopt;
  const std::string_view text = source.text();
  const bool at_end = is_one_of(error, {parser_says::EOF_IN_SCALAR});
  const size_t at =
      at_end ? text.size()
             : source.offset_of(static_cast<size_t>(error.mark.line), static_cast<size_t>(error.mark.column));
  const Openings before = find_openings(text.substr(0, at));
  if (at_end || is_one_of(error, {parser_says::DOC_IN_SCALAR})) {
    return before.quote ? std::optional(describe_open_quote(*before.quote, source)) : std::nullopt;
  }
  if (is_one_of(error, {parser_says::FLOW_END})) return describe_wrong_bracket(at, before, source);
  const bool in_brackets =
      is_one_of(error, {parser_says::END_OF_SEQ_FLOW, parser_says::END_OF_MAP_FLOW, parser_says::BLOCK_ENTRY});
  if (!in_brackets && !is_one_of(error, {parser_says::END_OF_MAP, parser_says::END_OF_SEQ})) return std::nullopt;
  if (before.quote) return std::nullopt;
  if (before.last_quoted) {
    if (std::optional<Diagnostic> why = describe_quoted(*before.last_quoted, at, source)) return why;
  }
  if (!in_brackets || before.brackets.empty()) return std::nullopt;
  const std::vector<size_t> never_closed = find_openings(text).brackets;
  const size_t innermost = before.brackets.back();
  const bool is_never_closed = std::find(never_closed.begin(), never_closed.end(), innermost) != never_closed.end();
  return is_never_closed ? std::optional(describe_open_bracket(innermost, source)) : std::nullopt;
}

}  // namespace

Diagnostic describe_open_quote(size_t quote, const Source &source) {
  return diagnostic(source.position_at(quote), "this quote is never closed", "the same quote where the text ends");
}

Position position_of(const Source &source, const YAML::Mark &mark) {
  if (mark.is_null()) return {};
  return source.position_of(static_cast<size_t>(mark.line), static_cast<size_t>(mark.column));
}

Diagnostic describe(const YAML::Exception &error, const Source &source) {
  if (std::optional<Diagnostic> opening = describe_opening(error, source)) return std::move(*opening);
  if (const Sentence *sentence = find(kOfIndentation, error.msg)) {
    return describe_indentation(error.mark, *sentence, source);
  }
  const Position position = position_of(source, error.mark);
  if (const Sentence *sentence = find(kOther, error.msg)) {
    return diagnostic(position, sentence->message, sentence->expected);
  }
  return diagnostic(position, "the text cannot be understood from here on", "quotes around texts with signs in them");
}

}  // namespace simulator::yaml
