// The repository as a policy file describes it, built and torn down through the exported operations of the library alone.
//
// A process has one repository, for its whole life: what was torn down cannot be built again in the same process.
#pragma once

#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "tool/client/targets.h"
#include "tool/policy/model.h"
#include "zar/zar.h"

namespace tool {

class Repository {
 public:
  // 'file' must outlive the repository.
  explicit Repository(const PolicyFile &file) : file_(&file) {}
  ~Repository() { tear_down(); }
  Repository(const Repository &) = delete;
  Repository &operator=(const Repository &) = delete;

  // Builds everything and activates the policies. False when the library refused something; problems() then says what, and
  // what was built so far is there to be torn down.
  bool build();

  // Takes everything down: activations, stored policies by name, classes, parameter-maps, targets, databases. Then
  // compares what is left in the process with what the library never gives back. What is not as it should be is added to
  // problems().
  void tear_down();

  const std::vector<std::string> &problems() const { return problems_; }

  // 0 when the file has no such target.
  uint32_t target_handle(std::string_view name) const;
  const std::string &target_name(uint32_t handle) const;

  // The clid of the client that owns a domain.
  uint32_t owner_of(const std::string &domain) const;

 private:
  struct TargetRecord : client::TargetData {
    const Target *target = nullptr;
    uint32_t handle = 0;
  };

  void start();
  void register_client(const Client &client);
  void register_domain(const Domain &domain);
  void build_class(const ClassMap &map);
  void add_filter(uint32_t cmap, const Filter &filter);
  void build_parameter_map(const ParameterMap &map);
  void add_statement_filter(uint32_t pmtr_map, const ParameterMap &map, const Statement &statement,
                            const Filter &filter);
  void add_statement_action(uint32_t pmtr_map, const Statement &statement, const Action &action);
  void build_policy(const PolicyMap &policy);
  void add_event(const PolicyMap &policy, uint32_t pmap, const EventRules &event);
  void add_rule(const PolicyMap &policy, const zar_event_context &event, const Rule &rule);
  void add_action(const PolicyMap &policy, const zar_event_context &event, const Rule &rule, const Action &action);
  void build_target(const Target &target);
  void activate(TargetRecord &target, const Name &name, bool first);

  zar_map_info info_of(const PolicyMap &policy) const;
  zar_map_info info_of(const ClassMap &map) const;
  uint32_t clid_of(const std::optional<Name> &client) const;
  uint32_t clid_of_domain(const Name &domain) const;

  void deactivate_all();
  void delete_policies();
  void delete_classes();
  void delete_parameter_maps();
  void delete_targets();
  void destroy_databases();
  void note_failure(uint32_t status, std::string_view operation, std::string_view object);

  const PolicyFile *file_;
  bool torn_down_ = true;  // until something was built
  std::vector<std::string> problems_;

  // What was built so far, in the order of building.
  std::unordered_map<std::string_view, uint32_t> clids_;
  std::vector<zar_db *> databases_;
  size_t registered_clients_ = 0;
  size_t registered_domains_ = 0;
  std::vector<const ClassMap *> classes_;
  std::vector<const ParameterMap *> parameter_maps_;
  std::vector<const PolicyMap *> policies_;
  std::deque<TargetRecord> targets_;  // a deque: the library keeps pointers to the records
  std::unordered_map<std::string_view, uint32_t> target_handles_;
  std::unordered_map<uint32_t, const Target *> targets_by_handle_;
  size_t deleted_parameter_maps_ = 0;
};

}  // namespace tool
