// The Unix socket on which zar serve listens.
#pragma once

#include <sys/types.h>

#include <string>

namespace command {

class ListeningSocket {
 public:
  // Makes the socket file, for its owner alone. A socket that nobody listens on is replaced. Throws runtime_error if
  // anything else is there, or the file cannot be made.
  explicit ListeningSocket(const std::string &path);
  // Removes the file if it still is this socket.
  ~ListeningSocket();
  ListeningSocket(const ListeningSocket &) = delete;
  ListeningSocket &operator=(const ListeningSocket &) = delete;

  int descriptor() const { return descriptor_; }
  // The next connection; negative if there is none, with errno.
  int accept() const;

 private:
  void listen_at(const std::string &path);
  void publish(const std::string &made);

  std::string path_;
  int descriptor_ = -1;
  dev_t device_ = 0;
  ino_t file_ = 0;
};

}  // namespace command
