// The walks over the repository: two over the trees of a database, four over the lists of one object. The cursor is always
// the handle that the caller holds.
#include <type_traits>
#include <utility>

#include "lifecycle/lines.h"
#include "support/when_traced.h"

using namespace rig;

namespace {

constexpr uint32_t kUntouched = 0xabcd;

// EXPECT_REFUSED for tests over several types, where a member of the fixture is found only through 'this'.
#define EXPECT_ANSWER(status, ...)                                            \
  do {                                                                        \
    const auto everything = [this] { return this->Lifecycle::everything(); }; \
    EXPECT_REFUSED(status, (__VA_ARGS__));                                    \
  } while (false)

struct Iteration : Lifecycle {
  uint32_t out = kUntouched;

  // The results of the walk, first to last; the calls are expected to succeed.
  template <typename First, typename Next>
  static Handles walk(First first, Next next) {
    const Quiet quiet;
    Handles handles;
    uint32_t current = 0;
    EXPECT_EQ(first(&current), 0U);
    while (current != 0 && handles.size() < 100) {
      handles.push_back(current);
      uint32_t following = kUntouched;
      EXPECT_EQ(next(current, &following), 0U);
      current = following;
    }
    return handles;
  }
};

// ---- The trees of policy-maps and of class-maps

struct PolicyWalk {
  static constexpr const char *kFirst = "get_first_policy", *kNext = "get_next_policy";
  static constexpr auto first = zar_get_first_policy;
  static constexpr auto next = zar_get_next_policy;
  static avl_tree *&tree(zar_db &database) { return database.pmap_tree; }
  static uint32_t store(uint32_t clid, uint32_t map) { return zar_store_policy(clid, map); }
  static uint32_t make(World &world, const char *name, const MapOptions &options = {}) {
    return world.pmap(name, options);
  }
  static uint32_t make_stored(World &world, const char *name, const MapOptions &options = {}) {
    return world.stored_pmap(name, options);
  }
  static uint32_t delete_stored(uint32_t clid, uint32_t map) { return zar_delete_stored_policy(clid, map); }

  static Line no_place(const char *operation, uint32_t) { return no_place_for_pmap(operation); }
  static Line no_current(const char *operation) { return no_pmap(operation); }
  static Lines empty() {
    return {info("(info): PMAP avl: get first, no first pmap"),
            info("(info): %s: success, no first policy in the database", kFirst)};
  }
  static Line found_first(uint32_t map) { return info("(info): %s: success, first policy:0x%x", kFirst, map); }
  static Lines end() {
    return {info("(info): PMAP avl: get next, no next pmap"),
            info("(info): %s: success, no next policy in the database", kNext)};
  }
  static Line found_next(uint32_t map) { return info("(info): %s: success, first policy:0x%x", kNext, map); }
  static Line first_failed() { return error("(ERR): Error: getting first pmap"); }
  static Line next_failed() { return error("(ERR): Error: getting next pmap"); }
};

struct ClassWalk {
  static constexpr const char *kFirst = "get_first_class", *kNext = "get_next_class";
  static constexpr auto first = zar_get_first_class;
  static constexpr auto next = zar_get_next_class;
  static avl_tree *&tree(zar_db &database) { return database.cmap_tree; }
  static uint32_t store(uint32_t clid, uint32_t map) { return zar_store_class(clid, map); }
  static uint32_t make(World &world, const char *name, const MapOptions &options = {}) {
    return world.cmap(name, options);
  }
  static uint32_t make_stored(World &world, const char *name, const MapOptions &options = {}) {
    return world.stored_cmap(name, options);
  }
  static uint32_t delete_stored(uint32_t clid, uint32_t map) { return zar_delete_stored_class(clid, map); }

