// The policy files of a folder that is open in the editor.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "simulator/editing/outline.h"
#include "simulator/editing/text.h"

namespace simulator::language_server {

struct FileSymbols {
  std::string path{};
  editing::Text text{};
  std::vector<editing::Symbol> symbols{};
};

class Folder {
 public:
  // Folders below this depth, and files beyond this number, are left out.
  static constexpr int kMostDepth = 8;
  static constexpr size_t kMostFiles = 1000;

  explicit Folder(std::string path = {}) : path_(std::move(path)) {}

  // The files *.yaml and *.yml that load as policy files. Files that did not change are not read again.
  const std::map<std::string, FileSymbols> &files();
  // Whether there were more.
  bool is_cut() const { return is_cut_; }

 private:
  std::vector<std::filesystem::path> paths();
  void read(const std::filesystem::path &path);

  std::string path_;
  bool is_cut_ = false;
  std::map<std::string, FileSymbols> files_;
  std::map<std::string, std::filesystem::file_time_type> times_;
};

}  // namespace simulator::language_server
