// Fuzzes the language server: each line of the input is a message, whatever it holds. A line that is empty ends a quiet
// time, in which the last text is checked and studied. Every request gets one answer, and none is an internal error.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <variant>

#include "simulator/language_server/server.h"
#include "simulator/messages/framing.h"
#include "simulator/messages/jsonrpc.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace {

using namespace simulator;
using language_server::Order;
using language_server::Server;

// An edit that doubles a text can be sent often.
constexpr size_t kMostMessages = 100;
constexpr int kMostQuestions = 100;

class Session {
 public:
  void take(std::string_view line) {
    if (line.empty()) return study();
    const messages::Message message = messages::parse(line);
    const messages::Call *call = std::get_if<messages::Call>(&message);
    if (std::holds_alternative<messages::Malformed>(message) || (call && call->id)) ++expected_;
    server_.receive(line);
    // Some messages arrive together.
    if (line.size() % 3 != 0) work();
  }

  void finish() {
    work();
    // After an exit nothing is answered.
    if (server_.exit_code()) return;
    take(R"({"jsonrpc":"2.0","id":"last","method":"initialize","params":{}})");
    take(R"({"jsonrpc":"2.0","id":"last","method":"shutdown"})");
    take(R"({"jsonrpc":"2.0","method":"exit"})");
    work();
    if (!server_.exit_code() || answered_ != expected_) std::abort();
  }

 private:
  void work() {
    while (server_.step())
      read();
    read();
  }

  void read() {
    for (const Json &message : server_.take_outgoing()) {
      const std::string text = message.dump();
      if (!message.contains("id")) continue;
      ++answered_;
      const bool is_broken = message.contains("error") && message["error"]["code"] == -32603;
      if (is_broken) std::abort();
    }
  }

  void study() {
    work();
    const std::optional<Order> order = server_.take_order();
    if (!order) return;
    const editing::Analysis analysis = editing::analyse(order->path, order->text, order->edited_at);
    server_.set_checked(*order, editing::checked_of(editing::json_of(editing::check(analysis))));
    int questions = 0;
    if (analysis.file) {
      const editing::Studied studied =
          editing::study(order->text, *analysis.file, [&] { return ++questions < kMostQuestions; });
      server_.set_studied(*order, editing::studied_of(editing::json_of(studied)));
    }
    work();
  }

  Server server_{"fuzz"};
  size_t expected_ = 0;
  size_t answered_ = 0;
};

// The same bytes as a stream: in pieces, they are the same messages.
void frame(std::string_view input) {
  messages::Framer whole;
  messages::Framer pieces;
  whole.append(input);
  std::string one;
  std::string other;
  while (const std::optional<std::string> message = whole.next())
    one += *message + "\n";
  for (size_t at = 0; at < input.size(); at += 7) {
    pieces.append(input.substr(at, 7));
    while (const std::optional<std::string> message = pieces.next())
      other += *message + "\n";
  }
  if (one != other || whole.error().empty() != pieces.error().empty()) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  std::string input(size, '\0');
  std::copy_n(data, size, input.begin());
  frame(input);
  Session session;
  size_t messages = 0;
  for (size_t at = 0; at < size && messages < kMostMessages; ++messages) {
    const size_t end = std::min(input.find('\n', at), size);
    session.take(std::string_view(input).substr(at, end - at));
    at = end + 1;
  }
  session.finish();
  return 0;
}