  static Line no_place(const char *operation, uint32_t clid) {
    return error("(ERR): %s: clid:%d, input class map handle cannot be NULL", operation, clid);
  }
  static Line no_current(const char *operation) { return no_cmap(operation); }
  static Lines empty() {
    return {info("(info): CMAP avl, get first: no first cmap"),
            info("(info): %s: success, no first cmap in the database", kFirst)};
  }
  static Line found_first(uint32_t map) { return info("(info): %s: success, first class:0x%x", kFirst, map); }
  static Lines end() {
    return {info("(info): CMAP avl: get next, no next cmap"),
            info("(info): %s: success, no next cmap in the database", kNext)};
  }
  static Line found_next(uint32_t map) { return info("(info): %s: success, next cmap:0x%x", kNext, map); }
  static Line first_failed() { return error("(ERR): Error: getting first cmap"); }
  static Line next_failed() { return error("(ERR): Error: getting next cmap"); }
};

template <typename Walk>
struct TreeWalks : Iteration {
  Handles walked(uint32_t clid) {
    return walk([=](uint32_t *place) { return Walk::first(clid, place); },
                [=](uint32_t current, uint32_t *place) { return Walk::next(clid, current, place); });
  }
};
struct WalkNames {
  template <typename Walk>
  static std::string GetName(int) {
    return std::is_same_v<Walk, PolicyWalk> ? "Policies" : "Classes";
  }
};
using TreeWalkTypes = ::testing::Types<PolicyWalk, ClassWalk>;
TYPED_TEST_SUITE(TreeWalks, TreeWalkTypes, WalkNames);

TYPED_TEST(TreeWalks, GoInTheOrderOfTheKeys) {
  const uint32_t silver = TypeParam::make_stored(*this, "silver"), gold = TypeParam::make_stored(*this, "gold"),
                 bronze = TypeParam::make_stored(*this, "bronze"),
                 other_gold = TypeParam::make_stored(*this, "gold", {.domain = "d0"});
  EXPECT_ANSWER(0U, TypeParam::first(this->one, &this->out));
  EXPECT_EQ(this->out, bronze);
  EXPECT_TRACED(own_database(TypeParam::kFirst), TypeParam::found_first(bronze));
  const Handles order{bronze, other_gold, gold, silver};
  for (size_t i = 0; i + 1 < order.size(); ++i) {
    EXPECT_ANSWER(0U, TypeParam::next(this->one, order[i], &this->out));
    EXPECT_EQ(this->out, order[i + 1]);
    EXPECT_TRACED(own_database(TypeParam::kNext), TypeParam::found_next(order[i + 1]));
  }
  EXPECT_ANSWER(0U, TypeParam::next(this->one, silver, &this->out));
  EXPECT_EQ(this->out, 0U);
  EXPECT_TRACED(own_database(TypeParam::kNext), TypeParam::end());
  EXPECT_CALLS();
}

TYPED_TEST(TreeWalks, ReturnHandle0InAnEmptyTree) {
  TypeParam::make(*this, "unstored");
  EXPECT_ANSWER(0U, TypeParam::first(this->one, &this->out));
  EXPECT_EQ(this->out, 0U);
  EXPECT_TRACED(own_database(TypeParam::kFirst), TypeParam::empty());
}

// The tree has reported that there is none before the place is written.
TYPED_TEST(TreeWalks, WriteThePlaceBeforeTheirLastMessage) {
  NEEDS_TRACE();
  const auto first = [this] { TypeParam::first(this->one, &this->out); };
  EXPECT_EQ(values_when_traced(this->out, first), (Handles{kUntouched, kUntouched, 0}));
  const uint32_t gold = TypeParam::make_stored(*this, "gold");
  this->out = kUntouched;
  EXPECT_EQ(values_when_traced(this->out, first), (Handles{kUntouched, gold}));
  this->out = kUntouched;
  const auto next = [&] { TypeParam::next(this->one, gold, &this->out); };
  EXPECT_EQ(values_when_traced(this->out, next), (Handles{kUntouched, kUntouched, 0}));
}

TYPED_TEST(TreeWalks, WriteHandle0BeforeTheyTraceThatTheTreeFailed) {
  NEEDS_TRACE();
  const uint32_t gold = TypeParam::make_stored(*this, "gold");
  avl_tree *own = std::exchange(TypeParam::tree(*this->db), nullptr);
  const auto first = [this] { EXPECT_EQ(TypeParam::first(this->one, &this->out), 41U); };
  EXPECT_EQ(values_when_traced(this->out, first), (Handles{kUntouched, kUntouched, 0}));
  this->out = kUntouched;
  const auto next = [&] { EXPECT_EQ(TypeParam::next(this->one, gold, &this->out), 41U); };
  EXPECT_EQ(values_when_traced(this->out, next), (Handles{kUntouched, kUntouched, 0}));
  TypeParam::tree(*this->db) = own;
}

TYPED_TEST(TreeWalks, GoThroughTheDatabaseOfTheClient) {
  const uint32_t three = this->client("three", this->database());
  const uint32_t gold = TypeParam::make_stored(*this, "gold");
  const uint32_t silver = TypeParam::make_stored(*this, "silver", {.clid = three});
  EXPECT_EQ(this->walked(this->one), Handles{gold});
  EXPECT_EQ(this->walked(three), Handles{silver});
  forget_trace();
  EXPECT_EQ(TypeParam::first(this->two, &this->out), 0U);
  EXPECT_EQ(this->out, gold);
  EXPECT_TRACED(default_database(TypeParam::kFirst), TypeParam::found_first(gold));
  EXPECT_EQ(TypeParam::next(this->two, gold, &this->out), 0U);
  EXPECT_TRACED(default_database(TypeParam::kNext), TypeParam::end());
}

TYPED_TEST(TreeWalks, SkipNoTypeAndNothingHidden) {
  const Handles order{TypeParam::make_stored(*this, "BUILTIN_AUTOCONF_POLICY"),
                      TypeParam::make_stored(*this, "gold", {.type = 2}),
                      TypeParam::make_stored(*this, "hidden", {.hidden = 1})};
  EXPECT_EQ(this->walked(this->one), order);
}

TYPED_TEST(TreeWalks, SkipRecordsOfTheOtherMapKinds) {
  const Handles order{this->pmap("a"), this->cmap("b"), this->pmtr_map("c"), TypeParam::make(*this, "d")};
  for (const uint32_t map : order)
    ASSERT_EQ(TypeParam::store(this->one, map), 0U);
  EXPECT_EQ(this->walked(this->one), order);
}

TYPED_TEST(TreeWalks, ContinueAfterARecordThatIsNotStored) {
  TypeParam::make_stored(*this, "bronze");
  const uint32_t gold = TypeParam::make(*this, "gold"), silver = TypeParam::make_stored(*this, "silver"),
                 tin = TypeParam::make(*this, "tin");
  EXPECT_EQ(TypeParam::next(this->one, gold, &this->out), 0U);
  EXPECT_EQ(this->out, silver);
  EXPECT_EQ(TypeParam::next(this->one, tin, &this->out), 0U);
  EXPECT_EQ(this->out, 0U);
}

TYPED_TEST(TreeWalks, EndAtARecordThatWasDeleted) {
  const uint32_t gold = TypeParam::make_stored(*this, "gold");
  TypeParam::make_stored(*this, "silver");
  EXPECT_EQ(TypeParam::delete_stored(this->one, gold), 0U);
  forget_trace();
  EXPECT_ANSWER(39U, TypeParam::next(this->one, gold, &this->out));
  EXPECT_TRACED(destroyed_already(gold), TypeParam::no_current(TypeParam::kNext));
  EXPECT_EQ(this->out, kUntouched);
}

TYPED_TEST(TreeWalks, CheckEverythingBeforeTheyRefuse) {
  const uint32_t gold = TypeParam::make_stored(*this, "gold");
  for (const uint32_t clid : {this->one, 0U, 3U, 0xffffffffU}) {
    for (const bool no_place : {false, true}) {
      uint32_t *place = no_place ? nullptr : &this->out;
      const auto about_clid = [&](const char *name) {
        return clid == this->one ? Lines{} : Lines{wrong_clid(name, clid)};
      };
      const auto about_place = [&](const char *name) {
        return no_place ? Lines{TypeParam::no_place(name, clid)} : Lines{};
      };
      if (clid != this->one || no_place) {
        EXPECT_ANSWER(39U, TypeParam::first(clid, place));
        EXPECT_TRACED(about_clid(TypeParam::kFirst), about_place(TypeParam::kFirst));
        EXPECT_ANSWER(39U, TypeParam::next(clid, gold, place));
        EXPECT_TRACED(about_clid(TypeParam::kNext), about_place(TypeParam::kNext));
      }
      EXPECT_ANSWER(39U, TypeParam::next(clid, 0, place));
      EXPECT_TRACED(about_clid(TypeParam::kNext), invalid_handle(), TypeParam::no_current(TypeParam::kNext),
                    about_place(TypeParam::kNext));
    }
  }
  EXPECT_EQ(this->out, kUntouched);
}

TYPED_TEST(TreeWalks, NeedADatabase) {
  const uint32_t gold = TypeParam::make_stored(*this, "gold");
  const auto expect_37 = [&](uint32_t clid, const auto &trace_of) {
    EXPECT_ANSWER(37U, TypeParam::first(clid, &this->out));
    EXPECT_TRACED(trace_of(TypeParam::kFirst));
    EXPECT_ANSWER(37U, TypeParam::next(clid, gold, &this->out));
    EXPECT_TRACED(trace_of(TypeParam::kNext));
  };
  zar_clients_info[0]->status = 0;
  expect_37(this->one, [&](const char *name) { return inactive_client(name, this->one); });
  zar_clients_info[0]->database = nullptr;
  expect_37(this->two, [](const char *) { return no_default_database(); });
  zar_client_data *client_two = std::exchange(zar_clients_info[1], nullptr);
  expect_37(this->two, [&](const char *name) { return missing_client(name, this->two); });
  zar_clients_info[1] = client_two;
  EXPECT_EQ(this->out, kUntouched);
}

TYPED_TEST(TreeWalks, FailWithoutATree) {
  const uint32_t gold = TypeParam::make_stored(*this, "gold");
  avl_tree *tree = std::exchange(TypeParam::tree(*this->db), nullptr);
  EXPECT_EQ(TypeParam::first(this->one, &this->out), 41U);
  EXPECT_EQ(this->out, 0U);
  const Lines at_first = take_errors();
  this->out = kUntouched;
  EXPECT_EQ(TypeParam::next(this->one, gold, &this->out), 41U);
  EXPECT_EQ(this->out, 0U);
  const Lines at_next = take_errors();
  TypeParam::tree(*this->db) = tree;
  NEEDS_TRACE();
  ASSERT_EQ(at_first.size(), 2U);
  EXPECT_EQ(at_first[1], TypeParam::first_failed());
  ASSERT_EQ(at_next.size(), 2U);
  EXPECT_EQ(at_next[1], TypeParam::next_failed());
}

TEST_F(Iteration, ReturnsTheInternalClassesOfParameterMaps) {
  const uint32_t values = pmtr_map("values");
  const Handles internal{statement(values, 1)->internal_cmap, statement(values, 2)->internal_cmap};
  const uint32_t voice = stored_cmap("voice");
  const Handles walked =
      walk([&](uint32_t *place) { return zar_get_first_class(one, place); },
           [&](uint32_t current, uint32_t *place) { return zar_get_next_class(one, current, place); });
  EXPECT_EQ(walked, (Handles{internal[0], internal[1], voice}));
}

// ---- The lists of one object

struct EventWalk : Iteration {
  static constexpr const char *kFirst = "get_event_class", *kNext = "get_next_event_class";
  uint32_t holder = pmap("gold");
  const uint32_t of_another_kind = cmap("other");
  uint32_t add(uint32_t nth) { return event_in(holder, nth); }
  static void remove(uint32_t element) { EXPECT_EQ(zar_delete_event(element), 0U); }
  static uint32_t first(uint32_t clid, uint32_t of, uint32_t *place) { return zar_get_event_class(clid, of, place); }
  static uint32_t next(uint32_t clid, uint32_t of, uint32_t current, uint32_t *place) {
    return zar_get_next_event_class(clid, of, current, place);
  }

