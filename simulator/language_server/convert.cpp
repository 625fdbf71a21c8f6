#include "simulator/language_server/convert.h"

#include <charconv>

#include "simulator/messages/jsonrpc.h"
#include "simulator/text/text.h"

namespace simulator::language_server {

namespace {

using editing::Kind;
using messages::ErrorCode;
using messages::Failure;

constexpr std::string_view kFileScheme = "file://";

size_t count_of(const Json &json, const char *name) {
  const Json &value = member_of(json, name);
  if (value.is_number_unsigned()) return value.get<size_t>();
  throw Failure(ErrorCode::invalid_params, concat("'", name, "' is no whole number from 0 on"));
}

bool is_plain_in_uri(char character) {
  const bool is_letter = (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z');
  const bool is_digit = character >= '0' && character <= '9';
  return is_letter || is_digit || std::string_view("-_.~/").find(character) != std::string_view::npos;
}

}  // namespace

const Json &member_of(const Json &params, const char *name) {
  if (params.is_object()) {
    if (const auto found = params.find(name); found != params.end()) return *found;
  }
  throw Failure(ErrorCode::invalid_params, concat("'", name, "' is missing"));
}

std::string text_of(const Json &params, const char *name) {
  const Json &value = member_of(params, name);
  if (value.is_string()) return value.get<std::string>();
  throw Failure(ErrorCode::invalid_params, concat("'", name, "' is no text"));
}

editing::Point point_of(const Json &json) {
  return {count_of(json, "line"), count_of(json, "character")};
}

std::string uri_of(const Json &params) {
  return text_of(member_of(params, "textDocument"), "uri");
}

editing::Span span_of(const Json &range, const editing::Text &text) {
  const size_t begin = text.offset_of(point_of(member_of(range, "start")));
  return {begin, std::max(begin, text.offset_of(point_of(member_of(range, "end"))))};
}

Json json_of(editing::Point point) {
  return {{"line", point.line}, {"character", point.unit}};
}

Json range_of(editing::Span span, const editing::Text &text) {
  return {{"start", json_of(text.point_of(span.begin))}, {"end", json_of(text.point_of(span.end))}};
}

Json location_of(const std::string &uri, editing::Span span, const editing::Text &text) {
  return {{"uri", uri}, {"range", range_of(span, text)}};
}

Json edits_of(const std::vector<editing::Edit> &edits, const editing::Text &text) {
  Json array = Json::array();
  for (const editing::Edit &edit : edits)
    array.push_back({{"range", range_of(edit.span, text)}, {"newText", edit.text}});
  return array;
}

Json json_of(const editing::Problem &problem, const std::string *uri, const editing::Text &text) {
  Json json = {{"range", range_of(problem.span, text)},
               {"severity", static_cast<int>(problem.severity)},
               {"source", "zar"},
               {"message", problem.message}};
  if (!problem.code.empty()) json["code"] = problem.code;
  if (!uri || problem.related.empty()) return json;
  Json &related = json["relatedInformation"] = Json::array();
  for (const editing::RelatedPlace &place : problem.related)
    related.push_back({{"location", location_of(*uri, place.span, text)}, {"message", place.message}});
  return json;
}

int symbol_number(const editing::Symbol &symbol) {
  constexpr int kNamespace = 3;
  constexpr int kPackage = 4;
  constexpr int kClass = 5;
  constexpr int kMethod = 6;
  constexpr int kInterface = 11;
  constexpr int kFunction = 12;
  constexpr int kBoolean = 17;
  constexpr int kObject = 19;
  constexpr int kStruct = 23;
  constexpr int kEvent = 24;
  switch (symbol.kind) {
    case Kind::client:
      return kPackage;
    case Kind::class_map:
      return kClass;
    case Kind::policy_map:
      return kInterface;
    case Kind::parameter_map:
      return kStruct;
    case Kind::target:
      return kObject;
    case Kind::rule:
      return kMethod;
    case Kind::test:
      return kFunction;
    case Kind::claim:
      return kBoolean;
    case Kind::event:
      return kEvent;
    case Kind::domain:
    case Kind::attribute:
    case Kind::none:
      break;
  }
  if (symbol.shape == "statement") return kMethod;
  return symbol.shape == "step" || symbol.shape == "test_step" ? kEvent : kNamespace;
}

std::string path_of_uri(std::string_view uri) {
  if (!uri.starts_with(kFileScheme)) return std::string(uri);
  uri.remove_prefix(kFileScheme.size());
  std::string path;
  for (size_t at = 0; at < uri.size(); ++at) {
    unsigned code = 0;
    const bool is_escape =
        uri[at] == '%' && at + 2 < uri.size() &&
        std::from_chars(uri.data() + at + 1, uri.data() + at + 3, code, 16).ptr == uri.data() + at + 3;
    path += is_escape ? static_cast<char>(code) : uri[at];
    if (is_escape) at += 2;
  }
  return path;
}

std::string uri_of_path(std::string_view path) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  std::string uri(kFileScheme);
  for (const char character : path) {
    if (is_plain_in_uri(character)) {
      uri += character;
    } else {
      const auto code = static_cast<unsigned char>(character);
      uri += '%';
      uri += kDigits[code >> 4U];
      uri += kDigits[code & 15U];
    }
  }
  return uri;
}

}  // namespace simulator::language_server
