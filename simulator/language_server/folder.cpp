#include "simulator/language_server/folder.h"

#include <system_error>

#include "simulator/editing/analysis.h"
#include "simulator/policy/source.h"

namespace simulator::language_server {

namespace {

namespace fs = std::filesystem;

bool is_policy_name(const fs::path &path) {
  return path.extension() == ".yaml" || path.extension() == ".yml";
}

bool is_hidden(const fs::path &path) {
  return path.filename().string().starts_with('.');
}

}  // namespace

const std::map<std::string, FileSymbols> &Folder::files() {
  is_cut_ = false;
  std::map<std::string, FileSymbols> before = std::exchange(files_, {});
  for (const fs::path &path : paths()) {
    std::error_code error;
    const fs::file_time_type time = fs::last_write_time(path, error);
    const auto known = times_.find(path.string());
    const bool is_same = !error && known != times_.end() && known->second == time;
    times_[path.string()] = time;
    if (!is_same) {
      read(path);
    } else if (auto node = before.extract(path.string())) {
      files_.insert(std::move(node));
    }
  }
  return files_;
}

std::vector<fs::path> Folder::paths() {
  std::vector<fs::path> found;
  if (path_.empty()) return found;
  std::error_code error;
  fs::recursive_directory_iterator each(path_, fs::directory_options::skip_permission_denied, error);
  for (const fs::recursive_directory_iterator end; !error && each != end; each.increment(error)) {
    if (each->is_directory(error) && (is_hidden(each->path()) || each.depth() >= kMostDepth))
      each.disable_recursion_pending();
    if (!each->is_regular_file(error) || !is_policy_name(each->path())) continue;
    if (found.size() == kMostFiles) {
      is_cut_ = true;
      break;
    }
    found.push_back(each->path());
  }
  return found;
}

void Folder::read(const fs::path &path) {
  Diagnostics diagnostics;
  const Source source = Source::read(path.string(), diagnostics);
  if (!diagnostics.empty()) return;
  editing::Analysis analysis = editing::analyse(path.string(), source.text(), std::nullopt);
  if (!analysis.file) return;
  files_[path.string()] = {path.string(), editing::Text(source.text()), analysis.outline.symbols()};
}

}  // namespace simulator::language_server
