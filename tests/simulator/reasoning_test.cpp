// Whether attributes exist with which formulas hold: what an answer contains, and what it does not depend on.
#include <gtest/gtest.h>

#include <algorithm>

#include "policy.h"
#include "simulator/reasoning/matching.h"
#include "simulator/reasoning/relations.h"
#include "simulator/reasoning/solver.h"
#include "simulator/reasoning/values.h"
#include "simulator/text/text.h"

namespace {

using simulator::concat;
using simulator::Filter;
using simulator::FilterKind;
using simulator::PolicyFile;
using simulator::reasoning::Can;
using simulator::reasoning::Effort;
using simulator::reasoning::Formula;
using simulator::reasoning::Formulas;
using simulator::reasoning::FoundInput;
using simulator::reasoning::Input;
using simulator::reasoning::RelatedTests;
using simulator::reasoning::Relation;
using simulator::reasoning::Solver;
using simulator::reasoning::Value;
using simulator::reasoning::ValueTests;
using test::load_good;

// Class-maps, and a solver that is asked about them.
class Classes {
 public:
  explicit Classes(
      const std::string &classes, const simulator::reasoning::MayGoOn &may_go_on = [] { return true; })
      : file_(load_good("domains: {d: }\nclass-maps:\n" + classes)),
        effort_(may_go_on),
        solver_(formulas_, tests_, simulator::reasoning::hints_of(file_), effort_) {}

  Formula match(const std::string &name) {
    return simulator::reasoning::formula_of(*file_.find_class_map(name), formulas_,
                                            [&](const Filter &filter) { return tests_.holds(filter); });
  }
  FoundInput first(const std::vector<Formula> &claims) { return solver_.find_first(claims); }
  FoundInput any(const std::vector<Formula> &claims) { return solver_.find_any(claims); }
  Formula open() { return tests_.open("open", "nobody knows"); }
  // The one class-map or the other; nobody knows which.
  Formula if_open(const std::string &one, const std::string &other) {
    return formulas_.choose(open(), match(one), match(other));
  }

 private:
  PolicyFile file_;
  Effort effort_;
  Formulas formulas_{};
  ValueTests tests_{formulas_};
  Solver solver_;
};

const std::string kMixed = R"(
  gold: {filters: [{attribute: service, equals: gold}]}
  silver: {filters: [{attribute: service, equals: silver}]}
  metal: {match: any, filters: [{attribute: service, equals: gold}, {attribute: service, equals: silver}]}
  north: {filters: [{attribute: region, prefix: north}]}
  there: {filters: [{attribute: region, present: true}]}
  young: {filters: [{attribute: age, range: {max: 17}}]}
  some: {match: any, filters: [{attribute: region, prefix: north}, {attribute: age, range: {min: 5, max: 9}}]}
  odd: {filters: [{attribute: code, regex: '^\pL\pN$'}]}
  odd-or-gold: {match: any, filters: [{attribute: code, regex: '^\pL\pN$'}, {attribute: service, equals: gold}]}
  torn: {filters: [{attribute: word, regex: '^[a-f]+$'}, {attribute: word, regex: '^[g-z]+$'}]}
  coded: {filters: [{attribute: code, present: true}]}
)";

// ---- Inputs ---------------------------------------------------------------------------------------------------------------

TEST(FirstInput, HasAsManyAbsentAttributesAsPossible) {
  Classes classes(kMixed);
  const FoundInput found = classes.first({classes.match("some"), ~classes.match("gold")});
  EXPECT_EQ(found.can, Can::possible);
  EXPECT_EQ(found.input, (Input{{"age", std::nullopt}, {"region", "north"}, {"service", std::nullopt}}));
}

TEST(FirstInput, TakesAValueOnlyWhereAbsenceWillNotDo) {
  Classes classes(kMixed);
  const FoundInput found = classes.first({classes.match("some"), ~classes.match("there"), classes.match("metal")});
  EXPECT_EQ(found.input, (Input{{"age", "5"}, {"region", std::nullopt}, {"service", "gold"}}));
}

