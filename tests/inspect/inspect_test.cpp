// What zar_inspect() writes, as text and as JSON, and that it leaves the repository alone.
#include "zar/inspect.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <regex>

#include "support/repository.h"

using namespace rig;

namespace {

bool memory_is_out;

}  // namespace

// The inspection allocates with realloc() only.
extern "C" void *__real_realloc(void *block, size_t size);
extern "C" void *__wrap_realloc(void *block, size_t size) {
  return memory_is_out ? nullptr : __real_realloc(block, size);
}

namespace {

struct Pieces {
  std::string text;
  std::vector<size_t> sizes;
  size_t refused_after = SIZE_MAX;  // pieces
};

int take_piece(void *context, const char *text, size_t size) {
  auto *pieces = static_cast<Pieces *>(context);
  pieces->text.append(text, size);
  pieces->sizes.push_back(size);
  return pieces->sizes.size() > pieces->refused_after;
}

struct Inspecting : Repository {
  static std::string picture(zar_inspect_form form) {
    const Quiet quiet;
    Pieces pieces;
    EXPECT_EQ(zar_inspect(form, take_piece, &pieces), ZAR_STATUS_SUCCESS);
    return pieces.text;
  }
  // The text with every handle but 'shown' as #, after the lines of the handles and clients, which are always the same.
  static std::string text() {
    const std::string whole = std::regex_replace(picture(ZAR_INSPECT_TEXT), std::regex("0x[0-9a-f]+"), "#");
    const std::string heading = "database of client 1 one, the default\n";
    const size_t at = whole.find(heading);
    return at == std::string::npos ? whole : whole.substr(at + heading.size());
  }
  static std::string json() { return picture(ZAR_INSPECT_JSON); }
  static std::string first_line() {
    const std::string whole = picture(ZAR_INSPECT_TEXT);
    return whole.substr(0, whole.find('\n'));
  }
  static bool contains(const std::string &text, const std::string &part) {
    return text.find(part) != std::string::npos;
  }

