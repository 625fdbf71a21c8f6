// A session without a terminal: many creates and deletes, what stands in the way of a deletion, undoing, interruption.
#include <functional>
#include <map>
#include <random>
#include <set>

#include <gtest/gtest.h>

#include "simulator/inventory/read.h"
#include "simulator/session/commands.h"
#include "simulator/session/show.h"
#include "simulator/text/interruption.h"
#include "tests/simulator/child_process.h"
#include "tests/simulator/policy.h"

namespace {

using simulator::ObjectKind;
using simulator::session::Reply;
using simulator::session::Session;
using simulator::session::Status;

constexpr const char *kBroadband = ZAR_EXAMPLES "/broadband.yaml";
constexpr const char *kGuests = ZAR_EXAMPLES "/guest-network.yaml";

// A session that lives as long as its test. At its end nothing is left.
class ASession : public testing::Test {
 protected:
  ASession() {
    simulator::session::Trouble trouble;
    EXPECT_TRUE(session_.begin(trouble));
  }
  ~ASession() override {
    simulator::interruption::withdraw();
    EXPECT_EQ(test::joined(session_.end()), "");
  }

  // What a command prints, or its complaints.
  std::string run(const std::string &line) {
    const Reply reply = simulator::session::run(session_, line, ++lines_);
    std::string text = reply.output;
    if (reply.trouble.rejected) text += "rejected: " + reply.trouble.rejected->diagnostics.sorted().front().message;
    for (const std::string &complaint : reply.trouble.complaints)
      text += complaint + "\n";
    EXPECT_EQ(reply.status == Status::failed, reply.trouble.rejected || !reply.trouble.complaints.empty()) << text;
    return text;
  }
  void run_all(const std::vector<std::string> &lines) {
    for (const std::string &line : lines)
      EXPECT_EQ(run(line), "") << line;
  }
  // Everything that a session shows: objects, attributes, counters, the order of activations.
  std::string state() { return run("show") + run("show config") + run("show listing"); }

  Session session_;
  size_t lines_ = 0;
};

// ---- Deleting

class Deleting : public ASession {
 protected:
  Deleting() {
    run_all({"create domain d", "create class c", "create class free",
             "create parameter-map m {statements: [{index: 1, filters: [{attribute: x, present: true}], actions: "
             "[{apply: m}]}]}",
             "create policy p {events: {e: {rules: [{number: 10, class: c, actions: [{apply: m}, {apply: m}]}]}}}",
             "create policy q {events: {f: {rules: [{number: 20, class: c, actions: [{raise: e}, {raise: f}]}]}}}",
             "create target t {policies: [p, q]}", "create target u {policies: [p]}"});
  }
};

TEST_F(Deleting, NamesTheFirstRuleThatUsesAClassMap) {
  EXPECT_EQ(run("delete class c"), "class-map 'c' is used by rule p/e/10 (<stdin>:5) and 1 more\n");
  run_all({"delete class free"});
}

TEST_F(Deleting, NamesTheUsersOfAParameterMapExceptItself) {
  EXPECT_EQ(run("delete parameter-map m"), "parameter-map 'm' is used by rule p/e/10 (<stdin>:5) and 1 more\n");
  run_all({"delete policy q", "delete policy p", "delete parameter-map m"});
}

TEST_F(Deleting, NamesTheStatementThatUsesAParameterMap) {
  run_all(
      {"create parameter-map n {statements: [{index: 7, filters: [{attribute: x, present: true}], actions: "
       "[{apply: m}]}]}",
       "delete policy q", "delete policy p"});
  EXPECT_EQ(run("delete parameter-map m"), "parameter-map 'm' is used by statement n/7 (<stdin>:9)\n");
}

TEST_F(Deleting, KeepsTheOnlyPolicyMapThatHandlesARaisedEvent) {
  EXPECT_EQ(run("delete policy p"),
            "only policy-map 'p' handles the event 'e', which is raised by rule q/f/20 (<stdin>:6)\n");
  run_all({"create policy r {events: {e: {rules: []}}}", "delete policy p", "delete policy q"});
}

TEST_F(Deleting, APolicyMapDeactivatesItOnItsTargetsOnly) {
  run_all({"create policy r {events: {e: {rules: []}}}", "activate r u", "delete policy p"});
  EXPECT_EQ(run("show target t"), "target t\n  client: the engine\n  policy-map 1: q\n");
  EXPECT_EQ(run("show target u"), "target u\n  client: the engine\n  policy-map 1: r\n");
  EXPECT_TRUE(run("deactivate p u").starts_with("there is no policy 'p'"));
}

TEST_F(Deleting, ClientsAndDomainsIsNotPossible) {
  const std::string reason =
      "s cannot be deleted: the library keeps them as long as it runs; undo and reload can go back to before they were "
      "made\n";
  EXPECT_EQ(run("delete domain d"), "domain" + reason);
  EXPECT_EQ(run("delete client a"), "client" + reason);
}

TEST_F(Deleting, FreesTheName) {
  run_all({"delete class free", "create class free {match: none}", "delete target u", "create target u {policies: [q]}",
           "delete target u"});
  EXPECT_EQ(run("show class free | include match"), "class-map free match-none\n");
}

// The names that there should be, and which class-maps and policy-maps each uses.
struct Model {
  std::set<std::string> classes;
  std::map<std::string, std::string> policies;           // with the class-map of its rule
  std::map<std::string, std::set<std::string>> targets;  // with its policy-maps

