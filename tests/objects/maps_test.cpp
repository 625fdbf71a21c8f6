// The creation and the naming of policy-maps and class-maps.
#include <cstring>

#include "objects/map_families.h"
#include "platform/runtime.h"
#include "support/lines.h"
#include "support/platform_log.h"

using namespace rig;

namespace {

constexpr uint32_t kUntouched = 0xabcd;
constexpr uint32_t kDomainTag = 0x3e00033;

Line no_info(const char *caller) {
  return error("(ERR): %s: input map info cannot be NULL", caller);
}
Line no_domain(const char *caller) {
  return error("(ERR): %s: domain from input map info cannot be NULL", caller);
}
Line no_name(const char *caller) {
  return error("(ERR): %s: map name from input map info cannot be NULL", caller);
}
Line bad_type(const char *caller, uint32_t type) {
  return error("(ERR): %s: domain type:%d from input map info is invalid expected range: %d - %d", caller, type, 1, 2);
}

// ---- The check of a map info

struct MapInfo : Repository {};

TEST_F(MapInfo, IsValidWithADomainANameAndEitherType) {
  for (const uint32_t type : {1U, 2U}) {
    const zar_map_info gold = map_info("gold", {.type = type});
    EXPECT_EQ(zar_verify_map_info(&gold, "caller"), 0U);
    EXPECT_EQ(zar_verify_map_info(&gold, nullptr), 0U);
  }
  const zar_map_info nameless = map_info("", {.domain = "", .hidden = 7});
  EXPECT_EQ(zar_verify_map_info(&nameless, "caller"), 0U) << "empty texts are texts";
  EXPECT_TRACED();
}

TEST_F(MapInfo, MustBeThere) {
  EXPECT_EQ(zar_verify_map_info(nullptr, "caller"), 1U);
  EXPECT_TRACED(no_info("caller"));
  EXPECT_EQ(zar_verify_map_info(nullptr, nullptr), 1U);
  EXPECT_TRACED(no_info(" "));
}

TEST_F(MapInfo, ReportsAllItsFaults) {
  for (const char *caller : {"caller", static_cast<const char *>(nullptr)}) {
    const char *printed_caller = caller ? caller : " ";
    for (const uint32_t type : {1U, 2U, 0U, 3U, 0xffffffffU}) {
      for (const char *domain : {"d1", static_cast<const char *>(nullptr)}) {
        for (const char *name : {"gold", static_cast<const char *>(nullptr)}) {
          Lines faults;
          if (!domain) faults.push_back(no_domain(printed_caller));
          if (!name) faults.push_back(no_name(printed_caller));
          if (type - 1 >= 2) faults.push_back(bad_type(printed_caller, type));
          const zar_map_info info_given{domain, type, name, 0};
          EXPECT_EQ(zar_verify_map_info(&info_given, caller), faults.empty() ? 0U : 1U);
          EXPECT_EQ(take_trace(), faults);
        }
      }
    }
  }
}

// ---- The name of the built-in policy-map

struct BuiltInPolicy : Repository {};

TEST_F(BuiltInPolicy, HasAnExportedName) {
  EXPECT_STREQ(builtin_autoconf_policy, "BUILTIN_AUTOCONF_POLICY");
}

TEST_F(BuiltInPolicy, IsKnownByItsExactName) {
  EXPECT_EQ(zar_is_autoconf_policy("BUILTIN_AUTOCONF_POLICY"), 1U);
  for (const char *other : {"BUILTIN_AUTOCONF_POLICY1", "BUILTIN_AUTOCONF_POLIC", "builtin_autoconf_policy", "gold", "",
                            "BUILTIN_AUTOCONF_POLICY "})
    EXPECT_EQ(zar_is_autoconf_policy(other), 0U) << other;
  EXPECT_EQ(zar_is_autoconf_policy(nullptr), 0U);
  EXPECT_TRACED();
}

TEST_F(BuiltInPolicy, IsMadeHidden) {
  EXPECT_EQ(at<zar_pmap>(pmap("BUILTIN_AUTOCONF_POLICY"))->hidden, 1U);
  EXPECT_EQ(at<zar_pmap>(pmap("BUILTIN_AUTOCONF_POLICY1"))->hidden, 0U);
  EXPECT_EQ(at<zar_pmap>(pmap("BUILTIN_AUTOCONF_POLIC"))->hidden, 0U);
}

// ---- Creation, as it goes for both kinds

template <typename Family>
struct MapCreation : Repository {
  zar_map_info gold = map_info("gold");
  uint32_t handle = kUntouched;

