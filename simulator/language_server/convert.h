// The values of the language server protocol, read from messages and written for them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "simulator/editing/analysis.h"
#include "simulator/editing/text.h"
#include "simulator/text/json.h"

namespace simulator::language_server {

// They throw Failure with invalid_params for anything else.
const Json &member_of(const Json &params, const char *name);
std::string text_of(const Json &params, const char *name);
editing::Point point_of(const Json &json);
// Of the member textDocument.
std::string uri_of(const Json &params);
// The bytes of a range in a text.
editing::Span span_of(const Json &range, const editing::Text &text);

Json json_of(editing::Point point);
Json range_of(editing::Span span, const editing::Text &text);
Json location_of(const std::string &uri, editing::Span span, const editing::Text &text);
Json edits_of(const std::vector<editing::Edit> &edits, const editing::Text &text);
// 'uri' is for related places; without it they are left out.
Json json_of(const editing::Problem &problem, const std::string *uri, const editing::Text &text);

// Numbers of the protocol for what a symbol is.
int symbol_number(const editing::Symbol &symbol);

// The path of a file, or the text itself when it names none. And back.
std::string path_of_uri(std::string_view uri);
std::string uri_of_path(std::string_view path);

}  // namespace simulator::language_server