  bool uses_class(const std::string &name) const {
    for (const auto &[policy, used] : policies) {
      if (used == name) return true;
    }
    return false;
  }
};

std::string names(const simulator::PolicyFile &file, ObjectKind kind) {
  std::set<std::string_view> sorted;
  for (const std::string_view name : names_of(file, kind))
    sorted.insert(name);
  std::string text;
  for (const std::string_view name : sorted)
    text += simulator::concat(name, " ");
  return text;
}

template <class Names>
std::string joined_names(const Names &names) {
  std::string text;
  for (const auto &name : names)
    text += name + " ";
  return text;
}

template <class Value>
std::string joined_names(const std::map<std::string, Value> &names) {
  std::string text;
  for (const auto &[name, value] : names)
    text += name + " ";
  return text;
}

class ManyChanges : public ASession {
 protected:
  std::string name(const char *front) { return front + std::to_string(random_() % 40); }
  template <class Names>
  std::string one_of(const Names &names) {
    return *std::next(names.begin(), static_cast<std::ptrdiff_t>(random_() % names.size()));
  }

  void change_a_class() {
    const std::string c = name("c");
    if (model_.classes.insert(c).second)
      return run_all({"create class " + c + " {filters: [{attribute: a-" + c + ", present: true}]}"});
    if (model_.uses_class(c)) {
      EXPECT_NE(run("delete class " + c).find("class-map '" + c + "' is used by rule "), std::string::npos);
    } else {
      run_all({"delete class " + c});
      model_.classes.erase(c);
    }
  }

  void change_a_policy() {
    const std::string p = name("p");
    if (model_.policies.erase(p) == 1) {
      run_all({"delete policy " + p});
      for (auto &[target, policies] : model_.targets)
        policies.erase(p);
    } else if (!model_.classes.empty()) {
      const std::string c = one_of(model_.classes);
      run_all({"create policy " + p + " {events: {" + name("e") + ": {rules: [{number: 1, class: " + c +
               ", actions: [permit]}]}}}"});
      model_.policies[p] = c;
    }
  }

  void change_a_target() {
    const std::string t = name("t");
    if (model_.targets.erase(t) == 1) return run_all({"delete target " + t});
    if (model_.policies.empty()) return;
    const std::string p =
        std::next(model_.policies.begin(), static_cast<std::ptrdiff_t>(random_() % model_.policies.size()))->first;
    run_all({"create target " + t + " {policies: [" + p + "]}"});
    model_.targets[t] = {p};
  }

  void compare() {
    simulator::Complaints problems;
    const std::optional<simulator::PolicyFile> read = simulator::inventory::read(session_.repository(), problems);
    ASSERT_TRUE(read) << test::joined(problems);
    for (const simulator::PolicyFile *file : {&session_.file(), &*read}) {
      EXPECT_EQ(names(*file, ObjectKind::class_map), joined_names(model_.classes));
      EXPECT_EQ(names(*file, ObjectKind::policy), joined_names(model_.policies));
    }
    EXPECT_EQ(names(session_.file(), ObjectKind::target), joined_names(model_.targets));
    for (const auto &[target, policies] : model_.targets) {
      std::set<std::string> found;
      const simulator::Target *target_in_file = session_.file().find_target(target);
      ASSERT_NE(target_in_file, nullptr) << target;
      EXPECT_EQ(target_in_file->name.value, target);
      for (const simulator::Name &policy : target_in_file->policies)
        found.insert(policy.value);
      EXPECT_EQ(found, policies) << target;
    }
    EXPECT_EQ(session_.file().handles(), session_.file().copy_of_objects().handles());
    EXPECT_EQ(session_.file().attributes(), session_.file().copy_of_objects().attributes());
  }

