// zar show: the objects of a repository, for people to read.
#include <algorithm>
#include <iostream>
#include <optional>

#include "command/command.h"
#include "command/exit_codes.h"
#include "command/json_output.h"
#include "command/load_file.h"
#include "command/report.h"
#include "simulator/inventory/describe.h"
#include "simulator/inventory/read_back.h"
#include "simulator/repository/listings.h"
#include "simulator/service/results.h"
#include "simulator/text/text.h"

using namespace simulator;

namespace command {

namespace {

using inventory::Relations;

class ShowCommand final : public Command {
 public:
  const char *name() const override { return "show"; }
  const char *summary() const override { return "Show the objects of a repository"; }

  void declare(Options &options) override {
    options.required_argument("FILE", path_, "The policy file to load; - is standard input");
    options.argument("KIND", kind_,
                     "What to show in full: policy, class, target or parameter-map; nothing: all, in short");
    options.argument("NAME", name_, "The one to show; nothing: all of the kind");
    options.flag("--listing", listing_, "Show the library's own listings, of policies and classes");
    options.flag("--json", json_, "Write one JSON object, always in full");
    options.exclude("--json", "--listing");
    options.epilogue(
        "Loads the file into a repository and shows what the repository holds: each object with\n"
        "what is in it and who uses it. No event is raised, so all counters of a listing are 0;\n"
        "zar run shows them after the scenario.\n\n"
        "Examples:\n"
        "  zar show policy.yaml\n"
        "  zar show policy.yaml policy\n"
        "  zar show policy.yaml class barred\n"
        "  zar show policy.yaml policy service --listing");
  }

  int run() override {
    if (!read_kind()) return kUsage;
    FileLoader loader(json_);
    const std::optional<PolicyFile> file = loader.load(path_);
    if (!file) return loader.refuse(name());
    if (!is_known_name(*file)) return kUsage;
    return listing_ ? show_listing(*file) : show_objects(*file);
  }

 private:
  bool read_kind() {
    if (!kind_) return true;
    Complaints complaints;
    chosen_ = service::find_shown(*kind_, complaints);
    complain(complaints);
    if (chosen_ && listing_ && chosen_->kind != ObjectKind::policy && chosen_->kind != ObjectKind::class_map) {
      complain(concat("the library has no listing of ", chosen_->title, "s"));
      return false;
    }
    return chosen_ != nullptr;
  }

  bool is_known_name(const PolicyFile &file) const {
    if (!name_) return true;
    const std::vector<std::string_view> names = names_of(file, chosen_->kind);
    if (std::find(names.begin(), names.end(), *name_) != names.end()) return true;
    complain(no_such(chosen_->title, *name_, names));
    return false;
  }

  int show_listing(const PolicyFile &file) const {
    Listed listed;
    if (chosen_) {
      listed.policies = chosen_->kind == ObjectKind::policy;
      listed.classes = chosen_->kind == ObjectKind::class_map;
    }
    if (const PolicyMap *policy = listed.policies && name_ ? file.find_policy_map(*name_) : nullptr) {
      listed.name = &policy->name;
      listed.domain = &policy->domain;
    }
    if (const ClassMap *map = listed.classes && name_ ? file.find_class_map(*name_) : nullptr) {
      listed.name = &map->name;
      listed.domain = &map->domain;
    }
    Repository repository(file);
    std::string text;
    if (repository.build()) text = listings(file, repository, listed);
    const int code = finish(repository);
    if (code == kSuccess) std::cout << text;
    return code;
  }

  int show_objects(const PolicyFile &file) const {
    Complaints problems;
    const std::optional<PolicyFile> running = inventory::read_back(file, problems);
    if (!running) return report_internal(problems);
    const Relations relations(*running);
    if (json_) {
      print_json(std::cout, service::show_json(relations, chosen_, name_));
    } else {
      std::cout << (chosen_ ? inventory::describe(relations, chosen_->kind, name_) : inventory::overview(relations));
    }
    return kSuccess;
  }

  std::string path_;
  std::optional<std::string> kind_;
  std::optional<std::string> name_;
  bool listing_ = false;
  bool json_ = false;
  const KindWord *chosen_ = nullptr;
};

}  // namespace

std::unique_ptr<Command> make_show_command() {
  return std::make_unique<ShowCommand>();
}

}  // namespace command
