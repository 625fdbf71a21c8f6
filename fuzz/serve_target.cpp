// Fuzzes the methods of zar serve: each line of the input is a request or a batch, whatever it holds. Every request gets
// one answer, every notification none, and no answer is an internal error.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "simulator/messages/envelope.h"
#include "simulator/messages/lines.h"
#include "simulator/service/methods.h"
#include "simulator/service/service.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace {

using namespace simulator;
using messages::Envelope;
using service::Answered;
using service::Service;

constexpr size_t kMostRequests = 100;
constexpr int kMostQuestions = 100;
constexpr size_t kLongestLine = 4096;

service::Surroundings surroundings() {
  return {
      .version = "fuzz",
      .clock = [](uint32_t) { return [questions = 0]() mutable { return ++questions < kMostQuestions; }; },
      // What is done apart takes the session down: there is no copy of this process. Later requests find nothing loaded.
      .apart = [](const std::function<Answered()> &work) -> std::optional<Answered> { return work(); }};
}

// Files of this machine are not for the fuzzer.
bool names_a_path(std::string_view text) {
  return text.find("path") != std::string_view::npos || text.find("\\u") != std::string_view::npos;
}

class Caller {
 public:
  ~Caller() {
    if (!service_.end().empty()) std::abort();
  }

  void take(std::string_view line) {
    const messages::Envelopes found = messages::open(line);
    if (found.failure.has_value() != found.calls.empty()) std::abort();
    for (const Envelope &call : found.calls) {
      if (!call.text.empty() && !names_a_path(call.text) && ++requests_ < kMostRequests) ask(call);
    }
  }

 private:
  void ask(const Envelope &call) {
    // The server gives a load a service of its own.
    if (call.method == "load") service_.end();
    const Answered answered = service_.answer(call.text, Json::object());
    if (answered.text.empty()) return;
    const Json response = Json::parse(answered.text);
    const bool is_refused = response.contains("error");
    if (is_refused == response.contains("result")) std::abort();
    if (is_refused && response["error"]["code"] == -32603) std::abort();
    if (answered.code != (is_refused ? response["error"]["code"].get<int>() : 0)) std::abort();
    // What the server knows of a good request is what the request says.
    if (!is_refused && response["id"] != call.id.value_or(nullptr)) std::abort();
  }

  Service service_{surroundings()};
  size_t requests_ = 0;
};

// The same bytes in pieces are the same lines.
void frame(std::string_view input) {
  messages::LineFramer whole(kLongestLine);
  messages::LineFramer pieces(kLongestLine);
  whole.append(input);
  std::string one;
  std::string other;
  const auto note = [](const messages::MessageLine &line) { return line.is_too_long ? "!\n" : line.text + "\n"; };
  while (const std::optional<messages::MessageLine> line = whole.next())
    one += note(*line);
  for (size_t at = 0; at < input.size(); at += 7) {
    pieces.append(input.substr(at, 7));
    while (const std::optional<messages::MessageLine> line = pieces.next())
      other += note(*line);
  }
  if (one != other) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  std::string input(size, '\0');
  std::copy_n(data, size, input.begin());
  frame(input);
  Caller client;
  messages::LineFramer lines(size);
  lines.append(input);
  while (const std::optional<messages::MessageLine> line = lines.next())
    client.take(line->text);
  if (const std::optional<messages::MessageLine> line = lines.last()) client.take(line->text);
  return 0;
}
