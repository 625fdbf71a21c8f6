// Loads files for sub-commands.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/policy/model.h"
#include "simulator/policy/source.h"
#include "simulator/text/json.h"

namespace command {

struct Loaded {
  simulator::Source source;
  simulator::Diagnostics diagnostics;
  std::optional<simulator::PolicyFile> file;  // nothing if anything is wrong
};

// A file, or standard input for "-", with all its errors.
Loaded load_path(const std::string &path);

// Loads the files of a sub-command that can use only valid ones. The errors of the others go to standard error or, with
// --json, into the command's object.
class FileLoader {
 public:
  explicit FileLoader(bool json) : json_(json) {}

  // Nothing if anything is wrong with the file.
  std::optional<simulator::PolicyFile> load(const std::string &path);

  // Reports what is wrong with a file that was read elsewhere; nothing if it is good.
  void note(const simulator::Source &source, const simulator::Diagnostics &diagnostics);

  // Of the bad files so far, an object for each; empty without --json.
  const simulator::Json &errors() const { return errors_; }

  // Ends a command that cannot do its work without the bad files: with --json its object holds nothing but their errors.
  // Returns the exit code.
  int refuse(std::string_view command) const;

 private:
  bool json_;
  simulator::Json errors_ = simulator::Json::array();
};

// Whether standard input, which can be read only once, is at most once among the paths. Complains otherwise.
bool name_stdin_once(const std::vector<std::string> &paths);

}  // namespace command