  uint32_t policy_with_a_rule(const char *name, uint32_t cmap, uint32_t *rule_out = nullptr) {
    const uint32_t policy = stored_pmap(name);
    const uint32_t made = rule(event_in(policy, 7, "start"), cmap, 10, 1);
    if (rule_out) *rule_out = made;
    return policy;
  }
  // One of everything, with counters.
  void fill() {
    const Quiet quiet;
    const uint32_t web = stored_cmap("web", {.match_criteria = 2});
    auto *counted = at<zar_filter>(filter_in(web, "port-80", 1));
    counted->exec_count = 1, counted->hit_count = 2, counted->miss_count = 3, counted->comp_count = 4;
    uint32_t rule_of_web = 0;
    const uint32_t gold = policy_with_a_rule("gold", web, &rule_of_web);
    const uint32_t mark = action_in(rule_of_web, "mark", 5);
    at<zar_action>(mark)->executed_count = 6;
    const uint32_t line = target(gold, 41);
    zar_create_policy_context(line);
    stored_pmap("plain", {.type = 2});
    stored_cmap("other", {.type = 2});
    plain_rule("plain", "other");
    const uint32_t map = stored_pmtr_map("parameters");
    statement(map, 10, "pattern");
    statement_action(map, 10, 1, "apply");
    EXPECT_EQ(zar_register_domain(two, "d1"), 0U);
  }
};

TEST_F(Inspecting, AnEmptyRepositoryShowsItsClients) {
  EXPECT_EQ(picture(ZAR_INSPECT_TEXT),
            "handles 0 of 65536 in databases\n"
            "client 1 one, own database\n"
            "client 2 two, default database\n"
            "database of client 1 one, the default\n");
}

TEST_F(Inspecting, APolicyMapShowsItsEventsRulesActionsAndTargets) {
  uint32_t rule_of_web = 0;
  const uint32_t gold = policy_with_a_rule("gold", stored_cmap("web"), &rule_of_web);
  at<zar_action>(action_in(rule_of_web, "mark", 5))->executed_count = 6;
  target(gold, 41);
  EXPECT_EQ(text(),
            "  policy-map gold, domain d1 control, handle #\n"
            "    event start match-all, id 7, handle #\n"
            "      rule 10, class web run-all, handle #\n"
            "        action 5 mark(0), precedence 0, executed 6, handle #\n"
            "    active on target 41, handle #\n"
            "  class-map web, domain d1 control, match-all, used by policy-maps: 1, handle #\n"
            "  target 41, handle #\n"
            "    policy-map gold\n");
}

TEST_F(Inspecting, HandlesAreThoseOfTheRecords) {
  const uint32_t gold = stored_pmap("gold");
  char line[80];
  std::snprintf(line, sizeof line, "  policy-map gold, domain d1 control, handle 0x%x\n", gold);
  EXPECT_TRUE(contains(picture(ZAR_INSPECT_TEXT), line)) << line << picture(ZAR_INSPECT_TEXT);
  EXPECT_TRUE(contains(json(), "\"object\":{\"handle\":" + std::to_string(gold) + ",\"name\":\"gold\""));
}

TEST_F(Inspecting, AClassMapShowsItsFiltersWithTheirCounters) {
  const uint32_t web = stored_cmap("web", {.match_criteria = 3});
  auto *filter = at<zar_filter>(filter_in(web, "port-80", 1));
  filter->exec_count = 1, filter->hit_count = 2, filter->miss_count = 3, filter->comp_count = 4000000000U;
  EXPECT_EQ(text(),
            "  class-map web, domain d1 control, match-none, used by policy-maps: 0, handle #\n"
            "    filter no-match port-80, executed 1, hit 2, missed 3, compared 4000000000, handle #\n");
}

TEST_F(Inspecting, AParameterMapShowsItsStatements) {
  const uint32_t map = stored_pmtr_map("parameters");
  statement(map, 10, "pattern");
  statement_action(map, 10, 1, "apply");
  const std::string shown = text();
  EXPECT_TRUE(contains(shown,
                       "  parameter-map parameters, domain subscriber control, handle #\n"
                       "    statement 10\n"
                       "      filter match pattern, executed 0, hit 0, missed 0, compared 0, handle #\n"
                       "      action 1 apply(0), precedence 0, executed 0, handle #\n"))
      << shown;
  EXPECT_TRUE(contains(shown, ", hidden, handle #\n")) << shown;
}

TEST_F(Inspecting, ARuleWithoutAnEventNamesItsClassMapWhileThatIsStored) {
  stored_pmap("plain", {.type = 2});
  const uint32_t other = stored_cmap("other", {.type = 2});
  plain_rule("plain", "other");
  EXPECT_TRUE(contains(text(), "    rule 0, class other stop-on-failure, handle #\n")) << text();
  {
    const Quiet quiet;
    breaks_invariants("a rule outlives its class-map");
    ASSERT_EQ(zar_delete_stored_class(one, other), 0U);
  }
  EXPECT_TRUE(contains(text(), "    rule 0, class (not stored) stop-on-failure, handle #\n")) << text();
  EXPECT_TRUE(contains(json(), "\"class\":null,")) << json();
}

TEST_F(Inspecting, EveryDatabaseIsShownOnceUnderItsFirstClient) {
  zar_db *own = database();
  const uint32_t three = client("three", own);
  client("four", own);
  const zar_map_info gold = map_info("gold");
  uint32_t policy = 0;
  {
    const Quiet quiet;
    ASSERT_EQ(zar_create_policy(three, &gold, &policy), 0U);
    ASSERT_EQ(zar_store_policy(three, policy), 0U);
  }
  const std::string shown = text();
  EXPECT_EQ(shown, "database of client 3 three\n  policy-map gold, domain d1 control, handle #\n");
  EXPECT_TRUE(contains(json(), "\"kind\":\"policy-map\",\"database\":\"three\"")) << json();
}

TEST_F(Inspecting, AnInactiveClientIsMarked) {
  breaks_invariants("a client is made inactive");
  zar_clients_info[two - 1]->status = 0;
  EXPECT_TRUE(contains(picture(ZAR_INSPECT_TEXT), "client 2 two, default database, inactive\n"));
  EXPECT_TRUE(contains(json(), "{\"name\":\"two\",\"database\":\"default\",\"clid\":2,\"active\":false}"));
}

TEST_F(Inspecting, AMapOfAnotherKindShowsOnlyItsHandle) {
  const uint32_t web = cmap("web");
  {
    const Quiet quiet;
    ASSERT_EQ(zar_avl_insert_pmap(db, at<zar_pmap>(web)), 1U);
  }
  EXPECT_EQ(text(), "  policy-map (a map of another kind), handle #\n");
  EXPECT_TRUE(contains(json(), "\"kind\":\"policy-map\",\"database\":null,\"used_by\":[],\"object\":{\"handle\":" +
                                   std::to_string(web) + "}"))
      << json();
}

TEST_F(Inspecting, ASharedActionIsOneHandle) {
  uint32_t first = 0, second = 0;
  const uint32_t web = stored_cmap("web");
  policy_with_a_rule("gold", web, &first);
  policy_with_a_rule("silver", web, &second);
  const uint32_t mark = action_in(first, "mark");
  // A class-map, two policy-maps with an event and a rule each, and the action.
  EXPECT_EQ(first_line(), "handles 8 of 65536 in databases");
  {
    const Quiet quiet;
    ASSERT_EQ(zar_increment_action(at<zar_action>(mark)), 1U);
  }
  add_action(second, mark);
  EXPECT_EQ(first_line(), "handles 8 of 65536 in databases");
  EXPECT_TRUE(contains(text(), "action 1 mark(0), precedence 0, executed 0, holders 2, handle #\n")) << text();
}

TEST_F(Inspecting, EveryHandleInADatabaseCounts) {
  const size_t before = runtime::live_ids().size();
  fill();
  EXPECT_EQ(first_line(), "handles " + std::to_string(runtime::live_ids().size() - before) + " of 65536 in databases");
}

TEST_F(Inspecting, ChangesNothing) {
  fill();
  const std::string before = everything();
  const std::string once = picture(ZAR_INSPECT_TEXT), once_json = json();
  EXPECT_EQ(everything(), before);
  EXPECT_EQ(picture(ZAR_INSPECT_TEXT), once);
  EXPECT_EQ(json(), once_json);
}

TEST_F(Inspecting, TracesNoErrors) {
  fill();
  Pieces pieces;
  EXPECT_EQ(zar_inspect(ZAR_INSPECT_TEXT, take_piece, &pieces), ZAR_STATUS_SUCCESS);
  EXPECT_EQ(zar_inspect(ZAR_INSPECT_JSON, take_piece, &pieces), ZAR_STATUS_SUCCESS);
  EXPECT_ERRORS();
}

TEST_F(Inspecting, OddNamesStayInTheirLineAndAreValidInJson) {
  stored_pmap("a\n\"b\\\x7f\xff\xc3\xa4");
  EXPECT_EQ(text(), "  policy-map a\\x0a\"b\\\\x7f\xff\xc3\xa4, domain d1 control, handle #\n");
  EXPECT_TRUE(contains(json(), "\"name\":\"a\\u000a\\\"b\\\\\\u007f\\ufffd\xc3\xa4\",")) << json();
}

TEST_F(Inspecting, BytesThatAreNoCharacterAreReplacedInJson) {
  // A character that is cut, overlong, a surrogate, or above the last one.
  for (const char *bytes :
       {"\xc3", "\xe2\x82", "\xc0\xaf", "\xe0\x9f\xbf", "\xed\xa0\x80", "\xf4\x90\x80\x80", "\x80"}) {
    const uint32_t policy = stored_pmap(bytes);
    std::string replaced;
    for (const char *at = bytes; *at; ++at)
      replaced += "\\ufffd";
    EXPECT_TRUE(contains(json(), "\"name\":\"" + replaced + "\",")) << json();
    const Quiet quiet;
    ASSERT_EQ(zar_delete_stored_policy(one, policy), 0U);
  }
}

TEST_F(Inspecting, CharactersOfEveryLengthStayInJson) {
  const std::string name = "a\xc2\xa2\xe0\xa4\xb9\xe2\x82\xac\xed\x95\x9c\xef\xbf\xbd\xf0\x90\x8d\x88\xf4\x8f\xbf\xbf";
  stored_pmap(name.c_str());
  EXPECT_TRUE(contains(json(), "\"name\":\"" + name + "\",")) << json();
}

TEST_F(Inspecting, PiecesAreSmallAndNeverEmpty) {
  for (int number = 0; number < 100; ++number)
    stored_pmap(("policy-" + std::to_string(number)).c_str());
  const Quiet quiet;
  Pieces pieces;
  ASSERT_EQ(zar_inspect(ZAR_INSPECT_JSON, take_piece, &pieces), ZAR_STATUS_SUCCESS);
  EXPECT_GT(pieces.sizes.size(), 5U);
  EXPECT_EQ(*std::max_element(pieces.sizes.begin(), pieces.sizes.end()), 1024U);
  EXPECT_GT(*std::min_element(pieces.sizes.begin(), pieces.sizes.end()), 0U);
}

TEST_F(Inspecting, EndsWithTheFirstRefusedPiece) {
  for (int number = 0; number < 100; ++number)
    stored_pmap(("policy-" + std::to_string(number)).c_str());
  const Quiet quiet;
  Pieces pieces;
  pieces.refused_after = 2;
  EXPECT_EQ(zar_inspect(ZAR_INSPECT_TEXT, take_piece, &pieces), ZAR_STATUS_STEP_FAILED);
  EXPECT_EQ(pieces.sizes.size(), 3U);
}

TEST_F(Inspecting, AnActionOrAFilterWithoutATextIsShown) {
  uint32_t rule_of_web = 0;
  const uint32_t web = stored_cmap("web");
  policy_with_a_rule("gold", web, &rule_of_web);
  const uint32_t mark = action_in(rule_of_web, "mark");
  const uint32_t filter = filter_in(web, "port-80");
  at<zar_action>(mark)->action_str_fn = [](void *, uint32_t) -> char * { return nullptr; };
  at<zar_filter>(filter)->filter_str_fn = [](void *) -> char * { return nullptr; };
  EXPECT_TRUE(contains(text(), "action 1 (no text), precedence")) << text();
  EXPECT_TRUE(contains(text(), "filter (no text), executed")) << text();
  EXPECT_TRUE(contains(json(), "\"precedence\":0,\"text\":null,")) << json();
}

TEST_F(Inspecting, WithoutMemoryForTheCountNothingIsWritten) {
  uint32_t rule_of_web = 0;
  policy_with_a_rule("gold", stored_cmap("web"), &rule_of_web);
  const uint32_t mark = action_in(rule_of_web, "mark");
  const Quiet quiet;
  Pieces pieces;
  memory_is_out = true;
  EXPECT_EQ(zar_inspect(ZAR_INSPECT_TEXT, take_piece, &pieces), ZAR_STATUS_SUCCESS);  // nothing is shared: needs none
  pieces = {};
  ASSERT_EQ(zar_increment_action(at<zar_action>(mark)), 1U);
  EXPECT_EQ(zar_inspect(ZAR_INSPECT_TEXT, take_piece, &pieces), ZAR_STATUS_NO_MEMORY);
  memory_is_out = false;
  EXPECT_TRUE(pieces.sizes.empty());
  ASSERT_EQ(zar_free_action(at<zar_action>(mark)), 1U);
}

TEST_F(Inspecting, RefusesAnUnknownFormAndNoFunction) {
  Pieces pieces;
  EXPECT_EQ(zar_inspect(static_cast<zar_inspect_form>(0), take_piece, &pieces), ZAR_STATUS_INVALID_ARGUMENT);
  EXPECT_EQ(zar_inspect(static_cast<zar_inspect_form>(3), take_piece, &pieces), ZAR_STATUS_INVALID_ARGUMENT);
  EXPECT_EQ(zar_inspect(ZAR_INSPECT_TEXT, nullptr, &pieces), ZAR_STATUS_INVALID_ARGUMENT);
  EXPECT_TRUE(pieces.sizes.empty());
}

TEST(InspectingTooEarly, ARepositoryThatWasNotStartedIsRefused) {
  NEEDS_FRESH_PROCESS();
  Pieces pieces;
  EXPECT_EQ(zar_inspect(ZAR_INSPECT_TEXT, take_piece, &pieces), ZAR_STATUS_STEP_FAILED);
  EXPECT_TRUE(pieces.sizes.empty());
}

// schema_test.py names the file.
TEST_F(Inspecting, OneOfEverythingIsWrittenForTheSchema) {
  fill();
  const std::string written = json();
  EXPECT_TRUE(contains(written, "\"used_by\":[\"gold/start/10\"]")) << written;
  EXPECT_TRUE(contains(written, "\"used_by\":[\"41\"]")) << written;
  if (const char *path = std::getenv("ZAR_INSPECT_JSON")) std::ofstream(path) << written;
}

}  // namespace
