// The front of zar serve: it moves bytes between clients and their session processes, and knows no policies.
#pragma once

#include <memory>
#include <vector>

#include "command/serve_connection.h"
#include "command/serve_socket.h"

namespace command {

class ServeFront {
 public:
  ServeFront(ServeShared &shared, size_t most_connections);
  ~ServeFront();
  ServeFront(const ServeFront &) = delete;
  ServeFront &operator=(const ServeFront &) = delete;

  // Serves standard input and output until the input ends.
  void serve_standard_streams();
  // Serves everyone who connects. Both end early at SIGTERM and SIGINT.
  void serve_socket(const ListeningSocket &socket);

 private:
  void serve();
  bool wait();
  void accept();
  void turn_away(int client) const;
  void close_all() const;

  ServeShared &shared_;
  size_t most_connections_;
  const ListeningSocket *socket_ = nullptr;
  bool may_accept_ = true;
  std::vector<std::unique_ptr<ServeConnection>> connections_;
  ServeProcesses processes_;
};

}  // namespace command
