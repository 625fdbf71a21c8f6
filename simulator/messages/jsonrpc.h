// Messages of JSON-RPC 2.0: requests, notifications and responses.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "simulator/text/json.h"

namespace simulator::messages {

enum class ErrorCode : int {
  parse_error = -32700,
  invalid_request = -32600,
  method_not_found = -32601,
  invalid_params = -32602,
  internal_error = -32603,
};

// Ends the work on a request; its response reports the error. A code is any that the protocol in use defines.
struct Failure {
  int code;
  std::string message;
  Json data{};  // null if there are none

  Failure(int error_code, std::string text, Json details = nullptr)
      : code(error_code), message(std::move(text)), data(std::move(details)) {}
  Failure(ErrorCode error_code, std::string text) : Failure(static_cast<int>(error_code), std::move(text)) {}
};

// A request, or a notification if it has no id.
struct Call {
  std::optional<Json> id{};  // a text, a number, or null
  std::string method{};
  Json params{};  // null if there are none
};

// The answer to a request of our own.
struct Answer {
  Json id{};
  Json result{};  // null after an error
  std::optional<Json> error{};
};

// What cannot be understood, and the response to it.
struct Malformed {
  Json response{};
};

using Message = std::variant<Call, Answer, Malformed>;

// Values of a message may be nested this deep.
inline constexpr size_t kMostDepth = 100;

Message parse(std::string_view text);

Json request(const Json &id, std::string_view method, Json params);
Json notification(std::string_view method, Json params);
Json response(const Json &id, Json result);
Json error_response(const Json &id, const Failure &failure);

}  // namespace simulator::messages
