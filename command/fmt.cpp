// zar fmt: writes policy files in the canonical layout.
#include <sys/stat.h>

#include <algorithm>
#include <iostream>

#include "command/command.h"
#include "command/exit_codes.h"
#include "command/json_output.h"
#include "command/load_file.h"
#include "command/report.h"
#include "simulator/format/format.h"
#include "simulator/format/line_diff.h"
#include "simulator/policy/diagnostics_json.h"
#include "simulator/text/files.h"
#include "simulator/text/text.h"

using namespace simulator;

namespace command {

namespace {

constexpr const char *kStandardInput = "-";

// A file in the canonical layout, or what is wrong with it.
struct Formatted {
  Source source;
  Diagnostics diagnostics;
  std::optional<std::string> text{};
  Complaints defects{};

  bool is_changed() const { return text && *text != source.text(); }
};

Formatted format_path(const std::string &path) {
  Loaded loaded = load_path(path);
  Formatted done = {std::move(loaded.source), std::move(loaded.diagnostics)};
  if (loaded.file) done.text = format::formatted(done.source, *loaded.file, done.diagnostics, done.defects);
  return done;
}

// A pipe can be read, but not replaced.
bool is_special_file(const std::string &path) {
  struct stat status = {};
  return stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode);
}

Formatted refuse_special_file(const std::string &path) {
  Formatted refused = {Source(path, ""), {}};
  refused.diagnostics.add({}, "is no regular file", "a file; - formats standard input to standard output");
  return refused;
}

class FmtCommand final : public Command {
 public:
  const char *name() const override { return "fmt"; }
  const char *summary() const override { return "Write policy files in the canonical layout"; }

  void declare(Options &options) override {
    options.required_arguments("FILE", paths_, "Policy files; - formats standard input to standard output");
    options.flag("--check", check_, "Write nothing; list the files that would change");
    options.flag("--diff", diff_, "Write nothing; show what would change");
    options.flag("--json", json_, "Write one JSON object, errors included");
    options.epilogue(
        "Formats the files in place and lists those that changed. Comments, tests and the order\n"
        "of everything remain; only blanks, line breaks and the brackets around lists and\n"
        "mappings change. A file with errors is left alone. The new text is loaded and compared\n"
        "with the old one before a file is written.\n"
        "Exit code 0: done; 1: --check or --diff found a file that would change; 65: a file is\n"
        "bad or cannot be written.\n\n"
        "Examples:\n"
        "  zar fmt policy.yaml\n"
        "  zar fmt --check examples/*.yaml\n"
        "  zar fmt --diff policy.yaml\n"
        "  zar config policy.yaml | zar fmt -");
  }

  int run() override {
    if (!name_stdin_once(paths_)) return kUsage;
    int worst = kSuccess;
    Json files = Json::array();
    for (const std::string &path : paths_)
      worst = std::max(worst, work_on_one([&] { return format_one(path, files); }));
    if (json_) {
      Json object = begin_json("fmt");
      object["files"] = std::move(files);
      print_json(std::cout, object);
    }
    return worst;
  }

 private:
  bool is_dry() const { return check_ || diff_; }
  bool is_in_place(const std::string &path) const { return !is_dry() && path != kStandardInput; }

  int format_one(const std::string &path, Json &files) const {
    const bool is_refused = is_in_place(path) && is_special_file(path);
    Formatted done = is_refused ? refuse_special_file(path) : format_path(path);
    if (is_in_place(path) && done.is_changed()) write(path, done);
    if (json_) {
      files.push_back(json_of(path, done));
    } else {
      show(path, done);
    }
    if (!done.defects.empty()) return report_internal(done.defects);
    if (!done.diagnostics.empty()) return kBadFile;
    return is_dry() && done.is_changed() ? kNo : kSuccess;
  }

  static void write(const std::string &path, Formatted &done) {
    if (const std::optional<std::string> problem = write_whole(path, *done.text))
      done.diagnostics.add({}, concat("cannot be written: ", *problem), "a file that you may change");
  }

  void show(const std::string &path, const Formatted &done) const {
    report(done.diagnostics, done.source);
    if (!done.text || !done.diagnostics.empty()) return;
    if (!is_dry() && path == kStandardInput) {
      std::cout << *done.text;
    } else if (diff_) {
      std::cout << diff_of(done);
    } else if (done.is_changed()) {
      std::cout << escape_control_characters(done.source.name()) << '\n';
    }
  }

  static std::string diff_of(const Formatted &done) {
    return format::unified_diff(escape_control_characters(done.source.name()), done.source.text(), *done.text);
  }

  Json json_of(const std::string &path, const Formatted &done) const {
    Json json;
    json["file"] = done.source.name();
    json["good"] = done.diagnostics.empty() && done.defects.empty();
    json["changed"] = done.is_changed();
    add_errors(json, done.diagnostics);
    json["text"] = path == kStandardInput && done.text ? Json(*done.text) : Json(nullptr);
    json["diff"] = diff_ && done.text ? Json(diff_of(done)) : Json(nullptr);
    return json;
  }

  std::vector<std::string> paths_;
  bool check_ = false;
  bool diff_ = false;
  bool json_ = false;
};

}  // namespace

std::unique_ptr<Command> make_fmt_command() {
  return std::make_unique<FmtCommand>();
}

}  // namespace command