TEST(FirstInput, DoesNotDependOnEarlierQuestions) {
  Classes fresh(kMixed);
  const auto ask = [](Classes &of) {
    return of.first({of.match("some"), of.match("metal"), ~of.match("gold"), ~of.match("young")});
  };
  const FoundInput expected = ask(fresh);
  ASSERT_EQ(expected.can, Can::possible);
  Classes used(kMixed);
  for (const char *one : {"metal", "some", "young", "north"}) {
    for (const char *other : {"gold", "there", "silver"}) {
      used.any({used.match(one), ~used.match(other)});
      used.first({~used.match(one), used.match("some"), ~used.match(other)});
    }
  }
  const FoundInput again = ask(used);
  EXPECT_EQ(again.input, expected.input);
  EXPECT_EQ(again.needed, expected.needed);
}

TEST(FirstInput, NamesWhatIsNeededAlone) {
  Classes classes(kMixed);
  const FoundInput found = classes.first({classes.match("odd-or-gold"), classes.match("gold")});
  EXPECT_EQ(found.can, Can::possible);
  EXPECT_EQ(found.needed, (Input{{"service", "gold"}}));
}

TEST(FirstInput, SaysWhatItRestsOn) {
  Classes classes(kMixed);
  const FoundInput found = classes.first({classes.match("gold"), classes.open()});
  EXPECT_EQ(found.can, Can::possible);
  EXPECT_TRUE(found.rests_on_open);
  EXPECT_EQ(found.why, (std::vector<std::string>{"nobody knows"}));
  EXPECT_FALSE(classes.first({classes.match("gold")}).rests_on_open);
}

// Values for one answer must not be mixed with those for another, such as one that was tried and turned out to have none.
TEST(FirstInput, KeepsToOneChoiceOfWhatIsNotKnown) {
  for (const char *if_so : {"torn", "metal", "some", "young", "north"}) {
    for (const char *if_not : {"silver", "torn", "some", "young", "there"}) {
      if (std::string_view(if_so) == if_not) continue;
      Classes classes(kMixed);
      const FoundInput found = classes.first({classes.if_open(if_so, if_not), ~classes.match("gold")});
      EXPECT_EQ(found.can, Can::possible) << if_so << " or " << if_not << ": " << found.why_given_up;
    }
  }
}

// ---- Conflicts ------------------------------------------------------------------------------------------------------------

TEST(Conflict, LeavesOutClaimsThatHaveNothingToDoWithIt) {
  Classes classes(kMixed);
  const std::vector<Formula> claims = {classes.match("some"), classes.match("metal"), ~classes.match("gold"),
                                       classes.match("young"), ~classes.match("silver")};
  const FoundInput found = classes.any(claims);
  EXPECT_EQ(found.can, Can::impossible);
  std::vector<Formula> conflict = found.conflict;
  std::sort(conflict.begin(), conflict.end());
  std::vector<Formula> expected = {claims[1], claims[2], claims[4]};
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(conflict, expected);
}

TEST(Conflict, NamesTheClaimsOfWhichEachNeedsOneValue) {
  Classes classes(kMixed);
  const std::vector<Formula> claims = {classes.match("young"), classes.match("gold"), classes.match("silver")};
  EXPECT_EQ(classes.any(claims).conflict, (std::vector<Formula>{claims[1], claims[2]}));
  EXPECT_EQ(classes.any({claims[0], Formula::never()}).conflict, (std::vector<Formula>{Formula::never()}));
}

TEST(Conflict, OfNoClaimsDoesNotExist) {
  Classes classes(kMixed);
  EXPECT_EQ(classes.any({}).can, Can::possible);
  EXPECT_EQ(classes.any({Formula::always()}).can, Can::possible);
}

// ---- What cannot be followed ----------------------------------------------------------------------------------------------

