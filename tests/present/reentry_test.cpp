// Handlers, text functions and printers that remove and delete what is being walked.
#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "lifecycle/lines.h"
#include "platform/runtime.h"
#include "support/reentry.h"

using namespace rig;

namespace {

using Strings = std::vector<std::string>;

// A stored policy-map of two events with two rules each, two actions in each rule. Its actions are named after their
// place, event, rule and action, all from 1.
struct TwoByTwo : Lifecycle {
  const uint32_t voice = stored_cmap("voice"), video = stored_cmap("video");
  const uint32_t gold = stored_pmap("gold");
  const Handles events{event_in(gold, 1, "start"), event_in(gold, 2, "stop")};
  const Handles rules{rule(events[0], voice, 1), rule(events[0], video, 2), rule(events[1], voice, 1),
                      rule(events[1], video, 2)};
  uint32_t handler = 0;  // the action whose function changes things

  TwoByTwo() {
    for (const char *place : {"111", "112", "121", "122", "211", "212", "221", "222"}) {
      const uint32_t action = add_to_rule(place);
      if (handler == 0) handler = action;
    }
    const Quiet quiet;
    EXPECT_EQ(zar_register_domain(one, "d1"), 0U);
  }

  uint32_t rule_at(const std::string &place) const {
    return rules[static_cast<size_t>((place[0] - '1') * 2 + place[1] - '1')];
  }
  uint32_t add_to_rule(const std::string &place) {
    return action_in(rule_at(place), place, static_cast<uint32_t>(place[2] - '0'));
  }
  void drop_action(const std::string &place) const {
    const uint32_t action = actions_of(rule_at(place)).at(static_cast<size_t>(place[2] - '1'));
    EXPECT_EQ(zar_remove_action_from_class_action(rule_at(place), action), 0U);
    EXPECT_EQ(zar_delete_action(action), 0U);
  }
  void drop_rule(uint32_t event_id, uint32_t cmap, uint32_t class_num) const {
    const zar_event_context context = event_context(event_id);
    EXPECT_EQ(zar_remove_class_from_policy(gold, &context, cmap, class_num), 0U);
  }
  void drop_event(size_t at) const { EXPECT_EQ(zar_delete_event(events[at]), 0U); }

