#include "simulator/text/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace simulator {

namespace {

// A file descriptor that is closed when it is no longer needed.
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() { close(); }
  Descriptor(const Descriptor &) = delete;
  Descriptor &operator=(const Descriptor &) = delete;

  bool is_open() const { return number_ >= 0; }
  int number() const { return number_; }
  bool close() {
    const bool good = number_ < 0 || ::close(number_) == 0;
    number_ = -1;
    return good;
  }

 private:
  int number_;
};

bool write_all(const Descriptor &file, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(file.number(), text.data(), text.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return false;
    text.remove_prefix(static_cast<size_t>(written));
  }
  return true;
}

// The path without symbolic links; the path itself when there is no such file yet.
std::string followed(const std::string &path) {
  struct Free {
    void operator()(char *text) const { std::free(text); }
  };
  const std::unique_ptr<char, Free> real(realpath(path.c_str(), nullptr));
  return real ? real.get() : path;
}

std::string folder_of(const std::string &path) {
  const size_t slash = path.rfind('/');
  return slash == std::string::npos ? "" : path.substr(0, slash + 1);
}

mode_t mode_of_new_file() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

// A new file beside the one that it is to replace. It is removed unless it has replaced it.
class Replacement {
 public:
  explicit Replacement(const std::string &path)
      : name_(folder_of(path) + ".zar-XXXXXX"), file_(mkstemp(name_.data())) {}
  ~Replacement() {
    if (file_.is_open() || is_complete_) unlink(name_.c_str());
  }
  Replacement(const Replacement &) = delete;
  Replacement &operator=(const Replacement &) = delete;

  bool is_open() const { return file_.is_open(); }
  const Descriptor &file() const { return file_; }

  // Ends the writing: the text is on the disk before the name changes.
  bool complete() {
    is_complete_ = true;
    const bool is_written = fsync(file_.number()) == 0;
    return file_.close() && is_written;
  }

  bool replace(const std::string &path) {
    if (std::rename(name_.c_str(), path.c_str()) != 0) return false;
    is_complete_ = false;
    return true;
  }

 private:
  std::string name_;
  Descriptor file_;
  bool is_complete_ = false;  // written and closed, under its own name
};

// Only the superuser can give a file away. Anybody else keeps at least its group, if they are in it.
void keep_owner(const Descriptor &file, const struct stat &existing) {
  if (fchown(file.number(), existing.st_uid, existing.st_gid) == 0) return;
  constexpr auto kSameUser = static_cast<uid_t>(-1);
  static_cast<void>(fchown(file.number(), kSameUser, existing.st_gid) == 0);
}

// These return an error number; 0 is success.

int replace(const std::string &path, std::string_view text, std::optional<unsigned> mode, const struct stat *existing) {
  Replacement replacement(path);
  if (!replacement.is_open() || !write_all(replacement.file(), text)) return errno;
  if (existing) keep_owner(replacement.file(), *existing);
  if (!mode) mode = existing ? existing->st_mode & 07777 : mode_of_new_file();
  if (fchmod(replacement.file().number(), *mode) != 0) return errno;
  return replacement.complete() && replacement.replace(path) ? 0 : errno;
}

int overwrite(const std::string &path, std::string_view text) {
  Descriptor file(open(path.c_str(), O_WRONLY | O_CLOEXEC));
  return file.is_open() && write_all(file, text) && file.close() ? 0 : errno;
}

int write_file(const std::string &path, std::string_view text, std::optional<unsigned> mode) {
  struct stat existing = {};
  if (stat(path.c_str(), &existing) != 0) return errno == ENOENT ? replace(path, text, mode, nullptr) : errno;
  // Replacing a file needs permission for its folder only: a file that is protected against writing remains as it is.
  if (access(path.c_str(), W_OK) != 0) return errno;
  return S_ISREG(existing.st_mode) ? replace(path, text, mode, &existing) : overwrite(path, text);
}

}  // namespace

std::optional<std::string> write_whole(const std::string &path, std::string_view text, std::optional<unsigned> mode) {
  const int error = write_file(followed(path), text, mode);
  if (error == 0) return std::nullopt;
  return error == EISDIR ? "it is a folder" : std::strerror(error);
}

}  // namespace simulator
