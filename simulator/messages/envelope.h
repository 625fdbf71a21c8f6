// The calls in a text of JSON-RPC 2.0, which may be a batch, without their contents: for one that only hands them on.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/messages/jsonrpc.h"
#include "simulator/text/json.h"

namespace simulator::messages {

// A call as it stands in a text. Whether it is a good one is for parse() to say.
struct Envelope {
  std::string_view text{};         // part of the whole
  std::optional<Json> id{};        // if it is a text, a number or null
  std::string method{};            // empty if it has none
  std::optional<Json> param_id{};  // the parameter "id", if it is a text or a number
};

struct Envelopes {
  bool is_batch = false;
  std::vector<Envelope> calls{};
  std::optional<Failure> failure{};  // what is wrong with the text as a whole; there are no calls then
};

// A batch may have this many calls.
inline constexpr size_t kMostCalls = 1000;

// What it returns points to 'text'. It needs no more memory than the calls that it returns.
Envelopes open(std::string_view text);

}  // namespace simulator::messages