TEST(OpaqueExpression, LeavesAQuestionOpenOnlyWhereItMatters) {
  Classes classes(kMixed);
  EXPECT_EQ(classes.any({classes.match("odd")}).can, Can::unknown);
  EXPECT_EQ(classes.any({classes.match("odd-or-gold"), ~classes.match("gold")}).can, Can::unknown);
  EXPECT_EQ(classes.any({classes.match("odd-or-gold")}).can, Can::possible);
  EXPECT_EQ(classes.any({classes.match("odd"), ~classes.match("coded")}).can, Can::impossible);
}

TEST(OpaqueExpression, NamesTheAttribute) {
  Classes classes(kMixed);
  const FoundInput found = classes.any({classes.match("odd-or-gold"), ~classes.match("gold"), classes.match("some")});
  EXPECT_EQ(found.why, (std::vector<std::string>{"the regular expressions on attribute code cannot be followed"}));
}

// What was passed over for one question is not excluded for the next.
TEST(OpaqueExpression, DoesNotSpoilLaterQuestions) {
  Classes classes(kMixed);
  EXPECT_EQ(classes.any({classes.match("odd-or-gold"), ~classes.match("gold"), classes.match("some")}).can,
            Can::unknown);
  EXPECT_EQ(classes.any({classes.match("metal"), ~classes.match("gold"), ~classes.match("silver")}).can,
            Can::impossible);
  EXPECT_EQ(classes.any({classes.match("odd-or-gold"), ~classes.match("coded"), classes.match("some")}).can,
            Can::possible);
}

// ---- Effort ---------------------------------------------------------------------------------------------------------------

// More pigeons than holes, each in one of them.
std::string pigeons(int holes) {
  std::string classes;
  const auto sits = [](int pigeon, int hole) { return concat("{attribute: p", pigeon, "-", hole, ", present: true}"); };
  for (int pigeon = 0; pigeon <= holes; ++pigeon) {
    std::string filters;
    for (int hole = 0; hole < holes; ++hole)
      filters += concat(hole == 0 ? "" : ", ", sits(pigeon, hole));
    classes += concat("  somewhere", pigeon, ": {match: any, filters: [", filters, "]}\n");
  }
  for (int hole = 0; hole < holes; ++hole) {
    for (int one = 0; one <= holes; ++one) {
      for (int other = 0; other < one; ++other)
        classes += concat("  both", one, "-", other, "-", hole, ": {filters: [", sits(one, hole), ", ",
                          sits(other, hole), "]}\n");
    }
  }
  return classes;
}

std::vector<Formula> all_sit_alone(Classes &classes, int holes) {
  std::vector<Formula> claims;
  for (int pigeon = 0; pigeon <= holes; ++pigeon)
    claims.push_back(classes.match(concat("somewhere", pigeon)));
  for (int hole = 0; hole < holes; ++hole) {
    for (int one = 0; one <= holes; ++one) {
      for (int other = 0; other < one; ++other)
        claims.push_back(~classes.match(concat("both", one, "-", other, "-", hole)));
    }
  }
  return claims;
}

TEST(EffortOfQuestions, IsNotAskedForWhatIsEasy) {
  int asked = 0;
  Classes classes(pigeons(4), [&] { return ++asked > 0; });
  EXPECT_EQ(classes.any(all_sit_alone(classes, 4)).can, Can::impossible);
  EXPECT_EQ(asked, 0);
}

TEST(EffortOfQuestions, EndsWhatIsHardAndLeavesWhatIsEasy) {
  constexpr int kHoles = 9;
  Classes classes(pigeons(kHoles), [] { return false; });
  const FoundInput hard = classes.any(all_sit_alone(classes, kHoles));
  EXPECT_EQ(hard.can, Can::unknown);
  EXPECT_EQ(hard.why, (std::vector<std::string>{"the time is over"}));
  EXPECT_EQ(classes.any({classes.match("somewhere0"), ~classes.match("both1-0-0")}).can, Can::possible);
}

