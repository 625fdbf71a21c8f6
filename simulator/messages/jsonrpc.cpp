#include "simulator/messages/jsonrpc.h"

#include "simulator/text/text.h"

namespace simulator::messages {

namespace {

constexpr const char *kVersion = "2.0";

// Deep values would need a deep stack, so they are found before the text is parsed.
bool is_too_deep(std::string_view text) {
  size_t depth = 0;
  bool in_string = false;
  for (size_t at = 0; at < text.size(); ++at) {
    const char character = text[at];
    if (in_string) {
      if (character == '\\') ++at;
      in_string = at < text.size() && character != '"';
    } else if (character == '"') {
      in_string = true;
    } else if (character == '[' || character == '{') {
      if (++depth > kMostDepth) return true;
    } else if ((character == ']' || character == '}') && depth > 0) {
      --depth;
    }
  }
  return false;
}

Malformed malformed(const Json &id, ErrorCode code, std::string message) {
  return {error_response(id, {code, std::move(message)})};
}

bool is_id(const Json &id) {
  return id.is_string() || id.is_number() || id.is_null();
}

bool are_params(const Json &params) {
  return params.is_structured() || params.is_null();
}

Json member(const Json &object, const char *name) {
  return object.value(name, Json(nullptr));
}

Message read_call(const Json &object, const Json &id) {
  if (!object["method"].is_string()) return malformed(id, ErrorCode::invalid_request, "the method is no text");
  Call call{.method = object["method"].get<std::string>(), .params = member(object, "params")};
  if (object.contains("id")) call.id = id;
  if (!are_params(call.params)) return malformed(id, ErrorCode::invalid_request, "'params' is no object or array");
  return call;
}

Message read_object(const Json &object) {
  const Json given = member(object, "id");
  if (!is_id(given)) return malformed(nullptr, ErrorCode::invalid_request, "the id is no text or number");
  if (member(object, "jsonrpc") != kVersion)
    return malformed(given, ErrorCode::invalid_request, "the message has no \"jsonrpc\": \"2.0\"");
  if (object.contains("method")) return read_call(object, given);
  if (object.contains("error")) return Answer{.id = given, .error = object["error"]};
  if (object.contains("result")) return Answer{.id = given, .result = object["result"]};
  return malformed(given, ErrorCode::invalid_request, "the message has no method, result or error");
}

}  // namespace

Message parse(std::string_view text) {
  if (is_too_deep(text))
    return malformed(nullptr, ErrorCode::invalid_request, concat("nested deeper than ", kMostDepth, " levels"));
  const Json json = Json::parse(text, nullptr, false);
  if (json.is_discarded()) return malformed(nullptr, ErrorCode::parse_error, "the message is not JSON in UTF-8");
  if (!json.is_object()) return malformed(nullptr, ErrorCode::invalid_request, "the message is no object");
  return read_object(json);
}

Json request(const Json &id, std::string_view method, Json params) {
  Json message = notification(method, std::move(params));
  message["id"] = id;
  return message;
}

Json notification(std::string_view method, Json params) {
  Json message;
  message["jsonrpc"] = kVersion;
  message["method"] = method;
  if (!params.is_null()) message["params"] = std::move(params);
  return message;
}

Json response(const Json &id, Json result) {
  Json message;
  message["jsonrpc"] = kVersion;
  message["id"] = id;
  message["result"] = std::move(result);
  return message;
}

Json error_response(const Json &id, const Failure &failure) {
  Json message;
  message["jsonrpc"] = kVersion;
  message["id"] = id;
  message["error"] = {{"code", failure.code}, {"message", failure.message}};
  if (!failure.data.is_null()) message["error"]["data"] = failure.data;
  return message;
}

}  // namespace simulator::messages
