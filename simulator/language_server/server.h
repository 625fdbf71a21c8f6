// A language server for policy files: messages come in, messages go out.
//
// It reads and writes nothing itself. Its caller does, and also the work that takes long:
//
//   1. receive() takes in every message that has arrived; a cancellation takes effect at once.
//   2. step() handles one that waits. Answers and notifications are in take_outgoing().
//   3. When the input is quiet, take_order() says which text should be checked and studied. The results go to
//      set_checked() and set_studied(). An order that is_current() no longer wants can be dropped.
//   4. Requests that need a study wait for it; an edit answers them with an error.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "simulator/language_server/document.h"
#include "simulator/language_server/features.h"
#include "simulator/language_server/folder.h"
#include "simulator/messages/jsonrpc.h"

namespace simulator::language_server {

// A text to check and to study.
struct Order {
  std::string uri{};
  uint64_t revision = 0;
  std::string path{};
  std::string text{};
  std::optional<size_t> edited_at{};
};

class Server {
 public:
  explicit Server(std::string version) : version_(std::move(version)) {}

  void receive(std::string_view text);
  // Handles the next message; false if none waits.
  bool step();
  std::vector<Json> take_outgoing() { return std::exchange(outgoing_, {}); }
  // Once the editor wants the process to end.
  std::optional<int> exit_code() const { return exit_code_; }

  bool has_order() const { return !to_study_.empty(); }
  std::optional<Order> take_order();
  bool is_current(const Order &order) const;
  void set_checked(const Order &order, editing::Checked checked);
  void set_studied(const Order &order, editing::Studied studied);
  // The work on an order ended without all results.
  void set_failed(const Order &order, const std::string &why);

 private:
  enum class State : uint8_t { new_born, running, shut_down };
  using Answer = std::function<Json(Document &document, const Json &params)>;

  // A request that waits for a study.
  struct Waiting {
    Json id{};
    std::string uri{};
    Json params{};
    bool wants_hints = false;  // else lenses
  };

  void handle(const messages::Call &call);
  void handle_request(const messages::Call &call);
  Json result_of(const messages::Call &call);
  void handle_notification(const messages::Call &call);
  void check_state(const messages::Call &call) const;

  Json initialize(const Json &params);
  Json shut_down();
  Json workspace_symbols(const Json &params);
  Json execute(const Json &params);
  void exit();
  void cancel(const Json &params);
  void open(const Json &params);
  void change(const Json &params);
  void close(const Json &params);

  Document &document_of(const Json &params);
  Document *find(const std::string &uri);
  Document *find_current(const Order &order);
  void wait_for_study(const messages::Call &call, bool wants_hints);
  Json answer_of(const Waiting &waiting, const editing::Studied &studied);
  // Ends the waiting requests of a document: with an answer if 'studied' is there, with the failure otherwise.
  void end_waiting(const std::string &uri, const editing::Studied *studied, const messages::Failure &failure);
  void publish(const Document &document);
  void warn(const std::string &text);

  std::string version_;
  State state_ = State::new_born;
  std::optional<int> exit_code_;
  Abilities abilities_;
  Folder folder_;
  std::deque<messages::Message> waiting_messages_;
  std::vector<Json> outgoing_;
  std::map<std::string, Document> documents_;  // by URI
  std::deque<std::string> to_study_;           // URIs, those that changed last at the front
  std::vector<Waiting> waiting_;
};

}  // namespace simulator::language_server
