#include "command/stream_input.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "simulator/text/interruption.h"
#include "simulator/text/text.h"

using namespace simulator;

namespace command {

StreamInput::StreamInput(const std::string &path)
    : name_(path == "-" ? "<stdin>" : path),
      descriptor_(path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
  if (descriptor_ < 0) error_ = concat("cannot be opened: ", std::strerror(errno));
}

StreamInput::~StreamInput() {
  if (descriptor_ > STDIN_FILENO) close(descriptor_);
}

size_t StreamInput::read(char *to, size_t room) {
  for (;;) {
    interruption::check();
    pollfd input = {descriptor_, POLLIN, 0};
    const int ready = poll(&input, 1, kLongestWait);
    if (ready == 0 || (ready < 0 && errno == EINTR)) continue;
    const ssize_t got = ::read(descriptor_, to, room);
    if (got >= 0) return static_cast<size_t>(got);
    if (errno == EINTR) continue;
    error_ = concat("cannot be read: ", std::strerror(errno));
    return 0;
  }
}

}  // namespace command
