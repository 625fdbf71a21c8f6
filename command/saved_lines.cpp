#include "command/saved_lines.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>

#include "command/report.h"
#include "simulator/policy/source.h"
#include "simulator/text/files.h"
#include "simulator/text/text.h"
#include "simulator/text/utf8.h"

using namespace simulator;

namespace command {

namespace {

// A longer line is not worth recalling, and no other program's file becomes a long history.
constexpr size_t kLongest = 4096;

// Relative paths are not valid there.
std::string absolute_variable(const char *name) {
  const char *value = std::getenv(name);
  return value && *value == '/' ? value : "";
}

std::string path_of_history() {
  std::string folder = absolute_variable("XDG_STATE_HOME");
  if (folder.empty()) {
    folder = absolute_variable("HOME");
    if (!folder.empty()) folder += "/.local/state";
  }
  return folder.empty() ? folder : folder + "/zar/history";
}

bool is_worth_saving(const std::string &line) {
  return !line.empty() && line.size() <= kLongest && is_utf8(line);
}

// Creates the folder and those around it, for this person only.
std::optional<std::string> make_private_folder(const std::filesystem::path &folder) {
  std::error_code error;
  std::filesystem::path made;
  for (const std::filesystem::path &part : folder) {
    made /= part;
    if (std::filesystem::create_directory(made, error))
      std::filesystem::permissions(made, std::filesystem::perms::owner_all, error);
    if (error) return error.message();
  }
  return std::nullopt;
}

}  // namespace

SavedLines::SavedLines() : path_(path_of_history()) {}

std::deque<std::string> SavedLines::read() const {
  std::deque<std::string> lines;
  std::error_code error;
  if (path_.empty() || !std::filesystem::is_regular_file(path_, error)) return lines;
  // Something else has written a larger one.
  if (std::filesystem::file_size(path_, error) > kMost * (kLongest + 1)) return lines;
  std::ifstream file(path_);
  for (std::string line; std::getline(file, line);) {
    if (!is_worth_saving(line)) continue;
    if (lines.size() == kMost) lines.pop_front();
    lines.push_back(std::move(line));
  }
  return lines;
}

void SavedLines::add(const std::string &line) {
  if (path_.empty() || !is_worth_saving(line)) return;
  std::deque<std::string> lines = read();
  if (!lines.empty() && lines.back() == line) return;
  lines.push_back(line);
  if (lines.size() > kMost) lines.pop_front();
  std::string text;
  for (const std::string &each : lines)
    text += each + "\n";

  constexpr unsigned kPrivate = 0600;
  std::optional<std::string> why = make_private_folder(std::filesystem::path(path_).parent_path());
  if (!why) why = write_whole(path_, text, kPrivate);
  if (!why) return;
  complain(concat("the history is not saved: ", path_, " cannot be written: ", *why));
  path_.clear();
}

}  // namespace command