  // The places whose functions were called since the last look, as the words of the log at 'word' say.
  static Strings places(size_t word) {
    Strings out;
    for (const std::string &call : take_calls()) {
      std::string rest = call;
      for (size_t at = 0; at < word; ++at)
        rest = rest.substr(std::min(rest.find(' ') + 1, rest.size()));
      rest = rest.substr(0, rest.find(' '));
      if (rest.size() == 3) out.push_back(rest);
    }
    return out;
  }
};

// What a function of the first action does, and whose functions are still called.
struct Deed {
  const char *name;
  std::function<void(const TwoByTwo &)> act;
  Strings left;
};
void PrintTo(const Deed &deed, std::ostream *out) {
  *out << deed.name;
}

const std::vector<Deed> kDeeds{
    {"deletes_the_next_action",
     [](const TwoByTwo &all) { all.drop_action("112"); },
     {"111", "121", "122", "211", "212", "221", "222"}},
    {"deletes_a_later_action",
     [](const TwoByTwo &all) { all.drop_action("121"); },
     {"111", "112", "122", "211", "212", "221", "222"}},
    {"deletes_the_next_rule",
     [](const TwoByTwo &all) { all.drop_rule(1, all.video, 2); },
     {"111", "112", "211", "212", "221", "222"}},
    {"deletes_the_next_event", [](const TwoByTwo &all) { all.drop_event(1); }, {"111", "112", "121", "122"}},
    {"deletes_all_that_it_may",
     [](const TwoByTwo &all) {
       all.drop_event(1);
       all.drop_rule(1, all.video, 2);
       all.drop_action("112");
     },
     {"111"}},
};

// ---- Notifications of activation and deactivation

struct Notifying : TwoByTwo, testing::WithParamInterface<Deed> {
  const uint32_t interface = target(stored_pmap("silver"), 7);
};
INSTANTIATE_TEST_SUITE_P(Each, Notifying, testing::ValuesIn(kDeeds), [](const auto &each) { return each.param.name; });

TEST_P(Notifying, OfAnActivationNotifiesTheActionsThatAreLeft) {
  once_inside(data_of_action(handler), [this] { GetParam().act(*this); });
  EXPECT_EQ(zar_activate_policy(one, gold, interface), 0U);
  EXPECT_EQ(places(2), GetParam().left);
  EXPECT_EQ(targets_of(gold), Handles{interface});
}

TEST_P(Notifying, OfADeactivationNotifiesTheActionsThatAreLeft) {
  activate(gold, interface);
  once_inside(data_of_action(handler), [this] { GetParam().act(*this); });
  const zar_map_info info = map_info("gold");
  EXPECT_EQ(zar_deactivate_policy_by_name(one, interface, &info), 0U);
  EXPECT_EQ(places(2), GetParam().left);
  EXPECT_EQ(targets_of(gold), Handles{});
}

TEST_P(Notifying, OfARemovedEventNotifiesTheActionsThatAreLeft) {
  activate(gold, interface);
  once_inside(data_of_action(handler), [this] { GetParam().act(*this); });
  zar_remove_action_handler_for_event(events[0], gold);
  Strings expected;
  for (const std::string &place : GetParam().left)
    if (place[0] == '1') expected.push_back(place);
  EXPECT_EQ(places(2), expected);
}

TEST_P(Notifying, OfARemovedClassNotifiesTheActionsThatAreLeft) {
  activate(gold, interface);
  once_inside(data_of_action(handler), [this] { GetParam().act(*this); });
  zar_remove_action_handler_for_class(rules[0], gold);
  Strings expected;
  for (const std::string &place : GetParam().left)
    if (place.substr(0, 2) == "11") expected.push_back(place);
  EXPECT_EQ(places(2), expected);
}

TEST_P(Notifying, NotifiesTheActionsThatAreLeftWhenTheCallIsMadeOneLevelDeeper) {
  uint32_t other = 0;
  data_of_action(handler).on_call = [this, &other, calls = 0]() mutable {
    const Quiet quiet;
    const int call = ++calls;
    if (call == 1) other = target(gold, 8);
    if (call == 2) GetParam().act(*this);
  };
  EXPECT_EQ(zar_activate_policy(one, gold, interface), 0U);
  EXPECT_EQ(active_on(other), Handles{gold});
  EXPECT_EQ(places(2), GetParam().left);
}

struct NotifyingOnce : TwoByTwo {
  const uint32_t silver = stored_pmap("silver");
  const uint32_t interface = target(silver, 7);
};

TEST_F(NotifyingOnce, NotifiesEachActionOnceEvenIfANotifiedOneIsDeleted) {
  const uint32_t second = actions_of(rules[0])[1];
  once_inside(data_of_action(second), [this] { drop_action("111"); });
  EXPECT_EQ(zar_activate_policy(one, gold, interface), 0U);
  EXPECT_EQ(places(2), (Strings{"111", "112", "121", "122", "211", "212", "221", "222"}));
}

TEST_F(NotifyingOnce, EndsThoughEachHandlerAddsAnAction) {
  uint32_t added = 0;
  data_of_action(handler).on_call = [this, &added] {
    const Quiet quiet;
    if (++added < 100) add_action(rules[0], action("more", 9));
  };
  EXPECT_EQ(zar_activate_policy(one, gold, interface), 0U);
  EXPECT_EQ(added, 1U);
  EXPECT_EQ(places(2), (Strings{"111", "112", "121", "122", "211", "212", "221", "222"}))
      << "not what came behind them";
  EXPECT_EQ(actions_of(rules[0]).size(), 3U);
}

TEST_F(NotifyingOnce, EndsWhenTheHandlerDeletesThePolicyOfTheQuestion) {
  // The event is of gold, but silver is where its removal is announced.
  once_inside(data_of_action(handler), [this] { EXPECT_EQ(zar_delete_stored_policy(one, silver), 0U); });
  zar_remove_action_handler_for_event(events[0], silver);
  EXPECT_EQ(places(2), Strings{"111"}) << "silver is active nowhere any more";
  EXPECT_FALSE(live(silver));
}

TEST_F(NotifyingOnce, NotifiesAnActionAgainForItsSecondOccurrenceWhenTheFirstIsRemoved) {
  const uint32_t second = actions_of(rules[0])[1];
  zar_increment_action(at<zar_action>(handler));
  add_action(rules[1], handler);
  once_inside(data_of_action(second), [this] {
    EXPECT_EQ(zar_remove_action_from_class_action(rules[0], handler), 0U);
    EXPECT_EQ(zar_delete_action(handler), 0U);
  });
  EXPECT_EQ(zar_activate_policy(one, gold, interface), 0U);
  EXPECT_EQ(places(2), (Strings{"111", "112", "121", "111", "122", "211", "212", "221", "222"}));
}

// ---- Listings of policy-maps

struct Listing : TwoByTwo, testing::WithParamInterface<Deed> {};
INSTANTIATE_TEST_SUITE_P(Each, Listing, testing::ValuesIn(kDeeds), [](const auto &each) { return each.param.name; });

TEST_P(Listing, ShowsTheActionsThatATextFunctionLeaves) {
  once_inside(data_of_action(handler), [this] { GetParam().act(*this); });
  EXPECT_EQ(zar_print_policymap("", capture_printer, "d1", "gold", 0, 1), 0U);
  EXPECT_EQ(places(1), GetParam().left);
}

TEST_P(Listing, AsksTheActionsThatAQuestionLeaves) {
  once_inside(data_of_action(handler), [this] { GetParam().act(*this); });
  int param_map = 0;
  EXPECT_EQ(zar_is_param_map_assoc_with_policy(&param_map), 0U);
  EXPECT_EQ(places(1), GetParam().left);
}

// ---- Listings of databases

struct ListingDatabases : TwoByTwo {
  const uint32_t iron = stored_pmap("iron"), silver = stored_pmap("silver");