  std::mt19937 random_{7};
  Model model_;
};

TEST_F(ManyChanges, LeaveWhatASimpleModelHas) {
  run_all({"create domain d"});
  for (int step = 0; step < 3000; ++step) {
    switch (random_() % 3) {
      case 0:
        change_a_class();
        break;
      case 1:
        change_a_policy();
        break;
      default:
        change_a_target();
        break;
    }
    if (step % 50 == 0) compare();
    if (HasFailure()) FAIL() << "at step " << step;
  }
  compare();
  const std::string before = state();
  run_all({"create class last"});
  EXPECT_EQ(run("undo"), "undone: create class last\n");
  EXPECT_EQ(state(), before);
}

// ---- Undoing

class Undoing : public ASession, public testing::WithParamInterface<const char *> {};

TEST_P(Undoing, BringsBackWhatWasThereBefore) {
  EXPECT_EQ(run("load " + std::string(kBroadband)), "");
  run_all({"create class mine", "set line-0101 account=1"});
  run("raise session-start@line-0101");
  const std::string before = state();
  run(GetParam());
  EXPECT_NE(state(), before) << "the command changes nothing";
  EXPECT_EQ(run("undo"), std::string("undone: ") + GetParam() + "\n");
  EXPECT_EQ(state(), before);
}

INSTANTIATE_TEST_SUITE_P(EachCommand, Undoing,
                         testing::Values("create class x", "create domain x", "create client x {database: own}",
                                         "delete class mine", "delete target line-0101", "deactivate service line-0102",
                                         "set line-0102 account=7", "unset line-0101 account",
                                         "raise session-start@line-0102", "clear counters", "run", "reload"));

TEST_F(ASession, IsUndoneStepByStepDownToItsBeginning) {
  std::vector<std::string> states = {state()};
  const std::vector<std::string> lines = {"create domain d",
                                          "create class c",
                                          "create policy p {events: {e: {rules: [{number: 1, class: c, actions: "
                                          "[{count: n}]}]}}}",
                                          "create target t {policies: [p]}",
                                          "raise e@t",
                                          "delete policy p"};
  for (const std::string &line : lines) {
    EXPECT_EQ(run(line), "");
    states.push_back(state());
  }
  EXPECT_NE(run("delete class d"), "");
  for (size_t left = lines.size(); left > 0; --left) {
    EXPECT_EQ(run("undo"), "undone: " + lines[left - 1] + "\n");
    EXPECT_EQ(state(), states[left - 1]);
  }
  EXPECT_EQ(run("undo"), "there is nothing to undo\n");
}

TEST_F(ASession, CanGiveANameAnotherMeaningAfterUndoing) {
  run_all({"create client a {database: own}", "create domain d {owner: a}"});
  run("undo");
  run("undo");
  run_all({"create client a {database: default}", "create domain d"});
  EXPECT_EQ(run("show config"), "clients:\n  a: {database: default}\ndomains:\n  d: {}\n");
}

TEST_F(ASession, DoesNotUndoItsBeginning) {
  simulator::session::Trouble trouble;
  ASSERT_TRUE(session_.load(kBroadband, trouble));
  session_.begin_undo_here();
  EXPECT_EQ(run("undo"), "there is nothing to undo\n");
  EXPECT_NE(session_.file().find_target("line-0101"), nullptr);
}

// ---- Files

TEST_F(ASession, ReloadsItsFilesAndDropsTheRest) {
  EXPECT_EQ(run("reload"), "no file was loaded in this session\n");
  EXPECT_EQ(run("load " + std::string(kBroadband)) + run("load " + std::string(kGuests)), "");
  const std::string before = state();
  run_all({"create class mine {domain: guest}", "delete target line-0101"});
  run("raise session-start@line-0102");
  EXPECT_EQ(run("reload"), "");
  EXPECT_EQ(state(), before);
}

TEST_F(ASession, ComparesItselfWithItsFiles) {
  EXPECT_EQ(run("diff"), "no file was loaded in this session\n");
  EXPECT_EQ(run("load " + std::string(kBroadband)), "");
  EXPECT_EQ(run("diff"), "0 added, 0 removed, 0 changed\n");
  run_all({"create class mine", "delete target line-0101", "set line-0102 account=closed"});
  const std::string different = run("diff");
  EXPECT_NE(different.find("added <stdin>:4: class-map mine\n"), std::string::npos) << different;
  EXPECT_NE(different.find(": target line-0101\n"), std::string::npos) << different;
  EXPECT_NE(different.find("  attributes: + account closed\n"), std::string::npos) << different;
  EXPECT_NE(different.find("1 added, 1 removed, 1 changed\n"), std::string::npos) << different;
}

TEST_F(ASession, SaysWhatAScenarioMissesAfterADeletion) {
  EXPECT_EQ(run("run"), "no loaded file has a scenario\n");
  EXPECT_EQ(run("test"), "no loaded file has tests\n");
  EXPECT_EQ(run("load " + std::string(kBroadband)), "");
  run_all({"delete target line-0101"});
  EXPECT_NE(run("run").find("target 'line-0101' is used by the scenario and 1 other, but not defined"),
            std::string::npos);
}

TEST_F(ASession, IsTheSameAfterItsTests) {
  EXPECT_EQ(run("load " + std::string(kBroadband)), "");
  run("raise session-start@line-0101");
  const std::string before = state();
  EXPECT_NE(run("test").find(" passed, 0 failed\n"), std::string::npos);
  EXPECT_EQ(state(), before);
}

// ---- Interruption

// A command that is interrupted at one of its checks leaves the session as it was; if it comes to its end before,
// it can be undone.
class Interrupting : public ASession, public testing::WithParamInterface<const char *> {
 protected:
  Interrupting() {
    EXPECT_EQ(run("load " + std::string(kGuests)), "");
    run_all({"create class mine {domain: guest}"});
    before_ = state();
  }

