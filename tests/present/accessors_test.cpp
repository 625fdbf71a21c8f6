// Values and configuration texts of objects, the freeing of context blocks, and the hooks of the engine.
#include <utility>

#include "platform/runtime.h"
#include "support/wrong_handles.h"

using namespace rig;

namespace {

constexpr uint32_t kTextTag = 0x3e00009;

constexpr const char *kNoPmap = "(info):  : Error: input pmap context cannot be NULL";
constexpr const char *kNoEvent = "(ERR):  : input event class action handle context cannot be NULL";
constexpr const char *kNoRule = "(ERR):  : input class action handle context cannot be NULL";
constexpr const char *kNoCmap = "(ERR):  : input class map handle context cannot be NULL";

// An accessor, and its message for a handle that names nothing.
struct Accessor {
  const char *name;
  Kind kind;
  uint32_t level;
  const char *message;  // may print the handle
  bool (*gives_nothing)(uint32_t handle);
};

template <auto Read>
bool gives_nothing(uint32_t handle) {
  return !Read(handle);
}

bool gives_no_action_text(uint32_t handle) {
  return zar_get_action_nvgen_str(handle, 1) == nullptr;
}

bool unhides_nothing(uint32_t handle) {
  zar_unhide_policy(handle);
  return true;
}

const Accessor kAccessors[] = {
    {"is_policy_hidden", Kind::pmap, 6, kNoPmap, gives_nothing<zar_is_policy_hidden>},
    {"unhide_policy", Kind::pmap, 6, kNoPmap, unhides_nothing},
    {"get_pmap_domain", Kind::pmap, 6, kNoPmap, gives_nothing<zar_get_pmap_domain>},
    {"get_event_id", Kind::event, 3, kNoEvent, gives_nothing<zar_get_event_id>},
    {"get_event_name", Kind::event, 3, kNoEvent, gives_nothing<zar_get_event_name>},
    {"get_event_class_match_criteria", Kind::event, 3, kNoEvent, gives_nothing<zar_get_event_class_match_criteria>},
    {"get_class_name_from_class_action", Kind::rule, 3, kNoRule, gives_nothing<zar_get_class_name_from_class_action>},
    {"get_class_num_from_class_action", Kind::rule, 3, kNoRule, gives_nothing<zar_get_class_num_from_class_action>},
    {"get_action_exec_criteria", Kind::rule, 3, kNoRule, gives_nothing<zar_get_action_exec_criteria>},
    {"get_cmap_name", Kind::cmap, 3, kNoCmap, gives_nothing<zar_get_cmap_name>},
    {"get_cmap_domain", Kind::cmap, 3, kNoCmap, gives_nothing<zar_get_cmap_domain>},
    {"get_cmap_if_hidden", Kind::cmap, 3, kNoCmap, gives_nothing<zar_get_cmap_if_hidden>},
    {"get_cmap_match_logical_op", Kind::cmap, 3, kNoCmap, gives_nothing<zar_get_cmap_match_logical_op>},
    {"get_cmap_match_criteria", Kind::cmap, 3, kNoCmap, gives_nothing<zar_get_cmap_match_criteria>},
    {"get_action_num", Kind::action, 3, "(ERR): get_action_num: action context:0x%x is NULL",
     gives_nothing<zar_get_action_num>},
    {"get_precedence_value", Kind::action, 3, "(ERR): get_precedence: action context:0x%x is NULL",
     gives_nothing<zar_get_precedence_value>},
    {"get_action_nvgen_str", Kind::action, 3, "(ERR): get_nvgen_str: Error: action:0x%x is NULL", gives_no_action_text},
    {"get_filter_nvgen_str", Kind::filter, 3, "(ERR): get_nvgen_str: Error: filter:0x%x is NULL",
     gives_nothing<zar_get_filter_nvgen_str>},
};

struct Accessors : Repository {};

TEST_F(Accessors, ReturnNothingForAHandleThatNamesNothing) {
  for (const Accessor &accessor : kAccessors) {
    for (const WrongHandle &wrong : wrong_handles(*this, accessor.kind)) {
      SCOPED_TRACE(std::string(accessor.name) + " of " + wrong.what);
      forget_trace();
      const std::string before = everything();
      EXPECT_TRUE(accessor.gives_nothing(wrong.handle));
      EXPECT_EQ(everything(), before);
      EXPECT_TRACED(wrong.look_up, Line{accessor.level, text(accessor.message, wrong.handle)});
    }
  }
  EXPECT_CALLS();
}

// ---- Policy-maps

TEST_F(Accessors, ReportWhetherAPolicyIsHidden) {
  const uint32_t built_in = pmap(builtin_autoconf_policy);
  const uint32_t ordinary = pmap("gold");
  EXPECT_EQ(zar_is_policy_hidden(built_in), 1U);
  EXPECT_EQ(zar_is_policy_hidden(ordinary), 0U);
  EXPECT_TRACED();
}

TEST_F(Accessors, UnhideAPolicyPermanently) {
  const uint32_t built_in = pmap(builtin_autoconf_policy);
  const uint32_t other = pmap(builtin_autoconf_policy, {.domain = "d2"});
  zar_unhide_policy(built_in);
  EXPECT_EQ(zar_is_policy_hidden(built_in), 0U);
  EXPECT_EQ(zar_is_policy_hidden(other), 1U);
  zar_unhide_policy(built_in);
  EXPECT_EQ(zar_is_policy_hidden(built_in), 0U);
  EXPECT_TRACED();
}

TEST_F(Accessors, ReturnTheDomainOfAPolicy) {
  EXPECT_STREQ(zar_get_pmap_domain(pmap("gold", {.domain = "access"})), "access");
  EXPECT_TRACED();
}

// ---- Events

TEST_F(Accessors, ReturnIdAndNameOfAnEvent) {
  const uint32_t start = event(0xfedcba98, "session-start");
  EXPECT_EQ(zar_get_event_id(start), 0xfedcba98U);
  EXPECT_STREQ(zar_get_event_name(start), "session-start");
  EXPECT_TRACED();
}

TEST_F(Accessors, ReturnNothingForAnEventWithoutContext) {
  const uint32_t start = event(7, "session-start");
  zar_event_context *context = std::exchange(at<zar_event_tuple>(start)->event_context, nullptr);
  EXPECT_EQ(zar_get_event_id(start), 0U);
  EXPECT_EQ(zar_get_event_name(start), nullptr);
  EXPECT_TRACED();
  at<zar_event_tuple>(start)->event_context = context;
}

TEST_F(Accessors, ReturnTheEnginesTextForTheCriteriaOfAnEvent) {
  const uint32_t start = event(7);
  EXPECT_STREQ(zar_get_event_class_match_criteria(start), "match-all");
  at<zar_event_tuple>(start)->match_criteria = 2;
  EXPECT_STREQ(zar_get_event_class_match_criteria(start), "match-first");
  at<zar_event_tuple>(start)->match_criteria = 9;
  EXPECT_STREQ(zar_get_event_class_match_criteria(start), "unknown") << "the engine has a text for every value";
  EXPECT_TRACED();
}

// ---- Records of callers' own

TEST_F(Accessors, ReturnNothingForTextsThatACallersOwnRecordLacks) {
  zar_pmap policy{};
  zar_cmap klass{};
  zar_event_context hollow{};
  zar_event_tuple start{};
  zar_class_action voice{};
  zar_pmtr_map values{};
  start.event_context = &hollow;
  voice.cmap = &klass;
  const auto own = [](auto &record) { return record.handle = zar_handle_alloc(&record); };
  own(klass);
  EXPECT_EQ(zar_get_pmap_name(own(policy)), nullptr);
  EXPECT_EQ(zar_get_pmap_domain(policy.handle), nullptr);
  EXPECT_EQ(zar_get_cmap_name(klass.handle), nullptr);
  EXPECT_EQ(zar_get_cmap_domain(klass.handle), nullptr);
  EXPECT_EQ(zar_get_event_name(own(start)), nullptr);
  EXPECT_EQ(zar_get_class_name_from_class_action(own(voice)), nullptr);
  EXPECT_EQ(zar_get_pmtr_map_name(own(values)), nullptr);
  EXPECT_TRACED();
}

// ---- Class-actions

TEST_F(Accessors, ReturnNameAndNumberOfAClassAction) {
  const uint32_t start = event(7);
  const uint32_t voice = rule(start, cmap("voice"), 255);
  EXPECT_STREQ(zar_get_class_name_from_class_action(voice), "voice");
  EXPECT_EQ(zar_get_class_num_from_class_action(voice), 255U);
  EXPECT_TRACED();
}

TEST_F(Accessors, ReturnNothingForAClassActionWithoutClassMap) {
  const uint32_t voice = rule(event(7), cmap("voice"), 5);
  zar_cmap *cmap = std::exchange(at<zar_class_action>(voice)->cmap, nullptr);
  EXPECT_EQ(zar_get_class_name_from_class_action(voice), nullptr);
  EXPECT_EQ(zar_get_class_num_from_class_action(voice), 5U);
  EXPECT_TRACED();
  at<zar_class_action>(voice)->cmap = cmap;
}

TEST_F(Accessors, ReturnTheEnginesTextForTheExecCriteria) {
  const uint32_t voice = cmap("voice");
  const uint32_t start = event(7);
  EXPECT_STREQ(zar_get_action_exec_criteria(rule(start, voice, 1, 1)), "do-all");
  EXPECT_STREQ(zar_get_action_exec_criteria(rule(start, voice, 2, 2)), "do-until-failure");
  EXPECT_STREQ(zar_get_action_exec_criteria(rule(start, voice, 3, 3)), "do-until-success");
  EXPECT_STREQ(zar_get_action_exec_criteria(rule(start, voice, 4, 0)), "do-until-failure") << "0 was stored as 2";
  EXPECT_TRACED();
}

// ---- Class-maps

TEST_F(Accessors, ReturnNameAndDomainOfAClassMap) {
  const uint32_t voice = cmap("voice", {.domain = "access"});
  EXPECT_STREQ(zar_get_cmap_name(voice), "voice");
  EXPECT_STREQ(zar_get_cmap_domain(voice), "access");
  EXPECT_TRACED();
}

TEST_F(Accessors, ReportWhetherAClassMapIsHidden) {
  EXPECT_EQ(zar_get_cmap_if_hidden(cmap("shown")), 0U);
  EXPECT_EQ(zar_get_cmap_if_hidden(cmap("hidden", {.hidden = 1})), 1U);
  const uint32_t abc = pmtr_map("abc");
  EXPECT_EQ(zar_get_cmap_if_hidden(statement(abc, 1)->internal_cmap), 1U);
  EXPECT_TRACED();
}

TEST_F(Accessors, NameTheCriteriaOfAClassMap) {
  const char *const names[] = {nullptr, "match-all", "match-any", "match-none"};
  for (uint32_t criteria = 1; criteria <= 3; ++criteria) {
    const uint32_t voice = cmap("voice", {.match_criteria = criteria});
    EXPECT_EQ(zar_get_cmap_match_logical_op(voice), criteria);
    EXPECT_STREQ(zar_get_cmap_match_criteria(voice), names[criteria]);
  }
  EXPECT_TRACED();
}

TEST_F(Accessors, ReturnOtherCriteriaRawAndUnnamed) {
  breaks_invariants("the criteria of a class-map are changed");
  const uint32_t voice = cmap("voice");
  for (const uint32_t criteria : {0U, 4U, 0xffffffffU}) {
    at<zar_cmap>(voice)->match_criteria = criteria;
    EXPECT_EQ(zar_get_cmap_match_logical_op(voice), criteria);
    EXPECT_EQ(zar_get_cmap_match_criteria(voice), nullptr);
  }
  EXPECT_TRACED();
}

// ---- Actions

TEST_F(Accessors, ReturnNumberAndPrecedenceOfAnAction) {
  const uint32_t log = action("log", 255, 65535);
  EXPECT_EQ(zar_get_action_num(log), 255U);
  EXPECT_EQ(zar_get_precedence_value(log), 65535U);
  const uint32_t other = action("other", 0x1203, 0x54321);
  EXPECT_EQ(zar_get_action_num(other), 3U);
  EXPECT_EQ(zar_get_precedence_value(other), 0x4321U);
  EXPECT_TRACED();
}

// ---- Configuration texts

struct ConfigurationTexts : Repository {
  // A record with nothing but what the texts need.
  static zar_filter bare_filter(Data &data, uint8_t no_match) {
    zar_filter filter{};
    filter.filter_data = &data;
    filter.filter_str_fn = filter_text;
    filter.no_match = no_match;
    return filter;
  }
};

TEST_F(ConfigurationTexts, OfAnActionComeFromItsFunction) {
  const uint32_t log = action("log");
  char *line = zar_get_action_nvgen_str(log, 0xdeadbeef);
  EXPECT_STREQ(line, text("log(%u)", 0xdeadbeefU).c_str());
  EXPECT_CALLS(text("text log %u", 0xdeadbeefU));
  EXPECT_EQ(blocks_out(kClientTextTag), 1U) << "the text is the caller's";
  bfree_named(line);
  EXPECT_TRACED();
}

TEST_F(ConfigurationTexts, OfAnActionMayBeNone) {
  const uint32_t log = action("log");
  data_of_action(log).without_text = true;
  EXPECT_EQ(zar_get_action_nvgen_str(log, 1), nullptr);
  EXPECT_CALLS("text log 1");
  EXPECT_TRACED();
}

TEST_F(ConfigurationTexts, OfAnActionWithoutFunctionAreNone) {
  breaks_invariants("its functions are taken from a record");
  const uint32_t log = action("log");
  at<zar_action>(log)->action_str_fn = nullptr;
  EXPECT_EQ(zar_get_action_nvgen_str(log, 1), nullptr);
  EXPECT_CALLS();
  EXPECT_TRACED();
}

TEST_F(ConfigurationTexts, OfAFilterSayWhetherItMatches) {
  const struct {
    uint32_t no_match;
    const char *text;
  } cases[] = {{0, "match abc"}, {1, "no-match abc"}, {255, "no-match abc"}, {256, "match abc"}};
  for (const auto &each : cases) {
    const uint32_t abc = filter("abc", each.no_match);
    watch_requests();
    char *line = zar_get_filter_nvgen_str(abc);
    EXPECT_STREQ(line, each.text);
    EXPECT_REQUESTS("duplicate 0x7e570001 \"abc\"", "block 0x3e00009 of 13");
    EXPECT_EQ(blocks_out(kTextTag), 1U) << "the text is the caller's";
    EXPECT_EQ(blocks_out(kClientTextTag), 0U) << "the function's text is freed";
    bfree_named(line);
    EXPECT_CALLS("text abc");
  }
  EXPECT_TRACED();
}

TEST_F(ConfigurationTexts, OfAFilterMayBeEmptyAfterThePrefix) {
  Data &nothing = data("");
  const zar_filter filter = bare_filter(nothing, 1);
  watch_requests();
  char *line = zar_get_filter_nvgen_str_internal(&filter);
  EXPECT_STREQ(line, "no-match ");
  EXPECT_REQUESTS("duplicate 0x7e570001 \"\"", "block 0x3e00009 of 10");
  bfree_named(line);
}

TEST_F(ConfigurationTexts, OfAFilterAreNeverCut) {
  Data &novel = data(std::string(5000, 'n'));
  const zar_filter filter = bare_filter(novel, 1);
  char *line = zar_get_filter_nvgen_str_internal(&filter);
  EXPECT_EQ(line, "no-match " + novel.name);
  bfree_named(line);
}

TEST_F(ConfigurationTexts, OfAFilterRecordAreTheSame) {
  Data &abc = data("abc");
  const zar_filter filter = bare_filter(abc, 0);
  char *line = zar_get_filter_nvgen_str_internal(&filter);
  EXPECT_STREQ(line, "match abc");
  bfree_named(line);
  EXPECT_TRACED();
}

TEST_F(ConfigurationTexts, OfAFilterMayBeNone) {
  const uint32_t abc = filter("abc");
  data_of_filter(abc).without_text = true;
  watch_requests();
  EXPECT_REFUSED(nullptr, zar_get_filter_nvgen_str(abc));
  EXPECT_REQUESTS();
  EXPECT_CALLS("text abc");
  EXPECT_TRACED();
}

TEST_F(ConfigurationTexts, OfNoFilterOrOneWithoutFunctionAreNone) {
  const zar_filter without_function{};
  EXPECT_REFUSED(nullptr, zar_get_filter_nvgen_str_internal(nullptr));
  EXPECT_REFUSED(nullptr, zar_get_filter_nvgen_str_internal(&without_function));
  EXPECT_TRACED();
}

TEST_F(ConfigurationTexts, OfAFilterAreNoneWithoutMemory) {
  const uint32_t abc = filter("abc");
  runtime::fail_request(runtime::Service::block, 1);
  EXPECT_REFUSED(nullptr, zar_get_filter_nvgen_str(abc));
  EXPECT_TRACED(
      error("(ERR): get_nvgen_str: Error: unable to vud_kel_calloc_named nvgen_str for filter:0x%p", at<void>(abc)));
  EXPECT_CALLS("text abc");
}

TEST(ConfigurationTextsUnderFaults, LeaveNothingBehind) {
  for_each_fault([](FaultClock &clock) {
    World world;
    const uint32_t abc = world.filter("abc");
    const std::string before = world.everything();
    char *line = clock.during([&] { return zar_get_filter_nvgen_str(abc); });
    EXPECT_EQ(line == nullptr, clock.hit());
    bfree_named(line);
    EXPECT_EQ(world.everything(), before);
  });
}

// ---- Context blocks

// The arguments of a free function, and how many lines had been traced by then.
struct Freed {
  void *data = nullptr;
  void *context = nullptr;
  size_t lines = 0;
  int calls = 0;
};
Freed freed;

void note_free(void *data, void *context) {
  freed = {data, context, traced().size(), freed.calls + 1};
}

struct ContextBlocks : Repository {
  ContextBlocks() { freed = {}; }
  int payload = 0;
};

TEST_F(ContextBlocks, OfActionsAreFreedWithoutTheirData) {
  zar_action_context context = {&payload, note_free, nullptr, nullptr, nullptr, nullptr, nullptr};
  zar_free_client_action_context(&context);
  EXPECT_EQ(freed.data, nullptr);
  EXPECT_EQ(freed.context, &context);
  EXPECT_EQ(freed.calls, 1);
  NEEDS_TRACE();
  EXPECT_EQ(freed.lines, 1U) << "the message comes first";
  EXPECT_TRACED(info("(info): free_client_context: freeing client action context:0x%p", &context));
}

TEST_F(ContextBlocks, OfFiltersAreFreedWithoutTheirData) {
  zar_filter_context context = {&payload, note_free, nullptr, nullptr, nullptr};
  zar_free_client_filter_context(&context);
  EXPECT_EQ(freed.data, nullptr);
  EXPECT_EQ(freed.context, &context);
  EXPECT_EQ(freed.calls, 1);
  NEEDS_TRACE();
  EXPECT_EQ(freed.lines, 1U);
  EXPECT_TRACED(info("(info): free_client_context: freeing client filter context:0x%p", &context));
}

TEST_F(ContextBlocks, OfFiltersCanBeFreedWithTheirData) {
  zar_filter_context context = {&payload, note_free, nullptr, nullptr, nullptr};
  zar_free_client_filter_params_context(&context);
  EXPECT_EQ(freed.data, &payload);
  EXPECT_EQ(freed.context, &context);
  EXPECT_EQ(freed.calls, 1);
  NEEDS_TRACE();
  EXPECT_EQ(freed.lines, 1U);
  EXPECT_TRACED(info("(info): free_client_context: freeing client filter params and context:0x%p", &context));
}

TEST_F(ContextBlocks, OfNullAreLeftAlone) {
  zar_free_client_action_context(nullptr);
  zar_free_client_filter_context(nullptr);
  zar_free_client_filter_params_context(nullptr);
  EXPECT_TRACED();
}

TEST_F(ContextBlocks, WithoutAFreeFunctionAreLeftAlone) {
  zar_action_context action = action_context("log");
  action.action_free_fn = nullptr;
  zar_filter_context filter = filter_context("abc");
  filter.filter_free_fn = nullptr;
  zar_free_client_action_context(&action);
  zar_free_client_filter_context(&filter);
  zar_free_client_filter_params_context(&filter);
  EXPECT_CALLS();
  EXPECT_TRACED();
}

// ---- Hooks of the engine

struct EngineHooks : Repository {};

TEST_F(EngineHooks, DebuggingOutputGoesNowhere) {
  const std::string before = everything();
  watch_requests();
  kel_vbuginf("%s of %d", "session", 7);
  EXPECT_REQUESTS();
  EXPECT_EQ(everything(), before);
  EXPECT_CALLS();
  EXPECT_TRACED();
}

TEST_F(EngineHooks, EventDebuggingIsActiveWhateverTheTraceSettings) {
  EXPECT_EQ(kel_debugging_event_active(), 1U);
  runtime::want_trace_levels(0);
  EXPECT_EQ(kel_debugging_event_active(), 1U);
}

}  // namespace