  static Line no_holder(const char *name) { return no_pmap(name); }
  static Line no_place(const char *name) {
    return error("(ERR): %s: Error: input event tuple handle cannot be NULL", name);
  }
  static Line no_current() { return error("(ERR): %s: Error: current event tuple handle cannot be NULL", kNext); }
  static constexpr bool kCurrent0EndsTheCall = true;
  Line empty() const { return info("(info): %s: success, no event-class in the pmap:0x%x", kFirst, holder); }
  Line found_first(uint32_t element) const {
    return info("(info): %s: success, first event-class:0x%x in the pmap:0x%x", kFirst, element, holder);
  }
  Line gone(uint32_t current) const {
    return info("(info): %s: success, event-class:0x%x not present in the pmap:0x%x", kNext, current, holder);
  }
  Lines end(uint32_t current) const {
    return {info("(info): %s: success, no event-class next to:0x%x in the pmap:0x%x", kNext, current, holder)};
  }
  Lines found_next(uint32_t, uint32_t element) const {
    return {info("(info): %s: success, next event-class:0x%x in pmap:0x%x", kNext, element, holder)};
  }
};

struct RuleWalk : Iteration {
  static constexpr const char *kFirst = "get_class_action", *kNext = "get_next_class_action";
  const uint32_t holder = pmap("gold");
  const uint32_t started = event_in(holder, 1);
  const uint32_t of_another_kind = cmap("other");
  uint32_t add(uint32_t nth) { return rule(started, of_another_kind, nth); }
  void remove(uint32_t element) const {
    const zar_event_context context = event_context(1);
    const uint32_t class_num = at<zar_class_action>(element)->class_num;
    EXPECT_EQ(zar_remove_class_from_policy(holder, &context, of_another_kind, class_num), 0U);
  }
  uint32_t first(uint32_t clid, uint32_t of, uint32_t *place) const {
    return zar_get_class_action(clid, of, started, place);
  }
  uint32_t next(uint32_t clid, uint32_t of, uint32_t current, uint32_t *place) const {
    return zar_get_next_class_action(clid, of, started, current, place);
  }

