#include "command/serve_socket.h"

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <stdexcept>

#include "simulator/text/text.h"

using namespace simulator;

namespace command {

namespace {

constexpr int kBacklog = 128;

[[noreturn]] void fail(const std::string &path, std::string_view why) {
  throw std::runtime_error(concat(path, ": ", why));
}

[[noreturn]] void fail_with_errno(const std::string &path) {
  fail(path, std::strerror(errno));
}

sockaddr_un address_of(const std::string &path) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  path.copy(address.sun_path, sizeof address.sun_path - 1);
  return address;
}

int make_socket(const std::string &path) {
  const int made = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (made < 0) fail_with_errno(path);
  return made;
}

bool somebody_listens(const std::string &path) {
  const int probe = make_socket(path);
  const sockaddr_un address = address_of(path);
  const bool refused = connect(probe, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0 &&
                       (errno == ECONNREFUSED || errno == ENOENT);
  close(probe);
  return !refused;
}

// Leaves nothing at the path, or throws.
void make_room(const std::string &path) {
  struct stat there = {};
  if (lstat(path.c_str(), &there) != 0) return;
  if (!S_ISSOCK(there.st_mode)) fail(path, "a file is there that is no socket; remove it or give another path");
  if (there.st_uid != geteuid()) fail(path, "the socket there belongs to somebody else");
  if (somebody_listens(path)) fail(path, "a server listens there already");
  unlink(path.c_str());
}

// New files are for their owner alone while one exists.
class Private {
 public:
  Private() : before_(umask(S_IRWXG | S_IRWXO | S_IXUSR)) {}
  ~Private() { umask(before_); }
  Private(const Private &) = delete;
  Private &operator=(const Private &) = delete;

 private:
  mode_t before_;
};

}  // namespace

ListeningSocket::ListeningSocket(const std::string &path) : path_(path) {
  // Clients that see the file can connect: it appears at its path when the socket listens.
  const std::string made = concat(path, ".", getpid());
  constexpr size_t kMost = sizeof(sockaddr_un::sun_path) - 1;
  if (path.empty() || made.size() > kMost)
    fail(path, concat("the path of a socket has 1 to ", kMost - (made.size() - path.size()), " bytes"));
  make_room(path);
  listen_at(made);
  publish(made);
}

void ListeningSocket::listen_at(const std::string &path) {
  descriptor_ = make_socket(path_);
  const sockaddr_un address = address_of(path);
  const Private for_owner;
  unlink(path.c_str());
  if (bind(descriptor_, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0 &&
      listen(descriptor_, kBacklog) == 0)
    return;
  const int error = errno;
  close(descriptor_);
  unlink(path.c_str());
  errno = error;
  fail_with_errno(path_);
}

// Another server that came first keeps the path.
void ListeningSocket::publish(const std::string &made) {
  struct stat is = {};
  const bool good = link(made.c_str(), path_.c_str()) == 0 && lstat(path_.c_str(), &is) == 0;
  const int error = errno;
  unlink(made.c_str());
  if (good) {
    device_ = is.st_dev;
    file_ = is.st_ino;
    return;
  }
  close(descriptor_);
  errno = error;
  fail_with_errno(path_);
}

ListeningSocket::~ListeningSocket() {
  close(descriptor_);
  struct stat there = {};
  if (lstat(path_.c_str(), &there) == 0 && there.st_dev == device_ && there.st_ino == file_) unlink(path_.c_str());
}

int ListeningSocket::accept() const {
  return accept4(descriptor_, nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK);
}

}  // namespace command
