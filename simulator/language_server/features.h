// The answers to requests about one document.
#pragma once

#include <string>
#include <vector>

#include "simulator/language_server/document.h"
#include "simulator/text/json.h"

namespace simulator::language_server {

// What the editor can show.
struct Abilities {
  bool markdown = false;
  bool nested_symbols = false;
  bool related_places = false;
  bool literal_actions = false;
  bool prepares_renames = false;
};

// The command that an editor sends for the lens of a test; its arguments are the document and the name of the test.
inline constexpr const char *kRunTest = "zar.runTest";
// What the protocol calls a request that was understood and cannot be fulfilled.
inline constexpr int kRequestFailed = -32803;

Json completion(Document &document, const Json &params, const Abilities &abilities);
Json hover(Document &document, const Json &params, const Abilities &abilities);
Json definition(Document &document, const Json &params);
Json references(Document &document, const Json &params);
Json prepare_rename(Document &document, const Json &params);
Json rename(Document &document, const Json &params);
Json document_symbols(Document &document, const Abilities &abilities);
Json code_actions(Document &document, const Json &params, const Abilities &abilities);
Json formatting(Document &document);
// Of a document whose text was studied.
Json code_lenses(Document &document, const editing::Studied &studied);
Json inlay_hints(const Document &document, const Json &params, const editing::Studied &studied);

// Adds the symbols whose names contain the text, in whatever case.
void add_matching(const std::vector<editing::Symbol> &symbols, const std::string &text, const std::string &uri,
                  const editing::Text &source, const std::string &container, Json &out);

}  // namespace simulator::language_server