  static Line no_holder(const char *name) { return no_pmap(name); }
  static Line no_place(const char *name) {
    return error("(ERR): %s: Error: input class action handle cannot be NULL", name);
  }
  static Line no_current() { return error("(ERR): %s: Error: current class action handle cannot be NULL", kNext); }
  static Line no_event(const char *name) {
    return error("(ERR): %s: Error: event needs to be provided to look for class in control polies", name);
  }
  static constexpr bool kCurrent0EndsTheCall = true;
  Line empty() const {
    return info("(info): %s: success, no class-action in pmap:0x%x under eventhdl:0x%x", kFirst, holder, started);
  }
  Line found_first(uint32_t element) const {
    return info("(info): %s: success, found class-action:0x%x in pmap:0x%x under eventhdl:0x%x", kFirst, element,
                holder, started);
  }
  Line gone(uint32_t current) const {
    return info("(info): %s: success, class-action:0x%x not present in the pmap:0x%x", kNext, current, holder);
  }
  Lines end(uint32_t current) const {
    return {info("(info): %s: success, no class-action next to:0x%x in the pmap:0x%x", kNext, current, holder)};
  }
  Lines found_next(uint32_t, uint32_t element) const {
    return {info("(info): %s: success, next class-action:0x%x in pmap:0x%x", kNext, element, holder)};
  }
};

struct ActionWalk : Iteration {
  static constexpr const char *kFirst = "get_action", *kNext = "get_next_action";
  const uint32_t of_another_kind = cmap("other");
  const uint32_t holder = rule(event_in(pmap("gold"), 1), of_another_kind);
  uint32_t add(uint32_t nth) { return action_in(holder, text("action %u", nth), nth); }
  void remove(uint32_t element) const { EXPECT_EQ(zar_remove_action_from_class_action(holder, element), 0U); }
  static uint32_t first(uint32_t clid, uint32_t of, uint32_t *place) { return zar_get_action(clid, of, place); }
  static uint32_t next(uint32_t clid, uint32_t of, uint32_t current, uint32_t *place) {
    return zar_get_next_action(clid, of, current, place);
  }