TEST(EffortOfQuestions, GoesOnAsLongAsItMay) {
  constexpr int kHoles = 8;
  int asked = 0;
  Classes classes(pigeons(kHoles), [&] { return ++asked > 0; });
  EXPECT_EQ(classes.any(all_sit_alone(classes, kHoles)).can, Can::impossible);
  EXPECT_GT(asked, 0);
}

// ---- Pairs of tests -------------------------------------------------------------------------------------------------------

std::vector<Filter> many_tests() {
  std::vector<Filter> tests;
  tests.push_back({.kind = FilterKind::present});
  for (const char *text : {"", "1", "12", "012", "a", "ab", "-5"}) {
    tests.push_back({.kind = FilterKind::equals, .text = text});
    tests.push_back({.kind = FilterKind::prefix, .text = text});
  }
  for (const auto &[low, high] : {std::pair{0, 9}, std::pair{5, 20}, std::pair{12, 12}, std::pair{-9, -1}})
    tests.push_back({.kind = FilterKind::range, .low = low, .high = high});
  return tests;
}

TEST(PairOfTests, SaysOnlyWhatIsTrueOfEveryValue) {
  const std::vector<std::string> values = {"",  "1",  "12", "012", "a",  "ab", "-5", "abc", "123",
                                           "5", "15", "7",  "-1",  "-9", "13", "x",  "0",   "9"};
  size_t said = 0;
  for (const Filter &one : many_tests()) {
    for (const Filter &other : many_tests()) {
      const Relation relation = simulator::reasoning::relation_of(one, other);
      said += !relation.both_can_pass || relation.first_implies_second || relation.second_implies_first ? 1 : 0;
      for (const std::string &value : values) {
        const bool passes_one = simulator::reasoning::holds(one, Value(value));
        const bool passes_other = simulator::reasoning::holds(other, Value(value));
        const bool is_true = (relation.both_can_pass || !(passes_one && passes_other)) &&
                             (!relation.first_implies_second || !passes_one || passes_other) &&
                             (!relation.second_implies_first || !passes_other || passes_one);
        EXPECT_TRUE(is_true) << to_string(one) << " and " << to_string(other) << " of '" << value << "'";
      }
    }
  }
  EXPECT_GT(said, 100u);
}

// Tests 0, 1, ...: 'prefix: p0', 'prefix: p1', and so on.
constexpr uint32_t kMany = 2000;

RelatedTests many_prefixes() {
  RelatedTests related;
  for (uint32_t node = 0; node < kMany; ++node)
    related.add(node, {.kind = FilterKind::prefix, .text = concat("p", node, ".")});
  return related;
}

bool contains(const std::vector<uint32_t> &nodes, uint32_t node) {
  return std::find(nodes.begin(), nodes.end(), node) != nodes.end();
}

TEST(PairOfTests, IsMadeOfTextsThatBeginWithEachOtherAmongThousands) {
  RelatedTests related = many_prefixes();
  const std::vector<uint32_t> longer = related.add(kMany, {.kind = FilterKind::equals, .text = "p1999.7"});
  EXPECT_TRUE(contains(longer, 1999));
  EXPECT_FALSE(contains(longer, 1998));
  const std::vector<uint32_t> shorter = related.add(kMany + 1, {.kind = FilterKind::prefix, .text = "p1999"});
  EXPECT_TRUE(contains(shorter, 1999));
  EXPECT_TRUE(contains(shorter, kMany));
  EXPECT_EQ(shorter.size(), 2u);
}

TEST(PairOfTests, IsMadeOfAllWhereTheyAreFew) {
  RelatedTests related;
  related.add(1, {.kind = FilterKind::range, .low = 1, .high = 2});
  EXPECT_EQ(related.add(2, {.kind = FilterKind::regex, .text = "x"}), (std::vector<uint32_t>{1}));
  EXPECT_EQ(related.add(3, {.kind = FilterKind::equals, .text = "x"}), (std::vector<uint32_t>{1, 2}));
}

}  // namespace