  std::string tag(uint32_t number) const { return text("0x%x", number); }
  std::vector<std::string> requests_of_one() const {
    return {text("record 0x%x of %zu", Family::kPoolTag, sizeof(typename Family::Record)), "id 0x3e00023",
            text("text 0x%x \"gold\"", Family::kNameTag), "text 0x3e00033 \"d1\"",
            text("duplicate 0x%x \"gold:d1:1\"", Family::kKeyTag)};
  }
  // Makes a map once, so that the pool is there.
  void make_pool() {
    uint32_t other = 0;
    const zar_map_info silver = map_info("silver");
    EXPECT_EQ(Family::create(one, &silver, &other), 0U);
    note(Family::kKind, other);
    forget_trace();
    watch_requests();
  }
  // The map cannot be made while 'nth' request of 'service' fails; nothing stays behind.
  void expect_undone(runtime::Service service, uint64_t nth, uint32_t status, const Line &line,
                     const std::vector<std::string> &removals) {
    make_pool();
    runtime::fail_request(service, nth);
    EXPECT_REFUSED(status, Family::create(one, &gold, &handle));
    EXPECT_TRACED(line);
    EXPECT_EQ(take_text_removals(), removals);
    EXPECT_EQ(handle, kUntouched);
    EXPECT_EQ(Family::create(one, &gold, &handle), 0U) << "the fault is over";
  }
};
TYPED_TEST_SUITE(MapCreation, BothFamilies, FamilyNames);

TYPED_TEST(MapCreation, ReturnsAHandleAndTracesIt) {
  NEEDS_FRESH_PROCESS();
  watch_requests();
  EXPECT_EQ(TypeParam::create(this->one, &this->gold, &this->handle), 0U);
  EXPECT_TRACED(TypeParam::created(this->handle));
  std::vector<std::string> requests = this->requests_of_one();
  requests.insert(requests.begin(), text("pool 0x%x of %zu", TypeParam::kPoolTag, sizeof(typename TypeParam::Record)));
  EXPECT_EQ(take_requests(), requests);
  EXPECT_EQ(pool_of(TypeParam::kPoolTag),
            text("%zu bytes, 20 per chunk, flags 0x111", sizeof(typename TypeParam::Record)));
  EXPECT_CALLS();
}

TYPED_TEST(MapCreation, MakesTheKeyBeforeTheQueues) {
  watch_platform();
  EXPECT_EQ(TypeParam::create(this->one, &this->gold, &this->handle), 0U);
  PlatformCalls expected{text("duplicate 0x%x \"gold:d1:1\"", TypeParam::kKeyTag)};
  expected.insert(expected.end(), std::is_same_v<TypeParam, PolicyMaps> ? 3 : 2, "queue init 0");
  EXPECT_EQ(take_platform_calls({"duplicate", "queue"}), expected);
}

// What a record holds when its key is made.
TEST(MapCreationInOrder, KnowsTheMatchCriteriaBeforeTheKeyAndWhetherItIsHiddenAfterIt) {
  World world;
  const auto newest = [] { return runtime::live_ids().back(); };
  const zar_map_info hidden = World::map_info("voice", {.hidden = 1});
  zar_cmap cmap_then{};
  uint32_t handle = 0;
  watch_platform();
  when_platform_called("duplicate", [&] { cmap_then = *World::at<zar_cmap>(newest()); });
  EXPECT_EQ(zar_create_class(world.one, &hidden, 3, &handle), 0U);
  EXPECT_EQ(cmap_then.domain_type, 1U);
  EXPECT_EQ(cmap_then.match_criteria, 3U);
  EXPECT_EQ(cmap_then.hidden, 0U);
  EXPECT_EQ(World::at<zar_cmap>(handle)->hidden, 1U);

  const zar_map_info builtin = World::map_info(builtin_autoconf_policy);
  zar_pmap pmap_then{};
  when_platform_called("duplicate", [&] { pmap_then = *World::at<zar_pmap>(newest()); });
  EXPECT_EQ(zar_create_policy(world.one, &builtin, &handle), 0U);
  EXPECT_EQ(pmap_then.domain_type, 1U);
  EXPECT_EQ(pmap_then.hidden, 0U);
  EXPECT_EQ(World::at<zar_pmap>(handle)->hidden, 1U);
}

TYPED_TEST(MapCreation, WithoutAKeyNeedsNoQueues) {
  runtime::fail_request(runtime::Service::duplicate, 1);
  watch_platform();
  EXPECT_EQ(TypeParam::create(this->one, &this->gold, &this->handle), 37U);
  EXPECT_EQ(take_platform_calls({"queue"}), PlatformCalls{});
}

TYPED_TEST(MapCreation, UsesTheExistingPool) {
  this->make_pool();
  EXPECT_EQ(TypeParam::create(this->one, &this->gold, &this->handle), 0U);
  EXPECT_EQ(take_requests(), this->requests_of_one());
}

TYPED_TEST(MapCreation, FillsTheCommonFields) {
  for (const uint32_t type : {1U, 2U}) {
    this->gold.domain_type = type;
    EXPECT_EQ(TypeParam::create(this->one, &this->gold, &this->handle), 0U);
    const auto &record = *World::at<typename TypeParam::Record>(this->handle);
    EXPECT_EQ(record.handle, this->handle);
    EXPECT_STREQ(sdb_string_addr_ptr(record.name), "gold");
    EXPECT_STREQ(sdb_string_addr_ptr(record.domain), "d1");
    EXPECT_EQ(record.domain_type, type);
    EXPECT_EQ(record.hash_str, text("gold:d1:%u", type));
    EXPECT_EQ(record.node.parent, nullptr) << "in no tree";
  }
}

TYPED_TEST(MapCreation, IsInNoTree) {
  TypeParam::create(this->one, &this->gold, &this->handle);
  EXPECT_EQ(TypeParam::stored(this->db), Handles{});
}

TYPED_TEST(MapCreation, MakesAnyNumberOfMapsWithOneName) {
  uint32_t second = 0;
  EXPECT_EQ(TypeParam::create(this->one, &this->gold, &this->handle), 0U);
  EXPECT_EQ(TypeParam::create(this->one, &this->gold, &second), 0U);
  EXPECT_NE(this->handle, second);
  EXPECT_EQ(runtime::interned_texts()["gold"], 2U);
  EXPECT_EQ(runtime::interned_texts()["d1"], 2U);
}

TYPED_TEST(MapCreation, AsksForNoDatabaseAndNoActiveClient) {
  zar_clients_info[0]->database = nullptr;
  zar_clients_info[0]->status = 0;
  EXPECT_EQ(TypeParam::create(this->one, &this->gold, &this->handle), 0U);
  EXPECT_TRACED(TypeParam::created(this->handle));
}

TYPED_TEST(MapCreation, TracesAllFaultsOfItsArguments) {
  const zar_map_info broken{nullptr, 3, nullptr, 0};
  for (const uint32_t clid : {this->one, 0U, 3U, 0xffffffffU}) {
    for (uint32_t *place : {&this->handle, static_cast<uint32_t *>(nullptr)}) {
      for (const zar_map_info *given : std::initializer_list<const zar_map_info *>{&this->gold, &broken, nullptr}) {
        Lines faults;
        if (clid != this->one) faults.push_back(wrong_clid(TypeParam::kCreate, clid, 2));
        if (!place) faults.push_back(TypeParam::no_place(TypeParam::kCreate, clid));
        if (!given) faults.push_back(no_info(TypeParam::kCreate));
        if (given == &broken) {
          faults.push_back(no_domain(TypeParam::kCreate));
          faults.push_back(no_name(TypeParam::kCreate));
          faults.push_back(bad_type(TypeParam::kCreate, 3));
        }
        if (faults.empty()) continue;
        watch_requests();
        const std::string before = this->everything();
        EXPECT_EQ(TypeParam::create(clid, given, place), 39U);
        EXPECT_EQ(this->everything(), before);
        EXPECT_EQ(take_trace(), faults);
        EXPECT_REQUESTS();
      }
    }
  }
  EXPECT_EQ(this->handle, kUntouched);
}

TYPED_TEST(MapCreation, TracesADomainAndATypeThatAreBothWrong) {
  const zar_map_info broken{nullptr, 3, "gold", 0};
  EXPECT_EQ(TypeParam::create(this->one, &broken, &this->handle), 39U);
  EXPECT_TRACED(no_domain(TypeParam::kCreate), bad_type(TypeParam::kCreate, 3));
}

TYPED_TEST(MapCreation, NeedsItsPool) {
  NEEDS_FRESH_PROCESS();
  runtime::fail_request(runtime::Service::pool, 1);
  watch_requests();
  EXPECT_EQ(TypeParam::create(this->one, &this->gold, &this->handle), 38U);
  EXPECT_TRACED(TypeParam::no_record(this->one, "gold"));
  EXPECT_EQ(take_requests().size(), 1U);
  EXPECT_EQ(this->handle, kUntouched);
  EXPECT_EQ(TypeParam::create(this->one, &this->gold, &this->handle), 0U) << "the pool is tried again";
}

TYPED_TEST(MapCreation, NeedsARecord) {
  this->expect_undone(runtime::Service::record, 1, 38, TypeParam::no_record(this->one, "gold"), {});
}

TYPED_TEST(MapCreation, WithoutARecordReleasesNoHandle) {
  NEEDS_FRESH_PROCESS();
  const uint32_t first = this->pmap("first");
  ASSERT_EQ(first, 1U) << "the smallest handle";
  runtime::fail_request(runtime::Service::record, 1);
  EXPECT_EQ(TypeParam::create(this->one, &this->gold, &this->handle), 38U);
  runtime::clear_faults();
  EXPECT_EQ(zar_handle_get_context(first), World::at<zar_pmap>(first));
  EXPECT_NE(World::at<zar_pmap>(first), nullptr);
}

TYPED_TEST(MapCreation, NeedsAHandle) {
  this->expect_undone(runtime::Service::id, 1, 37, TypeParam::no_handle(this->one, "gold"), {});
}

TYPED_TEST(MapCreation, NeedsItsNameInterned) {
  this->expect_undone(
      runtime::Service::text, 1, 37,
      error("(ERR): %s: Could not add map name to SDB  clid:%d, name:%s", TypeParam::kCreate, this->one, "gold"), {});
}

TYPED_TEST(MapCreation, NeedsItsDomainInterned) {
  this->expect_undone(
      runtime::Service::text, 2, 37,
      error("(ERR): %s: Could not add domain name to SDB  clid:%d, name:%s", TypeParam::kCreate, this->one, "d1"),
      {text("0x%x \"gold\"", TypeParam::kNameTag)});
}

TYPED_TEST(MapCreation, NeedsItsKey) {
  this->expect_undone(
      runtime::Service::duplicate, 1, 37,
      error("(ERR): %s: Could not create hash string  clid:%d, name:%s", TypeParam::kCreate, this->one, "gold"),
      {text("0x%x \"gold\"", TypeParam::kNameTag), text("0x%x \"d1\"", kDomainTag)});
}

TYPED_TEST(MapCreation, NeedsRoomInTheHandleTable) {
  this->make_pool();
  while (zar_handle_alloc(this) != 0) {
  }
  forget_trace();
  EXPECT_EQ(TypeParam::create(this->one, &this->gold, &this->handle), 37U);
  EXPECT_TRACED(error("(ERR): ZAR Handle alloc reached max limit\n"), TypeParam::no_handle(this->one, "gold"));
  EXPECT_EQ(records_out(TypeParam::kPoolTag), 1U);
}

TYPED_TEST(MapCreation, BuildsTheKeyOfNameDomainAndType) {
  const auto key_of = [&](const char *name, const char *domain, uint32_t type) {
    const zar_map_info given = World::map_info(name, {.domain = domain, .type = type});
    uint32_t out = 0;
    EXPECT_EQ(TypeParam::create(this->one, &given, &out), 0U);
    return std::string(World::at<typename TypeParam::Record>(out)->hash_str);
  };
  EXPECT_EQ(key_of("gold", "d1", 1), "gold:d1:1");
  EXPECT_EQ(key_of("gold", "d1", 2), "gold:d1:2");
  EXPECT_EQ(key_of("gold", "d2", 1), "gold:d2:1");
  EXPECT_EQ(key_of("", "", 1), "::1");
  EXPECT_EQ(key_of("a:b", "c", 1), key_of("a", "b:c", 1)) << "colons are not escaped";
  EXPECT_EQ(key_of("%s%d", "%n", 1), "%s%d:%n:1");
}

TYPED_TEST(MapCreation, CutsTheKeyAt99Characters) {
  for (const size_t length : {93U, 94U, 95U, 96U, 98U, 99U, 100U, 200U, 10000U}) {
    const std::string name(length, 'x');
    const zar_map_info given = World::map_info(name.c_str());
    EXPECT_EQ(TypeParam::create(this->one, &given, &this->handle), 0U);
    const auto &record = *World::at<typename TypeParam::Record>(this->handle);
    EXPECT_EQ(record.hash_str, (name + ":d1:1").substr(0, 99)) << length;
    EXPECT_EQ(sdb_string_addr_ptr(record.name), name) << "the name is kept whole";
  }
}

TYPED_TEST(MapCreation, UnderAnyFaultMakesAMapOrNothing) {
  for_each_fault([](FaultClock &clock) {
    World world;
    const std::string before = world.everything();
    const zar_map_info given = World::map_info("gold");
    uint32_t out = kUntouched;
    const uint32_t status = clock.during([&] { return TypeParam::create(world.one, &given, &out); });
    using runtime::Service;
    EXPECT_EQ(status, !clock.hit()                                                         ? 0U
                      : clock.failed_in(Service::pool) || clock.failed_in(Service::record) ? 38U
                                                                                           : 37U);
    if (!clock.hit()) return;
    EXPECT_EQ(world.everything(), before);
    EXPECT_EQ(out, kUntouched);
    EXPECT_EQ(TypeParam::create(world.one, &given, &out), 0U);
  });
}

// ---- What is a policy-map's own

struct PolicyCreation : Repository {};

TEST_F(PolicyCreation, MakesAnEmptyPolicyMap) {
  const zar_pmap &gold = *at<zar_pmap>(pmap("gold"));
  EXPECT_EQ(gold.hidden, 0U);
  EXPECT_EQ(gold.target_count, 0U);
  for (const queue_head *queue : {&gold.cmap_refs, &gold.target_refs, &gold.rule_list}) {
    EXPECT_EQ(runtime::elements(queue), std::vector<void *>{});
    EXPECT_EQ(queue->limit, 0U);
  }
}

TEST_F(PolicyCreation, IgnoresTheHiddenFieldOfTheMapInfo) {
  EXPECT_EQ(at<zar_pmap>(pmap("gold", {.hidden = 1}))->hidden, 0U);
}

TEST_F(PolicyCreation, BeginsWithACleanRecord) {
  const uint32_t gold = pmap("gold");
  zar_pmap *record = at<zar_pmap>(gold);
  std::memset(&record->target_count, 0x5a, sizeof record->target_count);
  std::memset(&record->hidden, 0x5a, sizeof record->hidden);
  ASSERT_EQ(zar_delete_policy(gold), 0U);
  const zar_pmap &next = *at<zar_pmap>(pmap("silver"));
  EXPECT_EQ(next.target_count, 0U);
  EXPECT_EQ(next.hidden, 0U);
  EXPECT_EQ(next.node.left, nullptr);
}

// ---- What is a class-map's own

struct ClassCreation : Repository {
  static Line bad_criteria(uint32_t clid, uint32_t criteria) {
    return error("(ERR): %s: clid:%d, class match criteria:%d is out of range, expected range: %d - %d \n",
                 "create_class", clid, criteria, 1, 3);
  }
  zar_map_info voice = map_info("voice");
  uint32_t handle = kUntouched;
};

TEST_F(ClassCreation, MakesAnEmptyClassMap) {
  const zar_cmap &voice_map = *at<zar_cmap>(cmap("voice"));
  EXPECT_EQ(voice_map.hidden, 0U);
  EXPECT_EQ(voice_map.filter_type_mask, 0U);
  for (const queue_head *queue : {&voice_map.pmap_refs, &voice_map.filters}) {
    EXPECT_EQ(runtime::elements(queue), std::vector<void *>{});
    EXPECT_EQ(queue->limit, 0U);
  }
}

TEST_F(ClassCreation, KeepsTheMatchCriteria) {
  for (const uint32_t criteria : {1U, 2U, 3U}) {
    EXPECT_EQ(zar_create_class(one, &voice, criteria, &handle), 0U);
    EXPECT_EQ(at<zar_cmap>(handle)->match_criteria, criteria);
  }
}

TEST_F(ClassCreation, RefusesOtherMatchCriteria) {
  for (const uint32_t criteria : {0U, 4U, 257U, 0xffffffffU}) {
    watch_requests();
    EXPECT_REFUSED(39U, zar_create_class(one, &voice, criteria, &handle));
    EXPECT_TRACED(bad_criteria(one, criteria));
    EXPECT_REQUESTS();
  }
}

TEST_F(ClassCreation, TracesWrongCriteriaAfterAllOtherFaults) {
  EXPECT_REFUSED(39U, zar_create_class(9, nullptr, 0, nullptr));
  EXPECT_TRACED(wrong_clid("create_class", 9, 2),
                error("(ERR): %s: clid:%d, input class map handle cannot be NULL", "create_class", 9),
                no_info("create_class"), bad_criteria(9, 0));
}

TEST_F(ClassCreation, HidesAClassMapOnlyForA1) {
  EXPECT_EQ(at<zar_cmap>(cmap("voice", {.hidden = 1}))->hidden, 1U);
  EXPECT_EQ(at<zar_cmap>(cmap("voice", {.hidden = 2}))->hidden, 0U);
  EXPECT_EQ(at<zar_cmap>(cmap("voice", {.hidden = 0x101}))->hidden, 0U);
}

TEST_F(ClassCreation, BeginsWithACleanRecord) {
  const uint32_t first = cmap("voice", {.match_criteria = 3, .hidden = 1});
  at<zar_cmap>(first)->filter_type_mask = 0x1f;
  ASSERT_EQ(zar_delete_class(first), 0U);
  const zar_cmap &next = *at<zar_cmap>(cmap("video"));
  EXPECT_EQ(next.filter_type_mask, 0U);
  EXPECT_EQ(next.hidden, 0U);
  EXPECT_EQ(next.match_criteria, 1U);
}

}  // namespace