  bool is_interrupted_after(unsigned long checks) {
    const std::string line = GetParam();
    simulator::interruption::request(checks);
    const std::string printed = run(line);
    simulator::interruption::withdraw();
    const bool interrupted = printed == "interrupted; the session is as it was before\n";
    if (!interrupted && !line.starts_with("show")) {
      EXPECT_NE(state(), before_);
      EXPECT_EQ(run("undo"), "undone: " + line + "\n");
    }
    EXPECT_EQ(state(), before_) << "after " << checks << " checks";
    return interrupted;
  }

  std::string before_;
};

// The reading of a file has many checks that are alike; those at the end, where the repository changes, are all tried.
TEST_P(Interrupting, LeavesTheSessionAsItWas) {
  unsigned long checks = 0;
  unsigned long last = 0;
  for (; is_interrupted_after(checks) && !HasFailure(); checks += 1 + checks / 10)
    last = checks;
  EXPECT_GT(last, 4u);
  for (checks = last + 1; is_interrupted_after(checks) && !HasFailure(); ++checks) {
  }
}

INSTANTIATE_TEST_SUITE_P(EachLongCommand, Interrupting,
                         testing::Values("load " ZAR_EXAMPLES "/broadband.yaml", "reload", "run", "show config"),
                         [](const auto &parameter) { return std::string(parameter.param).substr(0, 4); });

// ---- Filters

class Filtering : public ASession {
 protected:
  Filtering() { run_all({"create domain d", "create class gold", "create class silver"}); }
};

TEST_F(Filtering, KeepsOrDropsLinesThatMatch) {
  EXPECT_EQ(run("show config | include '^  '"),
            "  d: {}\n  gold:\n    domain: d\n    match: all\n  silver:\n    domain: d\n    match: all\n");
  EXPECT_EQ(run("show config | exclude '^    '"), "domains:\n  d: {}\nclass-maps:\n  gold:\n  silver:\n");
  EXPECT_EQ(run("show config | include 'g.ld|s' | exclude ^d | exclude maps"), "  gold:\n  silver:\n");
  EXPECT_EQ(run("show config | include nothing"), "");
  EXPECT_EQ(run("help quit | exclude ends"), "quit\n");
}

TEST_F(Filtering, RefusesWhatIsNoFilter) {
  const std::string expected = "; expected: | include PATTERN, or | exclude PATTERN\n";
  EXPECT_EQ(run("show |"), "there is nothing behind '|'" + expected);
  EXPECT_EQ(run("show | inclde x"), "there is no filter 'inclde'; did you mean 'include'?" + expected);
  EXPECT_EQ(run("show | include"), "'include' has no pattern" + expected);
  EXPECT_EQ(run("show | include a b"), "'b' is one word too many; a pattern with blanks needs quotes\n");
  EXPECT_EQ(run("show | include ("), "'(' is not a regular expression: a '(' without its ')': (\n");
}

TEST_F(Filtering, IsNotMeantByABarInQuotesOrInPolicyText) {
  EXPECT_EQ(run("show class '|'"), "there is no class '|'\n");
  run_all({"create class odd {filters: [{attribute: x, equals: a | b }]}"});
  EXPECT_EQ(run("show class odd | include equals"), "  match x equals \"a | b\"\n");
}

}  // namespace
