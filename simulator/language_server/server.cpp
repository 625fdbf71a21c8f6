#include "simulator/language_server/server.h"

#include <algorithm>
#include <exception>
#include <new>

#include "simulator/language_server/convert.h"
#include "simulator/text/interruption.h"
#include "simulator/text/text.h"

namespace simulator::language_server {

namespace {

using messages::Call;
using messages::ErrorCode;
using messages::Failure;

constexpr int kServerNotInitialized = -32002;
constexpr int kRequestCancelled = -32800;
constexpr int kContentModified = -32801;

// A member at the end of a path, or null.
Json find_member(const Json &json, std::initializer_list<const char *> path) {
  Json at = json;
  for (const char *name : path) {
    if (!at.is_object() || !at.contains(name)) return nullptr;
    Json next = at[name];
    at = std::move(next);
  }
  return at;
}

bool is_true(const Json &json, std::initializer_list<const char *> path) {
  return find_member(json, path) == true;
}

Abilities abilities_of(const Json &params) {
  const Json all = find_member(params, {"capabilities", "textDocument"});
  const Json formats = find_member(all, {"hover", "contentFormat"});
  return {.markdown = formats.is_array() && std::find(formats.begin(), formats.end(), "markdown") != formats.end(),
          .nested_symbols = is_true(all, {"documentSymbol", "hierarchicalDocumentSymbolSupport"}),
          .related_places = is_true(all, {"publishDiagnostics", "relatedInformation"}),
          .literal_actions = find_member(all, {"codeAction", "codeActionLiteralSupport"}).is_object(),
          .prepares_renames = is_true(all, {"rename", "prepareSupport"})};
}

Json capabilities_for(const Abilities &abilities) {
  constexpr int kIncremental = 2;
  Json all = {
      {"positionEncoding", "utf-16"},
      {"textDocumentSync", {{"openClose", true}, {"change", kIncremental}}},
      {"completionProvider", {{"triggerCharacters", {" ", "[", "{", ","}}}},
      {"hoverProvider", true},
      {"definitionProvider", true},
      {"referencesProvider", true},
      {"documentSymbolProvider", true},
      {"workspaceSymbolProvider", true},
      {"documentFormattingProvider", true},
      {"codeLensProvider", {{"resolveProvider", false}}},
      {"inlayHintProvider", true},
      {"executeCommandProvider", {{"commands", {kRunTest}}}},
  };
  all["renameProvider"] = abilities.prepares_renames ? Json{{"prepareProvider", true}} : Json(true);
  if (abilities.literal_actions) all["codeActionProvider"] = {{"codeActionKinds", {"quickfix"}}};
  return all;
}

// The folder that is open in the editor; empty if none is.
std::string root_of(const Json &params) {
  const Json folders = find_member(params, {"workspaceFolders"});
  Json uri = find_member(params, {"rootUri"});
  if (folders.is_array() && !folders.empty()) uri = find_member(folders[0], {"uri"});
  return uri.is_string() ? path_of_uri(uri.get<std::string>()) : std::string();
}

}  // namespace

void Server::receive(std::string_view text) {
  messages::Message message = messages::parse(text);
  if (const Call *call = std::get_if<Call>(&message); call && call->method == "$/cancelRequest" && !call->id)
    return cancel(call->params);
  waiting_messages_.push_back(std::move(message));
}

bool Server::step() {
  if (waiting_messages_.empty() || exit_code_) return false;
  const messages::Message message = std::move(waiting_messages_.front());
  waiting_messages_.pop_front();
  if (const auto *malformed = std::get_if<messages::Malformed>(&message)) {
    outgoing_.push_back(malformed->response);
  } else if (const auto *call = std::get_if<Call>(&message)) {
    handle(*call);
  }
  return true;
}

void Server::handle(const Call &call) {
  if (call.id) return handle_request(call);
  try {
    handle_notification(call);
  } catch (const Failure &failure) {
    warn(concat(call.method, ": ", failure.message));
  } catch (const std::bad_alloc &) {
    throw;
  } catch (const std::exception &error) {
    warn(concat(call.method, ": internal error: ", error.what()));
  }
}

void Server::handle_request(const Call &call) {
  try {
    check_state(call);
    Json result = result_of(call);
    if (!result.is_discarded()) outgoing_.push_back(messages::response(*call.id, std::move(result)));
  } catch (const Failure &failure) {
    outgoing_.push_back(messages::error_response(*call.id, failure));
  } catch (const std::bad_alloc &) {
    throw;
  } catch (const std::exception &error) {
    // An editor goes on without this answer; it would be of little use without the server.
    outgoing_.push_back(messages::error_response(*call.id, {ErrorCode::internal_error, error.what()}));
  }
}

void Server::check_state(const Call &call) const {
  if (state_ == State::new_born && call.method != "initialize")
    throw Failure(kServerNotInitialized, "the first request has to be initialize");
  if (state_ == State::running && call.method == "initialize")
    throw Failure(ErrorCode::invalid_request, "initialize was called already");
  if (state_ == State::shut_down) throw Failure(ErrorCode::invalid_request, "the server was shut down");
}

// A discarded value: the answer follows later.
Json Server::result_of(const Call &call) {
  static const std::map<std::string_view, Answer> kOfDocument = {
      {"textDocument/definition", [](Document &document, const Json &params) { return definition(document, params); }},
      {"textDocument/references", [](Document &document, const Json &params) { return references(document, params); }},
      {"textDocument/prepareRename",
       [](Document &document, const Json &params) { return prepare_rename(document, params); }},
      {"textDocument/rename", [](Document &document, const Json &params) { return rename(document, params); }},
      {"textDocument/formatting", [](Document &document, const Json &) { return formatting(document); }},
  };
  const std::string &method = call.method;
  const Json &params = call.params;
  if (const auto found = kOfDocument.find(method); found != kOfDocument.end())
    return found->second(document_of(params), params);
  if (method == "textDocument/completion") return completion(document_of(params), params, abilities_);
  if (method == "textDocument/hover") return hover(document_of(params), params, abilities_);
  if (method == "textDocument/documentSymbol") return document_symbols(document_of(params), abilities_);
  if (method == "textDocument/codeAction") return code_actions(document_of(params), params, abilities_);
  if (method == "textDocument/codeLens" || method == "textDocument/inlayHint") {
    wait_for_study(call, method == "textDocument/inlayHint");
    return Json(Json::value_t::discarded);
  }
  if (method == "workspace/symbol") return workspace_symbols(params);
  if (method == "workspace/executeCommand") return execute(params);
  if (method == "initialize") return initialize(params);
  if (method == "shutdown") return shut_down();
  throw Failure(ErrorCode::method_not_found, concat("there is no method ", in_quotes(method)));
}

void Server::handle_notification(const Call &call) {
  if (call.method == "exit") return exit();
  if (state_ != State::running) return;
  if (call.method == "textDocument/didOpen") return open(call.params);
  if (call.method == "textDocument/didChange") return change(call.params);
  if (call.method == "textDocument/didClose") return close(call.params);
}

// ---- The life of the server ----

Json Server::initialize(const Json &params) {
  abilities_ = abilities_of(params);
  folder_ = Folder(root_of(params));
  state_ = State::running;
  return {{"capabilities", capabilities_for(abilities_)}, {"serverInfo", {{"name", "zar"}, {"version", version_}}}};
}

Json Server::shut_down() {
  state_ = State::shut_down;
  to_study_.clear();
  while (!waiting_.empty())
    end_waiting(std::string(waiting_.front().uri), nullptr, {kRequestCancelled, "the server was shut down"});
  documents_.clear();
  return nullptr;
}

void Server::exit() {
  exit_code_ = state_ == State::shut_down ? 0 : 1;
}

// A request that was answered already stays answered.
void Server::cancel(const Json &params) {
  const Json id = find_member(params, {"id"});
  const auto is_it = [&](const messages::Message &message) {
    const Call *call = std::get_if<Call>(&message);
    return call && call->id && *call->id == id;
  };
  size_t cancelled = std::erase_if(waiting_messages_, is_it);
  cancelled += std::erase_if(waiting_, [&](const Waiting &each) { return each.id == id; });
  for (; cancelled > 0; --cancelled)
    outgoing_.push_back(messages::error_response(id, {kRequestCancelled, "the request was cancelled"}));
}

// ---- Documents ----

void Server::open(const Json &params) {
  const Json &item = member_of(params, "textDocument");
  const std::string uri = text_of(item, "uri");
  const bool is_new = documents_.try_emplace(uri, uri, text_of(item, "text")).second;
  if (!is_new) throw Failure(ErrorCode::invalid_params, concat(uri, " is open already"));
  to_study_.push_front(uri);
}

void Server::change(const Json &params) {
  Document &document = document_of(params);
  const Json &changes = member_of(params, "contentChanges");
  if (!changes.is_array()) throw Failure(ErrorCode::invalid_params, "'contentChanges' is no array");
  end_waiting(document.uri(), nullptr, {kContentModified, "the text was changed"});
  std::erase(to_study_, document.uri());
  to_study_.push_front(document.uri());
  for (const Json &change : changes) {
    std::string text = text_of(change, "text");
    if (!change.contains("range")) {
      document.replace_all(std::move(text));
      continue;
    }
    const Json &range = change["range"];
    const editing::Point from = point_of(member_of(range, "start"));
    document.replace(from, point_of(member_of(range, "end")), text);
  }
}

void Server::close(const Json &params) {
  const std::string uri = document_of(params).uri();
  end_waiting(uri, nullptr, {kContentModified, "the document was closed"});
  std::erase(to_study_, uri);
  documents_.erase(uri);
  outgoing_.push_back(
      messages::notification("textDocument/publishDiagnostics", {{"uri", uri}, {"diagnostics", Json::array()}}));
}

Document *Server::find(const std::string &uri) {
  const auto found = documents_.find(uri);
  return found == documents_.end() ? nullptr : &found->second;
}

Document &Server::document_of(const Json &params) {
  const std::string uri = uri_of(params);
  const auto found = documents_.find(uri);
  if (found == documents_.end()) throw Failure(ErrorCode::invalid_params, concat(in_quotes(uri), " is not open"));
  return found->second;
}

void Server::publish(const Document &document) {
  const std::string *uri = abilities_.related_places ? &document.uri() : nullptr;
  Json diagnostics = Json::array();
  for (const editing::Problem &problem : document.problems())
    diagnostics.push_back(json_of(problem, uri, document.text()));
  outgoing_.push_back(messages::notification("textDocument/publishDiagnostics",
                                             {{"uri", document.uri()}, {"diagnostics", std::move(diagnostics)}}));
}

void Server::warn(const std::string &text) {
  constexpr int kWarning = 2;
  outgoing_.push_back(messages::notification("window/logMessage", {{"type", kWarning}, {"message", text}}));
}

// ---- The folder ----

Json Server::workspace_symbols(const Json &params) {
  const std::string query = text_of(params, "query");
  Json all = Json::array();
  std::vector<std::string> open;
  for (auto &[uri, document] : documents_) {
    add_matching(document.analysis().outline.symbols(), query, uri, document.text(), "", all);
    open.push_back(path_of_uri(uri));
  }
  for (const auto &[path, file] : folder_.files()) {
    if (std::find(open.begin(), open.end(), path) == open.end())
      add_matching(file.symbols, query, uri_of_path(path), file.text, "", all);
  }
  if (folder_.is_cut()) warn(concat("only ", Folder::kMostFiles, " files of the folder were read for its symbols"));
  return all;
}

// ---- Commands ----

Json Server::execute(const Json &params) {
  const std::string command = text_of(params, "command");
  if (command != kRunTest) throw Failure(ErrorCode::invalid_params, concat("there is no command ", in_quotes(command)));
  const Json &arguments = member_of(params, "arguments");
  const bool are_texts =
      arguments.is_array() && arguments.size() == 2 && arguments[0].is_string() && arguments[1].is_string();
  if (!are_texts) throw Failure(ErrorCode::invalid_params, "the arguments are not a document and the name of a test");
  const std::string name = arguments[1];
  const Document *document = find(arguments[0]);
  if (!document) throw Failure(ErrorCode::invalid_params, "the document is not open");
  const std::optional<editing::TestResult> result =
      editing::run_test(Source(path_of_uri(document->uri()), document->text().bytes()), name);
  if (!result) throw Failure(kRequestFailed, concat("there is no test ", in_quotes(name)));
  constexpr int kError = 1;
  constexpr int kInfo = 3;
  outgoing_.push_back(messages::notification(
      "window/showMessage",
      {{"type", result->passed ? kInfo : kError}, {"message", concat("test ", in_quotes(name), ": ", result->text)}}));
  return {{"passed", result->passed}, {"text", result->text}};
}

// ---- Studies ----

std::optional<Order> Server::take_order() {
  if (to_study_.empty()) return std::nullopt;
  const Document &document = documents_.at(to_study_.front());
  to_study_.pop_front();
  return Order{document.uri(), document.revision(), path_of_uri(document.uri()), document.text().bytes(),
               document.edited_at()};
}

bool Server::is_current(const Order &order) const {
  const auto found = documents_.find(order.uri);
  return found != documents_.end() && found->second.revision() == order.revision;
}

Document *Server::find_current(const Order &order) {
  return is_current(order) ? find(order.uri) : nullptr;
}

void Server::set_checked(const Order &order, editing::Checked checked) {
  Document *document = find_current(order);
  if (!document) return;
  document->set_checked(std::move(checked));
  publish(*document);
  // No study of it will come.
  static const editing::Studied kNothing;
  if (document->is_known_invalid()) end_waiting(order.uri, &kNothing, {0, ""});
}

void Server::set_studied(const Order &order, editing::Studied studied) {
  Document *document = find_current(order);
  if (!document) return;
  for (const std::string &remark : studied.remarks)
    warn(concat(order.path, ": ", remark));
  document->set_studied(std::move(studied));
  publish(*document);
  end_waiting(order.uri, document->studied(), {0, ""});
}

void Server::set_failed(const Order &order, const std::string &why) {
  if (!is_current(order)) return;
  warn(concat(order.path, ": ", why));
  end_waiting(order.uri, nullptr, {static_cast<int>(ErrorCode::internal_error), why});
}

void Server::wait_for_study(const Call &call, bool wants_hints) {
  Document &document = document_of(call.params);
  if (wants_hints) span_of(member_of(call.params, "range"), document.text());
  waiting_.push_back({*call.id, document.uri(), call.params, wants_hints});
  static const editing::Studied kNothing;
  const editing::Studied *studied = document.is_known_invalid() ? &kNothing : document.studied();
  if (studied) end_waiting(document.uri(), studied, {0, ""});
}

Json Server::answer_of(const Waiting &waiting, const editing::Studied &studied) {
  Document &document = *find(waiting.uri);
  return waiting.wants_hints ? inlay_hints(document, waiting.params, studied) : code_lenses(document, studied);
}

void Server::end_waiting(const std::string &uri, const editing::Studied *studied, const Failure &failure) {
  for (const Waiting &each : waiting_) {
    if (each.uri != uri) continue;
    outgoing_.push_back(studied ? messages::response(each.id, answer_of(each, *studied))
                                : messages::error_response(each.id, failure));
  }
  std::erase_if(waiting_, [&](const Waiting &each) { return each.uri == uri; });
}

}  // namespace simulator::language_server
