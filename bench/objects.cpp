// Creating and deleting one object of each kind while many others exist, compared with the hand-written repository,
// which is linked in and called directly.

#include "by_hand/repository.h"
#include "support/jobs.h"
#include "support/random.h"
#include "support/repository.h"

namespace {

using bench::must;
using bench::Random;

constexpr char kName[] = "customer-99999";

class Library {
 public:
  explicit Library(uint32_t n_objects) {
    for (const std::string &name : bench::names(n_objects))
      must(zar_store_policy(clid_, bench::new_policy(clid_, name.c_str())), "zar_store_policy");
  }
  void policy() const { must(zar_delete_policy(bench::new_policy(clid_, kName)), "zar_delete_policy"); }
  void stored_policy(const char *name) const {
    zar_map_info info = bench::info_of(name);
    must(zar_store_policy(clid_, bench::new_policy(clid_, name)), "zar_store_policy");
    must(zar_delete_stored_policy_by_name(clid_, &info), "zar_delete_stored_policy_by_name");
  }
  void class_map() const {
    zar_map_info info = bench::info_of(kName);
    uint32_t cmap = 0;
    must(zar_create_class(clid_, &info, 1, &cmap), "zar_create_class");
    must(zar_delete_class(cmap), "zar_delete_class");
  }
  void action() const {
    zar_action_context context = bench::action_context("count");
    uint32_t action = 0;
    must(zar_create_action(&context, 1, 0, &action), "zar_create_action");
    must(zar_delete_action(action), "zar_delete_action");
  }
  void filter() const {
    zar_filter_context context = bench::filter_context("state");
    uint32_t filter = 0;
    must(zar_create_filter(&context, &filter, 0), "zar_create_filter");
    must(zar_delete_filter(filter), "zar_delete_filter");
  }
  void event() const {
    zar_event_context context{.event_id = 1, .event_name = nullptr};
    uint32_t event = 0;
    must(zar_create_event(&context, "session-start", &event), "zar_create_event");
    must(zar_delete_event(event), "zar_delete_event");
  }

 private:
  uint32_t clid_ = bench::clid();
};

class ByHand {
 public:
  explicit ByHand(uint32_t n_objects) {
    for (const std::string &name : bench::names(n_objects))
      repository_.store_policy(repository_.create_policy(bench::info_of(name.c_str())));
  }
  void policy() { repository_.delete_policy(repository_.create_policy(bench::info_of(kName))); }
  void stored_policy(const char *name) {
    zar_map_info info = bench::info_of(name);
    repository_.store_policy(repository_.create_policy(info));
    repository_.delete_policy(repository_.retrieve_policy(info));
  }
  void class_map() { repository_.delete_class(repository_.create_class(bench::info_of(kName), 1)); }
  void action() { repository_.delete_action(repository_.create_action(bench::action_context("count"), 1, 0)); }
  void filter() { repository_.delete_filter(repository_.create_filter(bench::filter_context("state"), false)); }
  void event() { repository_.delete_event(repository_.create_event(1, "session-start")); }

 private:
  by_hand::Repository repository_;
};

template <class Side>
void register_side(const std::string &who, uint32_t n_objects) {
  auto side = std::make_shared<Side>(n_objects);
  auto others = std::make_shared<std::vector<std::string>>(bench::names(n_objects, "x"));
  auto repeated = [&](const char *what, auto make) {
    bench::job(what, who, [side, make](benchmark::State &state) {
      for (auto _ : state)
        (side.get()->*make)();
    });
  };
  repeated("create and delete, policy-map", &Side::policy);
  repeated("create and delete, class-map", &Side::class_map);
  repeated("create and delete, action", &Side::action);
  repeated("create and delete, filter", &Side::filter);
  repeated("create and delete, event", &Side::event);
  bench::job("create, store, delete by name", who, [side, others](benchmark::State &state) {
    Random random;
    const auto count = static_cast<uint32_t>(others->size());
    for (auto _ : state)
      side->stored_policy((*others)[random.below(count)].c_str());
  });
}

}  // namespace

void bench::register_jobs(uint32_t n_objects) {
  register_side<Library>(kLibrary, n_objects);
  register_side<ByHand>("by hand", n_objects);
}
