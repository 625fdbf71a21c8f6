// The ownership of domains.
#include "support/repository.h"

using namespace rig;

namespace {

constexpr uint32_t kUntouched = 0xabcd;

struct Domains : Repository {
  // The claimed domains in the order of the list.
  static std::vector<std::pair<std::string, uint32_t>> claims() {
    std::vector<std::pair<std::string, uint32_t>> out;
    for (const void *element : runtime::elements(&zar_domain_list)) {
      const auto *entry = static_cast<const zar_domain_entry *>(element);
      out.emplace_back(entry->domain, entry->owner_clid);
    }
    return out;
  }
  using Claims = std::vector<std::pair<std::string, uint32_t>>;

  void claim(uint32_t clid, const char *domain) {
    const Quiet quiet;
    EXPECT_EQ(zar_register_domain(clid, domain), 0U);
  }

  // The result of looking up the owner, without its trace.
  static uint32_t owner_of(const char *domain) {
    const Quiet quiet;
    uint32_t owner = kUntouched;
    EXPECT_EQ(zar_get_owner_for_domain(domain, &owner), 0U);
    return owner;
  }
};

TEST_F(Domains, AreClaimedInTheirOrder) {
  NEEDS_FRESH_PROCESS();
  watch_requests();
  EXPECT_EQ(zar_register_domain(two, "subscriber"), 0U);
  EXPECT_TRACED(info("(info): domain:%s enqueued for client:%d", "subscriber", 2));
  EXPECT_REQUESTS("pool 0x3e00035 of 24", "record 0x3e00035 of 24", "duplicate 0x3e00036 \"subscriber\"");
  EXPECT_EQ(pool_of(0x3e00035), "24 bytes, 20 per chunk, flags 0x111");

  EXPECT_EQ(zar_register_domain(one, "access"), 0U);
  EXPECT_REQUESTS("record 0x3e00035 of 24", "duplicate 0x3e00036 \"access\"");
  EXPECT_EQ(claims(), (Claims{{"subscriber", 2}, {"access", 1}}));
}

TEST_F(Domains, AreCopied) {
  char domain[] = "access";
  claim(one, domain);
  domain[0] = '#';
  EXPECT_EQ(claims(), (Claims{{"access", 1}}));
}

TEST_F(Domains, AreClaimedByValidClientsOnly) {
  for (const uint32_t clid : {0U, 3U, 0xffffffffU}) {
    for (const char *domain : {"access", static_cast<const char *>(nullptr)}) {
      EXPECT_REFUSED(39U, zar_register_domain(clid, domain));
      EXPECT_TRACED(error("(ERR): %s: Wrong clid:%d, expected range: 1 - %d", "register_domain", clid, 2));
    }
  }
}

TEST_F(Domains, AreClaimedByInactiveClientsToo) {
  zar_clients_info[1]->status = 0;
  EXPECT_EQ(zar_register_domain(two, "access"), 0U);
  EXPECT_EQ(claims(), (Claims{{"access", 2}}));
}

TEST_F(Domains, AreNeverNull) {
  EXPECT_REFUSED(39U, zar_register_domain(one, nullptr));
  EXPECT_TRACED(error("(ERR): domain registration, null domain is not allowed"));
}

TEST_F(Domains, BelongToTheFirstClaimer) {
  const uint32_t three = client("three");
  claim(two, "subscriber");
  for (const uint32_t late : {three, two}) {
    EXPECT_REFUSED(39U, zar_register_domain(late, "subscriber"));
    EXPECT_TRACED(error("(ERR): domain:%s already registered by client:%d", "subscriber", 2));
  }
  EXPECT_EQ(owner_of("subscriber"), 2U);
}

TEST_F(Domains, AreComparedAsAWhole) {
  claim(two, "access");
  uint32_t owner = one;
  for (const char *other : {"acces", "access1", "ACCESS", "Access", ""}) {
    claim(owner, other);
    EXPECT_EQ(owner_of(other), owner) << other;
    owner = 3 - owner;
  }
  EXPECT_EQ(owner_of("access"), two);
  EXPECT_EQ(claims().size(), 6U);
}

TEST_F(Domains, NeedTheirPool) {
  NEEDS_FRESH_PROCESS();
  runtime::fail_request(runtime::Service::pool, 1);
  EXPECT_REFUSED(38U, zar_register_domain(one, "access"));
  EXPECT_TRACED(error("(ERR): domain registration, memory alloc failure"));
  EXPECT_EQ(zar_register_domain(one, "access"), 0U) << "the pool is tried again";
}

TEST_F(Domains, NeedNoPoolForAClaimThatIsRefused) {
  NEEDS_FRESH_PROCESS();
  runtime::fail_request(runtime::Service::pool, 1);
  zar_register_domain(9, "access");
  zar_register_domain(one, nullptr);
  EXPECT_EQ(runtime::injected_faults(), 0U);
  EXPECT_EQ(pool_of(0x3e00035), "");
}

TEST_F(Domains, NeedARecord) {
  runtime::fail_request(runtime::Service::record, 1);
  EXPECT_REFUSED(38U, zar_register_domain(one, "access"));
  EXPECT_TRACED(error("(ERR): domain registration, memory alloc failure"));
}

TEST_F(Domains, FreeTheRecordWhenTheNameCannotBeCopied) {
  runtime::fail_request(runtime::Service::duplicate, 1);
  EXPECT_REFUSED(38U, zar_register_domain(one, "access"));
  EXPECT_TRACED(error("(ERR): domain registration, memory alloc failure for domain"));
  EXPECT_EQ(records_out(0x3e00035), 0U);
}

TEST_F(Domains, ThatAreUnclaimedBelongToClient1) {
  claim(two, "access");
  uint32_t owner = kUntouched;
  EXPECT_REFUSED(0U, zar_get_owner_for_domain("core", &owner));
  EXPECT_EQ(owner, 1U);
  EXPECT_TRACED(info("(info): no registered owner for domain:%s, using default", "core"));
}

TEST_F(Domains, ThatAreUnclaimedBelongToClient1EvenWithoutClients) {
  start_again();
  EXPECT_EQ(owner_of("core"), 1U);
}

TEST_F(Domains, AreFoundWithTheirOwner) {
  claim(two, "access");
  claim(one, "core");
  uint32_t owner = kUntouched;
  EXPECT_REFUSED(0U, zar_get_owner_for_domain("access", &owner));
  EXPECT_EQ(owner, two);
  EXPECT_TRACED(info("(info): domain:%s, owner  client:%d", "access", 2));
  EXPECT_EQ(owner_of("core"), one);
  EXPECT_EQ(owner_of("acces"), 1U);
}

TEST_F(Domains, AreAskedForByName) {
  uint32_t owner = kUntouched;
  EXPECT_REFUSED(39U, zar_get_owner_for_domain(nullptr, &owner));
  EXPECT_EQ(owner, kUntouched);
  EXPECT_TRACED(error("(ERR): owner lookup, domain name cannot be null"));
  EXPECT_REFUSED(39U, zar_get_owner_for_domain(nullptr, nullptr));
  EXPECT_TRACED(error("(ERR): owner lookup, domain name cannot be null"));
}

TEST_F(Domains, NeedAnOutPlaceForTheOwner) {
  EXPECT_REFUSED(39U, zar_get_owner_for_domain("access", nullptr));
  EXPECT_TRACED(error("(ERR): owner lookup, clid ptr cannot be null"));
}

TEST_F(Domains, AreForgottenByASecondStart) {
  claim(two, "access");
  start_again();
  EXPECT_EQ(owner_of("access"), 1U);
  EXPECT_EQ(claims(), Claims{});
}

TEST(DomainsUnderFaults, AClaimIsMadeOrRefusedWith38) {
  for_each_fault([](FaultClock &clock) {
    World world;
    const std::string before = world.everything();
    const uint32_t status = clock.during([&] { return zar_register_domain(world.two, "access"); });
    EXPECT_EQ(status, clock.hit() ? 38U : 0U);
    if (!clock.hit()) return;
    EXPECT_EQ(world.everything(), before);
    EXPECT_EQ(zar_register_domain(world.two, "access"), 0U);
  });
}

}  // namespace