  static Line no_holder(const char *name) {
    return error("(ERR): %s: input class action handle context cannot be NULL", name);
  }
  static Line no_place(const char *name) { return error("(ERR): %s: Error: input action handle cannot be NULL", name); }
  static Line no_current() { return error("(ERR): %s: Error: current action handle cannot be NULL", kNext); }
  static constexpr bool kCurrent0EndsTheCall = false;
  Line empty() const { return info("(info): %s: success, no actions in class-action:0x%x", kFirst, holder); }
  Line found_first(uint32_t element) const {
    return info("(info): %s: success, first action0x%x in class-action:0x%x", kFirst, element, holder);
  }
  Line gone(uint32_t current) const {
    return info("(info): %s: Error: no matching action:0x%x found in class-action tuple:0x%x", kNext, current, holder);
  }
  Line found_current(uint32_t current) const {
    return info("(info): %s: current action:0x%x found in class-action:0x%x", kNext, current, holder);
  }
  Lines end(uint32_t current) const {
    return {found_current(current),
            info("(info): %s: no next action found next to:0x%x in class-action:0x%x", kNext, current, holder)};
  }
  Lines found_next(uint32_t current, uint32_t element) const {
    return {found_current(current), info("(info): %s: success, action:0x%x found next to:0x%x in class-action:0x%x",
                                         kNext, element, current, holder)};
  }
};

struct FilterWalk : Iteration {
  static constexpr const char *kFirst = "get_filter", *kNext = "get_next_filter";
  const uint32_t holder = cmap("voice");
  const uint32_t of_another_kind = pmap("other");
  uint32_t add(uint32_t nth) { return filter_in(holder, text("filter %u", nth)); }
  void remove(uint32_t element) const { EXPECT_EQ(zar_remove_filter_from_class(holder, element), 0U); }
  static uint32_t first(uint32_t clid, uint32_t of, uint32_t *place) { return zar_get_filter(clid, of, place); }
  static uint32_t next(uint32_t clid, uint32_t of, uint32_t current, uint32_t *place) {
    return zar_get_next_filter(clid, of, current, place);
  }