  // Runs when the n-th line, from 1, is printed.
  static void at_line(size_t number, const std::function<void()> &act) {
    on_printed = [=](const std::string &) {
      if (printed().size() != number) return;
      const Quiet quiet;
      act();
    };
  }
  static uint32_t print_policies() { return zar_print_policymap("", capture_printer, "d1", nullptr, 1, 0); }
};

TEST_F(ListingDatabases, SkipAPolicyThatATextFunctionDeletes) {
  once_inside(data_of_action(handler), [this] { EXPECT_EQ(zar_delete_stored_policy(one, iron), 0U); });
  EXPECT_EQ(print_policies(), 0U);
  Strings lines = take_printed();
  EXPECT_EQ(lines.front(), "gold");
  EXPECT_EQ(lines.back(), "silver");
  EXPECT_EQ(std::count(lines.begin(), lines.end(), "iron"), 0);
}

TEST_F(ListingDatabases, ContinueAfterThePolicyThatThePrinterDeletesWhateverItShows) {
  const uint32_t last = stored_pmap("zinc");
  size_t lines = 0;
  EXPECT_EQ(print_policies(), 0U);
  lines = take_printed().size();
  ASSERT_EQ(lines, 18U);
  for (size_t number = 1; number <= 15; ++number) {
    SCOPED_TRACE(number);
    const uint32_t first = stored_pmap("aaa");
    const uint32_t start = event_in(first, 1), stop = event_in(first, 2);
    for (const uint32_t each : {start, stop})
      for (const uint32_t cmap : {voice, video}) {
        const uint32_t under = rule(each, cmap);
        action_in(under, "one", 1);
        action_in(under, "two", 2);
      }
    at_line(number, [this, first] { EXPECT_EQ(zar_delete_stored_policy(one, first), 0U); });
    EXPECT_EQ(print_policies(), 0U);
    Strings shown = take_printed();
    EXPECT_EQ(shown.size(), number + lines);
    EXPECT_EQ(shown[number], "gold");
    EXPECT_EQ(shown.back(), "zinc");
    on_printed = nullptr;
  }
  EXPECT_TRUE(live(last));
}

TEST_F(ListingDatabases, SkipAllThatThePrinterDeletes) {
  at_line(1, [this] {
    for (const uint32_t each : {gold, iron, silver})
      EXPECT_EQ(zar_delete_stored_policy(one, each), 0U);
  });
  EXPECT_EQ(print_policies(), 0U);
  EXPECT_EQ(take_printed(), Strings{"gold"});
  EXPECT_EQ(pmaps_in(db), Handles{});
}

TEST_F(ListingDatabases, ContinueAfterAPolicyThatLeavesTheTree) {
  at_line(1, [this] {
    zar_pmap *removed = nullptr;
    EXPECT_EQ(zar_avl_delete_pmap(db, at<zar_pmap>(gold), &removed), 1U);
    EXPECT_EQ(zar_avl_delete_pmap(db, at<zar_pmap>(iron), &removed), 1U);
  });
  EXPECT_EQ(print_policies(), 0U);
  const Strings lines = take_printed();
  EXPECT_EQ(std::count(lines.begin(), lines.end(), "iron"), 0);
  EXPECT_EQ(lines.back(), "silver");
  for (const uint32_t each : {gold, iron})
    note(Kind::pmap, each);
}

TEST_F(ListingDatabases, EndWhenTheDatabaseIsEmptied) {
  at_line(1, [this] { EXPECT_EQ(zar_avl_remove_pmap(db), 1U); });
  EXPECT_EQ(print_policies(), 0U);
  const Strings lines = take_printed();
  EXPECT_EQ(std::count(lines.begin(), lines.end(), "iron"), 0);
  for (const uint32_t each : {gold, iron, silver})
    note(Kind::pmap, each);
}

TEST_F(ListingDatabases, AskThePoliciesThatAQuestionLeaves) {
  const uint32_t permit = action_in(rule(event_in(iron, 1), voice), "no1");
  action_in(rule(event_in(silver, 1), voice), "yes");
  int param_map = 0;
  data_of_action(actions_of(rules_of(events_of(silver)[0])[0])[0]).param_map = &param_map;
  EXPECT_TRUE(live(permit));
  once_inside(data_of_action(handler), [this] { EXPECT_EQ(zar_delete_stored_policy(one, iron), 0U); });
  EXPECT_EQ(zar_is_param_map_assoc_with_policy(&param_map), 1U);
  const Strings asked = places(1);
  EXPECT_EQ(std::count(asked.begin(), asked.end(), "no1"), 0);
  EXPECT_EQ(asked.back(), "yes");
}

TEST_F(ListingDatabases, TakeTheAnswerOfAnActionWhosePolicyIsGone) {
  int param_map = 0;
  data_of_action(handler).param_map = &param_map;
  const uint32_t holder = rules_of(events_of(gold)[0])[0];
  once_inside(data_of_action(handler), [this, holder] {
    EXPECT_EQ(zar_remove_action_from_class_action(holder, handler), 0U);
    EXPECT_EQ(zar_delete_stored_policy(one, gold), 0U);
  });
  EXPECT_EQ(zar_is_param_map_assoc_with_policy(&param_map), 1U);
  note(Kind::action, handler);
}

TEST_F(ListingDatabases, AskTheRestAfterALastActionThatCameAndWent) {
  const uint32_t holder = rules_of(events_of(gold)[0])[0];
  action_in(holder, "nx1", 2);
  const uint32_t guest = action("gu1", 3);
  once_inside(data_of_action(handler), [holder, guest] {
    EXPECT_EQ(zar_add_action_to_rule(holder, guest), 0U);
    EXPECT_EQ(zar_remove_action_from_class_action(holder, guest), 0U);
  });
  int param_map = 0;
  EXPECT_EQ(zar_is_param_map_assoc_with_policy(&param_map), 0U);
  const Strings asked = places(1);
  EXPECT_EQ(std::count(asked.begin(), asked.end(), "nx1"), 1);
  EXPECT_EQ(std::count(asked.begin(), asked.end(), "gu1"), 0);
  note(Kind::action, guest);
}

TEST_F(ListingDatabases, AskNoActionThatWasDeletedWithItsPolicy) {
  const uint32_t holder = rules_of(events_of(gold)[0])[0];
  const uint32_t next = action_in(holder, "nx1");
  action_in(rule(event_in(silver, 1), voice), "no2");
  EXPECT_TRUE(live(next));
  once_inside(data_of_action(handler), [this, holder] {
    EXPECT_EQ(zar_remove_action_from_class_action(holder, handler), 0U);
    EXPECT_EQ(zar_delete_stored_policy(one, gold), 0U);
  });
  int param_map = 0;
  EXPECT_EQ(zar_is_param_map_assoc_with_policy(&param_map), 0U);
  const Strings asked = places(1);
  EXPECT_EQ(std::count(asked.begin(), asked.end(), "nx1"), 0);
  EXPECT_EQ(asked.back(), "no2");
  note(Kind::action, handler);
}

// ---- Listings of class-maps

struct ListingClasses : TwoByTwo {
  const uint32_t alpha = stored_cmap("alpha");
  const uint32_t first = filter_in(alpha, "first"), second = filter_in(alpha, "second");
  const uint32_t third = filter_in(alpha, "third");
  const uint32_t beta = stored_cmap("beta"), gamma = stored_cmap("gamma");

