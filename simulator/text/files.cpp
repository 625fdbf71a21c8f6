#include "simulator/text/files.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

#include "simulator/text/text.h"

namespace simulator {

namespace {

struct Close {
  void operator()(std::FILE *file) const { std::fclose(file); }
};

// A new file beside 'path', with a name that no file has.
struct Draft {
  std::string path;
  std::unique_ptr<std::FILE, Close> file;
};

// Other processes may write the same file at the same time, each its own draft.
Draft begin_draft(const std::string &path, unsigned mode) {
  constexpr unsigned kMostTries = 100;
  Draft draft;
  for (unsigned number = 0; number < kMostTries; ++number) {
    draft.path = concat(path, ".new", number);
    // The text is on the disk before the file gets its name.
    const int file = open(draft.path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_DSYNC, mode);
    if (file >= 0) draft.file.reset(fdopen(file, "wb"));
    if (file >= 0 || errno != EEXIST) break;
  }
  return draft;
}

bool fill(Draft &draft, std::string_view text) {
  std::FILE *file = draft.file.get();
  // One write for the whole text.
  std::setvbuf(file, nullptr, _IONBF, 0);
  const bool whole = std::fwrite(text.data(), 1, text.size(), file) == text.size();
  return std::fclose(draft.file.release()) == 0 && whole;
}

}  // namespace

std::optional<std::string> write_whole(const std::string &path, std::string_view text, std::optional<unsigned> mode) {
  std::error_code error;
  std::filesystem::path target = std::filesystem::canonical(path, error);
  if (error) target = path;
  if (std::filesystem::is_directory(target, error)) return "it is a folder";

  constexpr unsigned kAnyone = 0666;
  Draft draft = begin_draft(target.string(), mode.value_or(kAnyone));
  if (!draft.file) return std::strerror(errno);
  struct stat old {};
  if (!mode && stat(target.c_str(), &old) == 0) mode = old.st_mode & 07777U;
  const bool good = fill(draft, text) && (!mode || chmod(draft.path.c_str(), *mode) == 0) &&
                    std::rename(draft.path.c_str(), target.c_str()) == 0;
  if (good) return std::nullopt;
  const std::string reason = std::strerror(errno);
  std::remove(draft.path.c_str());
  return reason;
}

}  // namespace simulator