  static Line no_holder(const char *name) { return no_cmap(name); }
  static Line no_place(const char *name) { return error("(ERR): %s: Error: input filter handle cannot be NULL", name); }
  static Line no_current() { return error("(ERR): %s: Error: current filter handle cannot be NULL", kNext); }
  static constexpr bool kCurrent0EndsTheCall = false;
  Line empty() const { return info("(info): %s: success, no filters in cmap:0x%x", kFirst, holder); }
  Line found_first(uint32_t element) const {
    return info("(info): %s: success, first filter:0x%x in cmap:0x%x", kFirst, element, holder);
  }
  Line gone(uint32_t current) const {
    return info("(info): %s: Error: no matching filter:0x%x found in class-map:0x%x", kNext, current, holder);
  }
  Line found_current(uint32_t current) const {
    return info("(info): %s: current filter:0x%x found in cmap:0x%x", kNext, current, holder);
  }
  Lines end(uint32_t current) const {
    return {found_current(current),
            info("(info): %s: no filter found next to:0x%x in cmap:0x%x", kNext, current, holder)};
  }
  Lines found_next(uint32_t current, uint32_t element) const {
    return {found_current(current),
            info("(info): %s: success, filter:0x%x found next to:0x%x in cmap:0x%x", kNext, element, current, holder)};
  }
};

template <typename Walk>
struct ListWalks : Walk {
  Handles walked() {
    return this->walk(
        [this](uint32_t *place) { return this->first(this->one, this->holder, place); },
        [this](uint32_t current, uint32_t *place) { return this->next(this->one, this->holder, current, place); });
  }
};
struct ListWalkNames {
  template <typename Walk>
  static std::string GetName(int) {
    if constexpr (std::is_same_v<Walk, EventWalk>) return "Events";
    if constexpr (std::is_same_v<Walk, RuleWalk>) return "ClassActions";
    if constexpr (std::is_same_v<Walk, ActionWalk>) return "Actions";
    if constexpr (std::is_same_v<Walk, FilterWalk>) return "Filters";
  }
};
using ListWalkTypes = ::testing::Types<EventWalk, RuleWalk, ActionWalk, FilterWalk>;
TYPED_TEST_SUITE(ListWalks, ListWalkTypes, ListWalkNames);

TYPED_TEST(ListWalks, GoInTheOrderOfTheList) {
  const Handles order{this->add(1), this->add(2), this->add(3)};
  EXPECT_ANSWER(0U, this->first(this->one, this->holder, &this->out));
  EXPECT_EQ(this->out, order[0]);
  EXPECT_TRACED(this->found_first(order[0]));
  for (size_t i = 0; i < 2; ++i) {
    EXPECT_ANSWER(0U, this->next(this->one, this->holder, order[i], &this->out));
    EXPECT_EQ(this->out, order[i + 1]);
    EXPECT_EQ(take_trace(), this->found_next(order[i], order[i + 1]));
  }
  EXPECT_ANSWER(0U, this->next(this->one, this->holder, order[2], &this->out));
  EXPECT_EQ(this->out, 0U);
  EXPECT_EQ(take_trace(), this->end(order[2]));
  EXPECT_CALLS();
}

TYPED_TEST(ListWalks, ReturnHandle0ForAnEmptyList) {
  EXPECT_ANSWER(0U, this->first(this->one, this->holder, &this->out));
  EXPECT_EQ(this->out, 0U);
  EXPECT_TRACED(this->empty());
  this->out = kUntouched;
  EXPECT_ANSWER(0U, this->next(this->one, this->holder, this->holder, &this->out));
  EXPECT_EQ(this->out, 0U);
  EXPECT_TRACED(this->gone(this->holder));
}

TYPED_TEST(ListWalks, EndSilentlyWhenTheCurrentElementIsGone) {
  const Handles order{this->add(1), this->add(2), this->add(3)};
  this->remove(order[1]);
  forget_trace();
  for (const uint32_t current : {order[1], this->holder, 0xfffffff0U}) {
    this->out = kUntouched;
    EXPECT_ANSWER(0U, this->next(this->one, this->holder, current, &this->out));
    EXPECT_EQ(this->out, 0U);
    EXPECT_TRACED(this->gone(current));
  }
  EXPECT_EQ(this->walked(), (Handles{order[0], order[2]}));
}

// A cursor is traced, as gone or found, before the place is written, and the outcome afterwards.
TYPED_TEST(ListWalks, WriteThePlaceOnceTheCurrentElementIsTraced) {
  NEEDS_TRACE();
  const Handles order{this->add(1), this->add(2)};
  const auto values_of_next = [&](uint32_t current) {
    this->out = kUntouched;
    return values_when_traced(this->out, [&] { this->next(this->one, this->holder, current, &this->out); });
  };
  EXPECT_EQ(values_of_next(this->holder), Handles{kUntouched});
  EXPECT_EQ(this->out, 0U);
  Handles values(this->found_next(order[0], order[1]).size(), kUntouched);
  values.back() = order[1];
  EXPECT_EQ(values_of_next(order[0]), values);
  values.back() = 0;
  EXPECT_EQ(values_of_next(order[1]), values);
}

TYPED_TEST(ListWalks, SeeWhatIsAddedDuringTheWalk) {
  const uint32_t only = this->add(1);
  EXPECT_EQ(this->first(this->one, this->holder, &this->out), 0U);
  const uint32_t second = this->add(2);
  EXPECT_EQ(this->next(this->one, this->holder, only, &this->out), 0U);
  EXPECT_EQ(this->out, second);
}

TYPED_TEST(ListWalks, NeedNoDatabase) {
  const uint32_t only = this->add(1);
  zar_clients_info[0]->status = 0;
  zar_clients_info[0]->database = nullptr;
  EXPECT_EQ(this->first(this->two, this->holder, &this->out), 0U);
  EXPECT_EQ(this->out, only);
  EXPECT_TRACED(this->found_first(only));
  EXPECT_EQ(this->next(this->one, this->holder, only, &this->out), 0U);
  EXPECT_EQ(this->out, 0U);
  EXPECT_EQ(take_trace(), this->end(only));
}

TYPED_TEST(ListWalks, CheckEverythingBeforeTheyBegin) {
  this->add(1);
  for (const uint32_t clid : {this->one, 0U, 3U, 0xffffffffU}) {
    for (const bool no_holder : {false, true}) {
      for (const bool no_place : {false, true}) {
        if (clid == this->one && !no_holder && !no_place) continue;
        EXPECT_ANSWER(39U, this->first(clid, no_holder ? 0 : this->holder, no_place ? nullptr : &this->out));
        EXPECT_TRACED(clid == this->one ? Lines{} : Lines{wrong_clid(this->kFirst, clid)},
                      no_holder ? Lines{invalid_handle(), this->no_holder(this->kFirst)} : Lines{},
                      no_place ? Lines{this->no_place(this->kFirst)} : Lines{});
      }
    }
  }
  EXPECT_EQ(this->out, kUntouched);
}

TYPED_TEST(ListWalks, CheckEverythingBeforeTheyContinue) {
  const uint32_t only = this->add(1);
  for (const uint32_t clid : {this->one, 0U, 3U, 0xffffffffU}) {
    for (const bool no_holder : {false, true}) {
      for (const bool no_current : {false, true}) {
        for (const bool no_place : {false, true}) {
          if (clid == this->one && !no_holder && !no_current && !no_place) continue;
          const bool place_is_looked_at = !(no_current && TypeParam::kCurrent0EndsTheCall);
          EXPECT_ANSWER(39U, this->next(clid, no_holder ? 0 : this->holder, no_current ? 0 : only,
                                        no_place ? nullptr : &this->out));
          EXPECT_TRACED(clid == this->one ? Lines{} : Lines{wrong_clid(this->kNext, clid)},
                        no_holder ? Lines{invalid_handle(), this->no_holder(this->kNext)} : Lines{},
                        no_current ? Lines{this->no_current()} : Lines{},
                        no_place && place_is_looked_at ? Lines{this->no_place(this->kNext)} : Lines{});
        }
      }
    }
  }
  EXPECT_EQ(this->out, kUntouched);
}

// ---- Particular cases

using EventWalks = ListWalks<EventWalk>;

TEST_F(EventWalks, ReturnTheClassActionsOfAPolicyThatIsNotControl) {
  holder = stored_pmap("plain", {.type = 2});
  stored_cmap("voice", {.type = 2});
  stored_cmap("video", {.type = 2});
  const uint32_t first_rule = plain_rule("plain", "voice"), second_rule = plain_rule("plain", "video");
  EXPECT_REFUSED(0U, zar_get_event_class(one, holder, &out));
  EXPECT_EQ(out, first_rule);
  EXPECT_TRACED(found_first(first_rule));
  EXPECT_REFUSED(0U, zar_get_next_event_class(one, holder, first_rule, &out));
  EXPECT_EQ(out, second_rule);
  EXPECT_EQ(take_trace(), found_next(first_rule, second_rule));
  EXPECT_REFUSED(0U, zar_get_next_event_class(one, holder, second_rule, &out));
  EXPECT_EQ(out, 0U);
  EXPECT_EQ(take_trace(), end(second_rule));
}

using RuleWalks = ListWalks<RuleWalk>;

TEST_F(RuleWalks, CheckTheEventWithTheOtherArguments) {
  const uint32_t only = add(1);
  EXPECT_REFUSED(39U, zar_get_class_action(9, holder, 0, nullptr));
  EXPECT_TRACED(wrong_clid(kFirst, 9), invalid_handle(), no_event(kFirst), no_place(kFirst));
  EXPECT_REFUSED(39U, zar_get_next_class_action(9, holder, 0, only, nullptr));
  EXPECT_TRACED(wrong_clid(kNext, 9), invalid_handle(), no_event(kNext), no_place(kNext));
}

TEST_F(RuleWalks, DoNotCheckTheOwnerOfTheEvent) {
  const uint32_t only = add(1);
  const uint32_t silver = pmap("silver");
  EXPECT_REFUSED(0U, zar_get_class_action(one, silver, started, &out));
  EXPECT_EQ(out, only);
  EXPECT_TRACED(info("(info): %s: success, found class-action:0x%x in pmap:0x%x under eventhdl:0x%x", kFirst, only,
                     silver, started));
  const uint32_t loose = event(2);
  EXPECT_REFUSED(0U, zar_get_class_action(one, silver, loose, &out));
  EXPECT_EQ(out, 0U);
}

TEST_F(RuleWalks, WriteNothingForAPolicyThatIsNotControl) {
  const uint32_t plain = stored_pmap("plain", {.type = 2});
  stored_cmap("voice", {.type = 2});
  const uint32_t plain_one = plain_rule("plain", "voice");
  for (const uint32_t event_handle : {0U, started, plain_one}) {
    EXPECT_REFUSED(0U, zar_get_class_action(one, plain, event_handle, &out));
    EXPECT_REFUSED(0U, zar_get_next_class_action(one, plain, event_handle, plain_one, &out));
    EXPECT_EQ(out, kUntouched);
  }
  EXPECT_ERRORS();
}

TEST_F(RuleWalks, CheckTheArgumentsForAPolicyThatIsNotControlToo) {
  const uint32_t plain = pmap("plain", {.type = 2});
  EXPECT_REFUSED(39U, zar_get_class_action(9, plain, 0, &out));
  EXPECT_ERRORS(wrong_clid(kFirst, 9));
  EXPECT_REFUSED(39U, zar_get_class_action(one, plain, 0, nullptr));
  EXPECT_ERRORS(no_place(kFirst));
  EXPECT_REFUSED(39U, zar_get_next_class_action(9, plain, 0, 1, &out));
  EXPECT_ERRORS(wrong_clid(kNext, 9));
  EXPECT_REFUSED(39U, zar_get_next_class_action(one, plain, 0, 0, &out));
  EXPECT_ERRORS(no_current());
  EXPECT_REFUSED(39U, zar_get_next_class_action(one, plain, 0, 1, nullptr));
  EXPECT_ERRORS(no_place(kNext));
  EXPECT_EQ(out, kUntouched);
}

TEST_F(RuleWalks, GoInTheOrderOfTheClassNumbers) {
  const uint32_t ninth = add(9), second = add(2), fifth = add(5);
  EXPECT_EQ(walked(), (Handles{second, fifth, ninth}));
}

using ActionWalks = ListWalks<ActionWalk>;

TEST_F(ActionWalks, TakeTheFirstOfTwoOccurrencesForTheCurrentOne) {
  breaks_invariants("a list gets an action without a reference of its own");
  const uint32_t shared = add(1), other = add(1);
  add_action(holder, shared);
  ASSERT_EQ(actions_of(holder), (Handles{shared, other, shared}));
  EXPECT_EQ(zar_get_next_action(one, holder, other, &out), 0U);
  EXPECT_EQ(out, shared);
  EXPECT_EQ(zar_get_next_action(one, holder, shared, &out), 0U);
  EXPECT_EQ(out, other) << "the walk goes round";
}

TEST_F(ActionWalks, GoThroughClassActionsWithoutAnEvent) {
  stored_pmap("plain", {.type = 2});
  stored_cmap("voice", {.type = 2});
  const uint32_t plain_one = plain_rule("plain", "voice");
  const uint32_t permit = action_in(plain_one, "permit");
  EXPECT_EQ(zar_get_action(one, plain_one, &out), 0U);
  EXPECT_EQ(out, permit);
  EXPECT_EQ(zar_get_next_action(one, plain_one, permit, &out), 0U);
  EXPECT_EQ(out, 0U);
}

// ---- A whole repository, walked as a caller does. Nothing is asked of the platform on the way.

TEST_F(Iteration, ReachesEverythingAndRequestsNothing) {
  const uint32_t voice = stored_cmap("voice");
  const Handles filters{filter_in(voice, "port"), filter_in(voice, "rate")};
  const uint32_t gold = stored_pmap("gold"), silver = stored_pmap("silver");
  const uint32_t start = event_in(gold, 1), stop = event_in(gold, 2);
  const uint32_t first_rule = rule(start, voice), second_rule = rule(stop, voice);
  const Handles actions{action_in(first_rule, "permit"), action_in(second_rule, "deny")};
  watch_requests();

  Handles met;
  for (const uint32_t policy :
       walk([&](uint32_t *place) { return zar_get_first_policy(one, place); },
            [&](uint32_t current, uint32_t *place) { return zar_get_next_policy(one, current, place); })) {
    met.push_back(policy);
    for (const uint32_t each : walk([&](uint32_t *place) { return zar_get_event_class(one, policy, place); },
                                    [&](uint32_t current, uint32_t *place) {
                                      return zar_get_next_event_class(one, policy, current, place);
                                    })) {
      met.push_back(each);
      for (const uint32_t each_rule :
           walk([&](uint32_t *place) { return zar_get_class_action(one, policy, each, place); },
                [&](uint32_t current, uint32_t *place) {
                  return zar_get_next_class_action(one, policy, each, current, place);
                })) {
        met.push_back(each_rule);
        const Handles of_rule = walk(
            [&](uint32_t *place) { return zar_get_action(one, each_rule, place); },
            [&](uint32_t current, uint32_t *place) { return zar_get_next_action(one, each_rule, current, place); });
        met.insert(met.end(), of_rule.begin(), of_rule.end());
      }
    }
  }
  EXPECT_EQ(met, (Handles{gold, start, first_rule, actions[0], stop, second_rule, actions[1], silver}));
  EXPECT_EQ(walk([&](uint32_t *place) { return zar_get_filter(one, voice, place); },
                 [&](uint32_t current, uint32_t *place) { return zar_get_next_filter(one, voice, current, place); }),
            filters);
  EXPECT_REQUESTS();
}

}  // namespace
