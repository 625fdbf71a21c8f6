// The repository that a policy file describes, built and torn down only through the exported operations of the library.
//
// A process has one repository at a time. Single objects can be added and removed, in step with the file. Registrations
// with the library last for the life of the process. The next repository reuses those that fit; where a name now means
// something else (a client with another kind of database, a domain of another owner) it makes the library start afresh.
// kept() reports the cost.
#pragma once

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "engine/engine.h"
#include "simulator/policy/model.h"
#include "simulator/repository/leftovers.h"
#include "simulator/repository/named_list.h"
#include "simulator/repository/targets.h"
#include "simulator/text/text.h"
#include "zar/zar.h"

namespace simulator {

class Repository {
 public:
  // What to do about clients and domains that the library knows from earlier repositories of the process.
  enum class Registrations : uint8_t {
    reuse,  // use those that suit
    renew,  // make the library start afresh, so that every name can be given again with another meaning
  };

  // 'file' must outlive the repository. It may change: as many objects of each of its lists are built as the repository
  // has, and those that are not built stand at the end.
  explicit Repository(const PolicyFile &file, Registrations registrations = Registrations::reuse)
      : file_(&file), registrations_(registrations) {}
  ~Repository() { tear_down(); }
  Repository(const Repository &) = delete;
  Repository &operator=(const Repository &) = delete;

  // Builds everything that is missing and activates the policies of new targets. Returns false when the library refused
  // something; problems() then says what, and what was built so far can be taken down.
  bool build();

  // How much of the file is built.
  struct Extent {
    size_t classes = 0;
    size_t parameter_maps = 0;
    size_t policies = 0;
    size_t targets = 0;
  };
  Extent extent() const;
  // Takes down everything that was built after the repository had this extent. Clients and domains stay: the library
  // cannot remove them.
  void shrink_to(const Extent &extent);

  // Single steps on built objects, by their names in the file. They return false when the library refused; problems()
  // then says what.
  bool activate(std::string_view target, const PolicyMap &policy);
  bool deactivate(std::string_view target, const PolicyMap &policy);
  // What the library refuses to delete stays as it is.
  bool delete_policy(std::string_view name);
  bool delete_class(std::string_view name);
  bool delete_parameter_map(std::string_view name);
  bool delete_target(std::string_view name);

  // Adds a target that the file does not have, under a name that no target has; 'policies' are of the file, at least one,
  // each once. Returns its attributes, NULL if the library refused. From then on the targets of the file and of the
  // repository differ, so that build() and shrink_to() are over. 'client' may be NULL.
  engine::Attributes *add_target(std::string_view name, const Client *client,
                                 std::span<const PolicyMap *const> policies);

  // Takes everything down: activations, stored policies by name, classes, parameter-maps, targets, databases. Then
  // compares what is left in the process with what the library keeps by its contract. Differences are added to
  // problems().
  void tear_down();

  // The same; returns everything that went wrong since the repository was made.
  const Complaints &finish();

  const Complaints &problems() const { return problems_; }
  // The same, for callers that go on.
  Complaints take_problems() { return std::exchange(problems_, {}); }

  // The targets on which a policy-map is active.
  std::vector<std::string> targets_of(const PolicyMap &policy) const;
  // 0 when there is no such target.
  uint32_t target_handle(std::string_view name) const;
  // The same for several names, when hardly one of the targets is in the processor's cache; 0 where there is none.
  void find_targets(std::span<const std::string_view> names, std::span<uint32_t> handles) const;
  size_t registered_clients() const { return clids_.size(); }
  size_t registered_domains() const { return registered_domains_; }
  // The clids of the file's clients, in the order of the file.
  const std::vector<uint32_t> &clids() const { return clids_; }

  // The domains of the file that are registered.
  std::span<const Domain> domains() const { return std::span(file_->domains).first(registered_domains_); }

  // What this repository added to what the library keeps for the life of the process; complete once it is taken down.
  const Kept &kept() const { return kept_; }

  // The clid of the client that owns a domain.
  uint32_t owner_of(const std::string &domain) const;

 private:
  struct TargetRecord : client::TargetData {
    uint32_t handle = 0;
  };
  // A class-map or a policy-map, with the key to find it by.
  struct BuiltMap {
    std::string name;
    std::string domain;
    uint32_t clid;
  };
  struct BuiltParameterMap {
    std::string name;
  };
  void start();
  void start_library();
  void register_client(const Client &client);
  uint32_t register_new(const Client &client);
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
  TargetRecord &new_target(std::string_view name, uint32_t clid);
  static engine::Attributes &attributes_of(const TargetRecord &target);
  void put_policy(TargetRecord &target, const PolicyMap &policy);

  static zar_map_info info_of(const PolicyMap &policy);
  static zar_map_info info_of(const ClassMap &map);
  static zar_map_info info_of(const BuiltMap &map);
  uint32_t clid_of(const std::optional<Name> &client) const;
  uint32_t clid_of_domain(const Name &domain) const;

  void deactivate_all();
  // They return whether the library agreed.
  bool take_down(const BuiltMap &map, uint32_t (*operation)(uint32_t clid, const zar_map_info *info));
  bool take_down_policy(const BuiltMap &policy);
  bool take_down_class(const BuiltMap &map);
  bool take_down_parameter_map(const BuiltParameterMap &map);
  bool take_down_target(const TargetRecord &target);
  void expect_unused(const BuiltParameterMap &map);
  void destroy_databases();
  void note_failure(uint32_t status, std::string_view operation, std::string_view object);

  // The repository that is built and not yet taken down: there is one table of handles and one engine.
  static const Repository *current;

  const PolicyFile *file_;
  Registrations registrations_;
  bool torn_down_ = true;  // until something is built
  Complaints problems_;

  // What was built so far, in the order of building.
  bool started_ = false;
  Holdings before_;             // what the process held when the repository began
  uint32_t room_at_start_ = 0;  // for clients, in the library's table
  std::vector<uint32_t> clids_;
  ByName<uint32_t> clid_by_name_;
  std::vector<zar_db *> databases_;
  size_t registered_domains_ = 0;
  Kept kept_;
  NamedList<BuiltMap> classes_;
  NamedList<BuiltParameterMap> parameter_maps_;
  NamedList<BuiltMap> policies_;
  NamedList<TargetRecord> targets_;  // the library keeps pointers to the records
  uint64_t last_target_id_ = 0;
};

}  // namespace simulator