  ListingClasses() {
    filter_in(beta, "of beta");
    filter_in(gamma, "of gamma");
  }

  void drop_filter(uint32_t filter) const {
    EXPECT_EQ(zar_remove_filter_from_class(alpha, filter), 0U);
    EXPECT_EQ(zar_delete_filter(filter), 0U);
  }
  // The texts of the rows.
  static Strings print(const char *name) {
    EXPECT_EQ(zar_print_classmap("", capture_printer, "", "d1", name, name == nullptr ? 1 : 0), 0U);
    Strings out = take_printed();
    out.erase(out.begin(), out.begin() + 2);
    for (std::string &row : out) {
      row = row.substr(28, 29);
      row.erase(row.find_last_not_of(' ') + 1);
    }
    return out;
  }
};

TEST_F(ListingClasses, ShowTheFiltersThatATextFunctionLeaves) {
  once_inside(data_of_filter(first), [this] { drop_filter(second); });
  EXPECT_EQ(print("alpha"), (Strings{"match first", "match third"}));
}

TEST_F(ListingClasses, SkipAClassThatATextFunctionDeletes) {
  once_inside(data_of_filter(first), [this] { EXPECT_EQ(zar_delete_stored_class(one, beta), 0U); });
  EXPECT_EQ(print(nullptr), (Strings{"match first", "match second", "match third", "match of gamma"}));
}

TEST_F(ListingClasses, ContinueAfterTheClassThatThePrinterDeletes) {
  on_printed = [this](const std::string &) {
    if (printed().size() != 3) return;
    const Quiet quiet;
    EXPECT_EQ(zar_delete_stored_class(one, alpha), 0U);
  };
  EXPECT_EQ(print(nullptr), (Strings{"match first", "match of beta", "match of gamma"}));
  EXPECT_FALSE(live(alpha));
}

// ---- New data

TEST_F(ListingClasses, ShowTheNewDataWhileTheOldIsFreed) {
  const zar_action_context permit = action_context("permit");
  const zar_filter_context port = filter_context("port");
  Strings shown;
  const auto look = [&shown, this] {
    char *of_action = zar_get_action_nvgen_str(handler, 0);
    char *of_filter = zar_get_filter_nvgen_str(first);
    shown.emplace_back(of_action);
    shown.emplace_back(of_filter);
    bfree_named(of_action);
    bfree_named(of_filter);
  };
  once_inside(data_of_action(handler), look);
  zar_replace_old_action_hdl(handler, &permit);
  once_inside(data_of_filter(first), look);
  zar_replace_old_filter_hdl(first, &port);
  EXPECT_EQ(shown, (Strings{"permit(0)", "match first", "permit(0)", "match port"}));
}

TEST_F(ListingClasses, FreeEachDataOnceThoughTheFreeFunctionReplacesItAgain) {
  const zar_action_context permit = action_context("permit"), drop = action_context("drop");
  once_inside(data_of_action(handler), [&] { zar_replace_old_action_hdl(handler, &drop); });
  Data &old = data_of_action(handler);
  zar_replace_old_action_hdl(handler, &permit);
  EXPECT_EQ(old.freed, 1);
  EXPECT_EQ(data_of_action(handler).name, "drop");
}

}  // namespace
