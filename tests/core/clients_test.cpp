// The client registry: registration, the checks of a clid, the choice of a database, the walk and the display.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>

#include "platform/engine.h"
#include "platform/runtime.h"
#include "support/lines.h"
#include "support/platform_log.h"
#include "support/repository.h"

using namespace rig;

namespace {

constexpr uint32_t kUntouched = 0xabcd;

Line registering(const char *name, const zar_db *database) {
  return info("(info): client registration, name:%s, db hdl:0x%p", name, database);
}

// Nobody has registered yet.
struct Registration : BareProcess {
  Registration() {
    zar_init();
    zar_create_database(&database);
    forget_trace();
    watch_requests();
  }
  // Registers clients until there are 'count'.
  static void register_until(uint32_t count) {
    while (zar_current_max_clients < count) {
      uint32_t clid = 0;
      EXPECT_EQ(zar_client_register(text("client %u", zar_current_max_clients + 1).c_str(), nullptr, &clid), 0U);
    }
    forget_trace();
    take_requests();
  }

  zar_db *database = nullptr;
  uint32_t clid = kUntouched;
};

TEST_F(Registration, ReturnsTheFirstClientClid1) {
  NEEDS_FRESH_PROCESS();
  EXPECT_EQ(zar_client_register("one", database, &clid), 0U);
  EXPECT_EQ(clid, 1U);
  EXPECT_TRACED(registering("one", database), info("(info): %s registered with the id:%d", "one", 1));
  EXPECT_REQUESTS("pool 0x3e00025 of 40", "record 0x3e00025 of 40", "duplicate 0x3e00034 \"one\"");
  EXPECT_EQ(pool_of(0x3e00025), "40 bytes, 20 per chunk, flags 0x111");

  EXPECT_EQ(zar_current_max_clients, 1U);
  EXPECT_EQ(zar_allowed_max_clients, 10U);
  const zar_client_data &client = *zar_clients_info[0];
  EXPECT_EQ(client.status, 1U);
  EXPECT_STREQ(client.name, "one");
  EXPECT_EQ(client.clid, 1U);
  EXPECT_EQ(client.removal_vector, nullptr);
  EXPECT_EQ(client.database, database);
}

TEST_F(Registration, CopiesTheName) {
  char name[] = "one";
  zar_client_register(name, nullptr, &clid);
  name[0] = '#';
  EXPECT_STREQ(zar_clients_info[0]->name, "one");
}

TEST_F(Registration, TakesClientsWithoutADatabase) {
  EXPECT_EQ(zar_client_register("one", nullptr, &clid), 0U);
  EXPECT_TRACED(registering("one", nullptr), info("(info): %s registered with the id:%d", "one", 1));
  EXPECT_EQ(zar_clients_info[0]->database, nullptr);
}

TEST_F(Registration, NumbersClientsInTheirOrder) {
  for (uint32_t expected = 1; expected <= 10; ++expected) {
    EXPECT_EQ(zar_client_register(text("client %u", expected).c_str(), nullptr, &clid), 0U);
    EXPECT_EQ(clid, expected);
    EXPECT_EQ(zar_clients_info[expected - 1]->clid, expected);
  }
  EXPECT_EQ(zar_allowed_max_clients, 10U);
}

TEST_F(Registration, NeedsAName) {
  EXPECT_EQ(zar_client_register(nullptr, database, &clid), 39U);
  EXPECT_TRACED(error("(ERR): client registration, client name cannot be NULL"));
  EXPECT_EQ(clid, kUntouched);
  EXPECT_EQ(zar_current_max_clients, 0U);
}

TEST_F(Registration, NeedsAnOutPlaceForTheClid) {
  EXPECT_EQ(zar_client_register("one", database, nullptr), 39U);
  EXPECT_TRACED(error("(ERR): client registration, clid cannot be NULL"));
  EXPECT_EQ(zar_client_register(nullptr, database, nullptr), 39U);
  EXPECT_TRACED(error("(ERR): client registration, client name cannot be NULL"));
  EXPECT_REQUESTS();
  EXPECT_EQ(zar_current_max_clients, 0U);
}

TEST_F(Registration, NeedsTheClientTable) {
  runtime::fail_request(runtime::Service::block, 1);
  World::start_again();
  take_requests();
  EXPECT_EQ(zar_client_register("one", nullptr, &clid), 37U);
  EXPECT_TRACED(error("(ERR): client registration, Malloc must have failed during zar_init"));
  EXPECT_REQUESTS();
  EXPECT_EQ(clid, kUntouched);
}

TEST_F(Registration, NeedsItsPool) {
  NEEDS_FRESH_PROCESS();
  runtime::fail_request(runtime::Service::pool, 1);
  EXPECT_EQ(zar_client_register("one", nullptr, &clid), 38U);
  EXPECT_TRACED(error("(ERR): Client Register: client data chunk error"));
  EXPECT_EQ(clid, kUntouched);
  EXPECT_EQ(zar_client_register("one", nullptr, &clid), 0U) << "the pool is tried again";
}

TEST_F(Registration, NeedsARecord) {
  runtime::fail_request(runtime::Service::record, 1);
  EXPECT_EQ(zar_client_register("one", nullptr, &clid), 37U);
  EXPECT_TRACED(registering("one", nullptr), error("(ERR): client registration, memory alloc failure"));
  EXPECT_EQ(clid, 0U);
  EXPECT_EQ(zar_current_max_clients, 0U);
}

TEST_F(Registration, ToleratesThatTheNameCannotBeCopied) {
  runtime::fail_request(runtime::Service::duplicate, 1);
  EXPECT_EQ(zar_client_register("one", nullptr, &clid), 0U);
  EXPECT_TRACED(registering("one", nullptr), info("(info): %s registered with the id:%d", "one", 1));
  EXPECT_EQ(zar_clients_info[0]->name, nullptr);

  EXPECT_EQ(zar_client_register("one", nullptr, &clid), 0U) << "a client without a name matches none";
  EXPECT_EQ(clid, 2U);
  zar_client_register("", nullptr, &clid);
  EXPECT_EQ(clid, 3U);
}

TEST_F(Registration, OfAnActiveNameChangesNothing) {
  register_until(2);
  EXPECT_EQ(zar_client_register("client 2", database, &clid), 0U);
  EXPECT_TRACED(registering("client 2", database),
                info("(info): client registration, already existing client:%s", "client 2"));
  EXPECT_REQUESTS();
  EXPECT_EQ(clid, kUntouched);
  EXPECT_EQ(zar_current_max_clients, 2U);
  EXPECT_EQ(zar_clients_info[1]->database, nullptr);
}

TEST_F(Registration, ComparesNamesAsAWhole) {
  zar_client_register("abc", nullptr, &clid);
  for (const char *other : {"ab", "abcd", "ABC", ""}) {
    const uint32_t before = zar_current_max_clients;
    EXPECT_EQ(zar_client_register(other, nullptr, &clid), 0U);
    EXPECT_EQ(clid, before + 1) << other;
  }
}

TEST_F(Registration, OfAnInactiveNameRevivesItAndReturnsItsIndex) {
  for (const uint32_t inactive : {0U, 2U, 0xffffffffU}) {
    register_until(6);
    zar_clients_info[4]->status = inactive;
    zar_clients_info[4]->clid = 77;
    EXPECT_EQ(zar_client_register("client 5", database, &clid), 0U);
    EXPECT_TRACED(registering("client 5", database),
                  info("(info): client registration, already existing but inactive client:%s", "client 5"),
                  info("(info): reusing existing index:%d for client:%s", 4, "client 5"));
    EXPECT_REQUESTS();
    EXPECT_EQ(clid, 4U) << "one below the clid";
    EXPECT_EQ(zar_clients_info[4]->clid, 5U);
    EXPECT_EQ(zar_clients_info[4]->status, 1U);
    EXPECT_EQ(zar_clients_info[4]->database, nullptr) << "the database given is ignored";
    EXPECT_EQ(zar_current_max_clients, 6U);
  }
}

TEST_F(Registration, OfTheFirstOfTwoEqualNamesIsWhatCounts) {
  register_until(3);
  // Two entries of one name cannot be made by registering; the first in the table wins.
  zar_clients_info[2]->name[7] = '2';
  zar_clients_info[2]->status = 0;
  EXPECT_EQ(zar_client_register("client 2", nullptr, &clid), 0U);
  EXPECT_EQ(clid, kUntouched);
  EXPECT_EQ(zar_clients_info[2]->status, 0U);
}

TEST_F(Registration, SkipsMissingEntries) {
  register_until(3);
  zar_client_data *second = zar_clients_info[1];
  zar_clients_info[1] = nullptr;
  EXPECT_EQ(zar_client_register("client 3", nullptr, &clid), 0U);
  EXPECT_EQ(clid, kUntouched);
  EXPECT_EQ(zar_client_register("client 2", nullptr, &clid), 0U);
  EXPECT_EQ(clid, 4U);
  zar_clients_info[1] = second;
}

TEST_F(Registration, OfTheEleventhClientGrowsTheTable) {
  register_until(10);
  std::vector<zar_client_data *> entries(zar_clients_info, zar_clients_info + 10);
  const runtime::Inventory before = runtime::inventory();
  EXPECT_EQ(zar_client_register("eleven", nullptr, &clid), 0U);
  EXPECT_EQ(clid, 11U);
  EXPECT_TRACED(registering("eleven", nullptr), info("(info): Growing the ZAR clients data array"),
                info("(info): %s registered with the id:%d", "eleven", 11));
  EXPECT_REQUESTS("record 0x3e00025 of 40", "duplicate 0x3e00034 \"eleven\"", "block 0x3e00008 of 160");
  EXPECT_EQ(zar_allowed_max_clients, 20U);
  EXPECT_EQ(std::vector<zar_client_data *>(zar_clients_info, zar_clients_info + 10), entries);
  EXPECT_STREQ(zar_clients_info[10]->name, "eleven");
  for (int i = 11; i < 20; ++i)
    EXPECT_EQ(zar_clients_info[i], nullptr);
  EXPECT_EQ(runtime::inventory().blocks[0x3e00003] + 1, runtime::Inventory(before).blocks[0x3e00003])
      << "the old table is freed";
}

// A table followed by unreadable memory.
class TableAtTheEnd {
 public:
  explicit TableAtTheEnd(size_t entries) {
    void *pages = mmap(nullptr, 2 * page_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    EXPECT_NE(pages, MAP_FAILED);
    pages_ = static_cast<char *>(pages);
    EXPECT_EQ(mprotect(pages_ + page_, page_, PROT_NONE), 0);
    table_ = reinterpret_cast<zar_client_data **>(pages_ + page_) - entries;
  }
  ~TableAtTheEnd() { munmap(pages_, 2 * page_); }
  TableAtTheEnd(const TableAtTheEnd &) = delete;
  TableAtTheEnd &operator=(const TableAtTheEnd &) = delete;
  zar_client_data **get() const { return table_; }

 private:
  const size_t page_ = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  char *pages_ = nullptr;
  zar_client_data **table_ = nullptr;
};

TEST_F(Registration, ReadsNothingAfterAFullTable) {
  register_until(10);
  const TableAtTheEnd full(10);
  std::copy_n(zar_clients_info, 10, full.get());
  zar_client_data **first_table = std::exchange(zar_clients_info, full.get());
  EXPECT_EQ(zar_client_register("eleven", nullptr, &clid), 0U);
  EXPECT_TRUE(std::equal(full.get(), full.get() + 10, zar_clients_info));
  EXPECT_EQ(runtime::complaints().size(), 1U) << "the table that is given back is none of the runtime's blocks";
  runtime::clear_complaints();
  bfree_named(first_table);
}

TEST_F(Registration, HasNoLimitButMemory) {
  register_until(100);
  EXPECT_EQ(zar_client_register("next", nullptr, &clid), 0U);
  EXPECT_EQ(clid, 101U);
  EXPECT_EQ(zar_allowed_max_clients, 110U);
  EXPECT_EQ(blocks_out(0x3e00008), 1U);
  for (uint32_t i = 0; i < 101; ++i)
    EXPECT_EQ(zar_clients_info[i]->clid, i + 1);
}

TEST_F(Registration, WithoutRoomToGrowCountsNobodyAndKeepsTheNewRecord) {
  register_until(10);
  zar_client_data **table = zar_clients_info;
  const runtime::Inventory before = runtime::inventory();
  runtime::fail_request(runtime::Service::block, 1);
  EXPECT_EQ(zar_client_register("eleven", nullptr, &clid), 37U);
  EXPECT_TRACED(registering("eleven", nullptr), info("(info): Growing the ZAR clients data array"));
  EXPECT_EQ(clid, kUntouched);
  EXPECT_EQ(zar_clients_info, table);
  EXPECT_EQ(zar_allowed_max_clients, 10U);
  EXPECT_EQ(zar_current_max_clients, 10U);
  runtime::Inventory after = before;
  ++after.records;
  ++after.blocks[0x3e00034];
  EXPECT_EQ(runtime::inventory(), after);

  EXPECT_EQ(zar_client_register("eleven", nullptr, &clid), 0U);
  EXPECT_EQ(clid, 11U);
}

// A table of that size cannot be searched in the time of a test, so the numbers are raised after the search: while the
// name is copied.
TEST_F(Registration, EndsWhereTheCapacityWouldBe0) {
  breaks_invariants("more clients are counted than the table holds");
  constexpr uint32_t kLastCapacity = 0xfffffff6;
  zar_client_data **table = zar_clients_info;
  watch_platform();
  when_platform_called("duplicate 0x3e00034",
                       [] { zar_current_max_clients = zar_allowed_max_clients = kLastCapacity; });
  EXPECT_EQ(zar_client_register("one too many", nullptr, &clid), 37U);
  EXPECT_TRACED(registering("one too many", nullptr), info("(info): Growing the ZAR clients data array"));
  EXPECT_EQ(take_platform_calls({"record", "duplicate", "block", "free", "give back"}),
            (PlatformCalls{"record 0x3e00025", "duplicate 0x3e00034 \"one too many\""}));
  EXPECT_EQ(clid, kUntouched);
  EXPECT_EQ(zar_clients_info, table);
  EXPECT_EQ(zar_current_max_clients, kLastCapacity);
  EXPECT_EQ(zar_allowed_max_clients, kLastCapacity);
  zar_current_max_clients = 0;
  zar_allowed_max_clients = 10;
}

// ---- Checks of a clid

struct Clients : Repository {
  // The default-flag and database places of a look-up, and whether they were written.
  zar_db *const nowhere = reinterpret_cast<zar_db *>(0x10);
  zar_db *found = nowhere;
  uint32_t is_default = kUntouched;
};

TEST_F(Clients, AreValidFrom1ToTheirCount) {
  EXPECT_EQ(zar_verify_client_id(one, "caller"), 0U);
  EXPECT_EQ(zar_verify_client_id(two, "caller"), 0U);
  EXPECT_EQ(zar_verify_client_id(two, nullptr), 0U);
  EXPECT_TRACED();
}

TEST_F(Clients, AreInvalidOutsideTheirRange) {
  for (const uint32_t clid : {0U, 3U, 0x7fffffffU, 0x80000000U, 0xffffffffU}) {
    EXPECT_EQ(zar_verify_client_id(clid, "caller"), 1U) << clid;
    EXPECT_TRACED(wrong_clid("caller", clid, 2));
    EXPECT_EQ(zar_verify_client_id(clid, nullptr), 1U) << clid;
    EXPECT_TRACED(wrong_clid(" ", clid, 2));
  }
}

TEST_F(Clients, AreInvalidBeforeAnyoneRegistered) {
  start_again();
  EXPECT_EQ(zar_verify_client_id(1, "caller"), 1U);
  EXPECT_TRACED(wrong_clid("caller", 1, 0));
}

TEST_F(Clients, NeedNotBeActiveToBeInRange) {
  zar_clients_info[1]->status = 0;
  EXPECT_EQ(zar_verify_client_id(two, "caller"), 0U);
  EXPECT_TRACED();
}

// ---- The choice of a database

TEST_F(Clients, WorkInTheirOwnDatabase) {
  EXPECT_EQ(zar_get_client_database_handle(one, "caller", &found, &is_default), 1U);
  EXPECT_EQ(found, db);
  EXPECT_EQ(is_default, 0U);
  EXPECT_TRACED(info("(info): %s: using client specific database", "caller"));
}

TEST_F(Clients, PreferTheirOwnDatabaseToTheDefaultOne) {
  zar_db *own = database();
  const uint32_t three = client("three", own);
  EXPECT_EQ(zar_get_client_database_handle(three, nullptr, &found, nullptr), 1U);
  EXPECT_EQ(found, own);
  EXPECT_TRACED(info("(info): %s: using client specific database", " "));
}

TEST_F(Clients, WithoutADatabaseWorkInThatOfClient1) {
  EXPECT_EQ(zar_get_client_database_handle(two, "caller", &found, &is_default), 1U);
  EXPECT_EQ(found, db);
  EXPECT_EQ(is_default, 1U);
  EXPECT_TRACED(info("(info): %s: using default database", "caller"));

  found = nowhere;
  EXPECT_EQ(zar_get_client_database_handle(two, nullptr, &found, nullptr), 1U);
  EXPECT_EQ(found, db);
  EXPECT_TRACED(info("(info): %s: using default database", " "));
}

TEST_F(Clients, WithoutAnyDatabaseFindNone) {
  zar_clients_info[0]->database = nullptr;
  for (const uint32_t clid : {one, two}) {
    found = nowhere;
    EXPECT_EQ(zar_get_client_database_handle(clid, "caller", &found, &is_default), 0U);
    EXPECT_EQ(found, nullptr);
    EXPECT_EQ(is_default, kUntouched);
    EXPECT_TRACED(error("(ERR): Could not find default db"));
  }
}

TEST_F(Clients, FindNoDefaultDatabaseWhenTheFirstEntryIsMissing) {
  zar_client_data *first = zar_clients_info[0];
  zar_clients_info[0] = nullptr;
  EXPECT_EQ(zar_get_client_database_handle(two, "caller", &found, &is_default), 0U);
  EXPECT_EQ(is_default, kUntouched);
  EXPECT_TRACED(error("(ERR): Could not find default db"));
  zar_clients_info[0] = first;
}

TEST_F(Clients, OutOfRangeHaveNoDatabase) {
  for (const uint32_t clid : {0U, 3U, 0xffffffffU}) {
    EXPECT_REFUSED(0U, zar_get_client_database_handle(clid, "caller", &found, &is_default));
    EXPECT_TRACED(wrong_clid("caller", clid, 2));
    EXPECT_REFUSED(0U, zar_get_client_database_handle(clid, nullptr, nullptr, nullptr));
    EXPECT_TRACED(wrong_clid(" ", clid, 2));
  }
  EXPECT_EQ(found, nowhere);
  EXPECT_EQ(is_default, kUntouched);
}

TEST_F(Clients, NeedAnOutPlaceForTheDatabase) {
  zar_clients_info[0]->status = 0;
  EXPECT_REFUSED(0U, zar_get_client_database_handle(one, "caller", nullptr, &is_default));
  EXPECT_EQ(is_default, kUntouched);
  EXPECT_TRACED();
}

TEST_F(Clients, ThatAreInactiveHaveNoDatabase) {
  for (const uint32_t status : {0U, 2U}) {
    zar_clients_info[0]->status = status;
    EXPECT_REFUSED(0U, zar_get_client_database_handle(one, "caller", &found, &is_default));
    EXPECT_TRACED(error("(ERR): %s: clid:%d, Client status in ZAR is INACTIVE", "caller", 1));
    EXPECT_REFUSED(0U, zar_get_client_database_handle(one, nullptr, &found, &is_default));
    EXPECT_TRACED(error("(ERR): %s: clid:%d, Client status in ZAR is INACTIVE", " ", 1));
  }
  EXPECT_EQ(found, nowhere);
  EXPECT_EQ(is_default, kUntouched);
}

TEST_F(Clients, OfAnInactiveClient1StillUseItsDatabase) {
  zar_clients_info[0]->status = 0;
  EXPECT_EQ(zar_get_client_database_handle(two, "caller", &found, &is_default), 1U);
  EXPECT_EQ(found, db);
}

TEST_F(Clients, ThatAreMissingHaveNoDatabase) {
  zar_client_data *second = zar_clients_info[1];
  zar_clients_info[1] = nullptr;
  EXPECT_EQ(zar_get_client_database_handle(two, "caller", &found, &is_default), 0U);
  EXPECT_TRACED(error("(ERR): %s: clid:%d, Client entry is in ZAR is NULL", "caller", 2));
  EXPECT_EQ(zar_get_client_database_handle(two, nullptr, &found, &is_default), 0U);
  EXPECT_TRACED(error("(ERR): %s: clid:%d, Client entry is in ZAR is NULL", " ", 2));
  EXPECT_EQ(found, nowhere);
  zar_clients_info[1] = second;
}

// ---- The walk over clients with databases

TEST_F(Clients, WithADatabaseBeginWithTheEngine) {
  kel_clid = 42;
  EXPECT_EQ(zar_get_first_client_with_database(), 42U) << "the table is not read";
  kel_clid = 1;
  EXPECT_EQ(zar_get_first_client_with_database(), 1U);
  EXPECT_TRACED();
}

TEST_F(Clients, WithADatabaseOfTheirOwnFollowEachOther) {
  const uint32_t three = client("three", database());
  client("four");
  const uint32_t five = client("five", database());
  client("six");
  EXPECT_EQ(zar_get_next_client_with_database(one), three);
  EXPECT_TRACED(info("(info): get next client, sending:%d", three));
  EXPECT_EQ(zar_get_next_client_with_database(two), three);
  EXPECT_EQ(zar_get_next_client_with_database(three), five);
  EXPECT_TRACED(info("(info): get next client, sending:%d", three), info("(info): get next client, sending:%d", five));
  EXPECT_EQ(zar_get_next_client_with_database(five), 0U);
  EXPECT_EQ(zar_get_next_client_with_database(6), 0U) << "the highest clid has no successor";
  EXPECT_TRACED();
}

TEST_F(Clients, ThatAreSkippedNeedNotBeActive) {
  const uint32_t three = client("three", database());
  zar_clients_info[1]->status = 0;
  zar_clients_info[2]->status = 0;
  EXPECT_EQ(zar_get_next_client_with_database(one), three) << "nor need the one that is found";
}

TEST_F(Clients, ThatAreMissingAreSkipped) {
  const uint32_t three = client("three", database());
  zar_client_data *second = zar_clients_info[1];
  zar_clients_info[1] = nullptr;
  EXPECT_EQ(zar_get_next_client_with_database(one), three);
  zar_clients_info[1] = second;
}

TEST_F(Clients, AreFollowedFromAValidAndActiveOneOnly) {
  client("three", database());
  EXPECT_EQ(zar_get_next_client_with_database(0), 0U);
  EXPECT_TRACED(wrong_clid(" ", 0, 3));
  EXPECT_EQ(zar_get_next_client_with_database(4), 0U);
  EXPECT_TRACED(wrong_clid(" ", 4, 3));
  zar_clients_info[0]->status = 0;
  EXPECT_EQ(zar_get_next_client_with_database(one), 0U);
  EXPECT_TRACED(error("(ERR): %s: clid:%d, Client status in ZAR is INACTIVE", " ", 1));
}

TEST_F(Clients, ThatAreMissingAreNotFollowed) {
  client("three", database());
  zar_client_data *second = zar_clients_info[1];
  zar_clients_info[1] = nullptr;
  EXPECT_EQ(zar_get_next_client_with_database(two), 0U);
  EXPECT_TRACED(error("(ERR): %s: clid:%d, Client entry is in ZAR is NULL", " ", 2));
  zar_clients_info[1] = second;
}

TEST_F(Clients, AreNamedInTheWalkByTheirEntry) {
  breaks_invariants("an entry gets the id of another");
  client("three", database());
  zar_clients_info[2]->clid = 30;
  EXPECT_EQ(zar_get_next_client_with_database(one), 30U);
  EXPECT_TRACED(info("(info): get next client, sending:%d", 30));
}

TEST_F(Clients, AreNotSearchedForAfterTheLastOne) {
  // The memory after the entries in use belongs to nobody.
  zar_client_data nobody{};
  nobody.clid = 3;
  nobody.database = db;
  zar_clients_info[2] = &nobody;
  EXPECT_EQ(zar_get_next_client_with_database(one), 0U);
  zar_clients_info[2] = nullptr;
}

// ---- The display

TEST_F(Clients, AreDisplayedInTheirOrder) {
  zar_clients_info[1]->status = 0;
  zar_display_clients();
  EXPECT_TRACED(info("(info): Total clients:%d, max entries:%d\n", 2, 10), info("(info): Client id:%d\n", 1),
                info("(info): Client status:%s\n", "Active"), info("(info): Client name:%s\n", "one"),
                info("(info): Client id:%d\n", 2), info("(info): Client status:%s\n", "Inactive"),
                info("(info): Client name:%s\n", "two"));
}

TEST_F(Clients, OfAnyStatusBut0AreDisplayedAsActive) {
  zar_clients_info[1]->status = 2;
  zar_display_clients();
  NEEDS_TRACE();
  EXPECT_EQ(traced()[5], info("(info): Client status:%s\n", "Active"));
}

TEST_F(Clients, WithoutANameAreDisplayedWithASpace) {
  uint32_t clid = 0;
  runtime::fail_request(runtime::Service::duplicate, 1);
  zar_client_register("three", nullptr, &clid);
  forget_trace();
  zar_display_clients();
  NEEDS_TRACE();
  EXPECT_EQ(traced().back(), info("(info): Client name:%s\n", " "));
}

TEST_F(Clients, AreDisplayedWithTheRoomOfTheGrownTable) {
  for (int i = 3; i <= 11; ++i)
    client(text("client %d", i).c_str());
  zar_display_clients();
  NEEDS_TRACE();
  EXPECT_EQ(traced().size(), 1U + 11 * 3);
  EXPECT_EQ(traced().front(), info("(info): Total clients:%d, max entries:%d\n", 11, 20));
}

TEST_F(Clients, ThatAreNoneAreDisplayedAsNone) {
  start_again();
  zar_display_clients();
  EXPECT_TRACED(info("(info): Total clients:%d, max entries:%d\n", 0, 10));
}

TEST_F(Clients, ThatAreMissingAreNotDisplayed) {
  zar_client_data *first = zar_clients_info[0];
  zar_clients_info[0] = nullptr;
  zar_display_clients();
  EXPECT_TRACED(info("(info): Total clients:%d, max entries:%d\n", 2, 10), info("(info): Client id:%d\n", 2),
                info("(info): Client status:%s\n", "Active"), info("(info): Client name:%s\n", "two"));
  zar_clients_info[0] = first;
}

TEST_F(Clients, AfterTheLastOneAreNotDisplayed) {
  zar_client_data nobody{};
  zar_clients_info[2] = &nobody;
  zar_display_clients();
  NEEDS_TRACE();
  EXPECT_EQ(traced().size(), 1U + 2 * 3);
  zar_clients_info[2] = nullptr;
}

// ---- The removal callback

constexpr const char *kRegisterRemoval = "client_register_target_policy_removal_vector";

TEST_F(Clients, RegisterTheirRemovalCallback) {
  EXPECT_EQ(zar_client_register_target_policy_removal_vector(two, policy_removed), 0U);
  EXPECT_EQ(zar_clients_info[1]->removal_vector, policy_removed);
  EXPECT_EQ(zar_clients_info[0]->removal_vector, nullptr);
  EXPECT_TRACED(info("(info): %s: successful, clid:%d", kRegisterRemoval, 2));
  EXPECT_CALLS();
}

TEST_F(Clients, TakeTheirRemovalCallbackBackWithNull) {
  zar_client_register_target_policy_removal_vector(two, policy_removed);
  forget_trace();
  EXPECT_EQ(zar_client_register_target_policy_removal_vector(two, nullptr), 0U);
  EXPECT_EQ(zar_clients_info[1]->removal_vector, nullptr);
  EXPECT_TRACED(info("(info): %s: successful, clid:%d", kRegisterRemoval, 2));
}

TEST_F(Clients, OutOfRangeRegisterNoRemovalCallback) {
  for (const uint32_t clid : {0U, 3U, 0xffffffffU}) {
    EXPECT_REFUSED(39U, zar_client_register_target_policy_removal_vector(clid, policy_removed));
    EXPECT_TRACED(wrong_clid(kRegisterRemoval, clid, 2));
  }
}

TEST_F(Clients, ThatAreInactiveRegisterNoRemovalCallback) {
  zar_clients_info[1]->status = 0;
  EXPECT_REFUSED(37U, zar_client_register_target_policy_removal_vector(two, policy_removed));
  EXPECT_TRACED(error("(ERR): %s: clid:%d, Client status in ZAR is INACTIVE", kRegisterRemoval, 2));
  EXPECT_EQ(zar_clients_info[1]->removal_vector, nullptr);
}

TEST_F(Clients, ThatAreMissingRegisterNoRemovalCallback) {
  zar_client_data *second = zar_clients_info[1];
  zar_clients_info[1] = nullptr;
  EXPECT_EQ(zar_client_register_target_policy_removal_vector(two, policy_removed), 37U);
  EXPECT_TRACED(error("(ERR): %s: clid:%d, Client entry is in ZAR is NULL", kRegisterRemoval, 2));
  zar_clients_info[1] = second;
}

// ---- Faults

TEST(ClientsUnderFaults, TheEleventhRegistration) {
  for_each_fault([](FaultClock &clock) {
    World world;
    for (int i = 3; i <= 10; ++i)
      world.client(text("client %d", i).c_str());
    uint32_t clid = kUntouched;
    const uint32_t status = clock.during([&] { return zar_client_register("eleven", nullptr, &clid); });
    using runtime::Service;
    // A name that cannot be copied is not a failure; if all requests fail from there on, the table cannot grow either.
    const bool named = clock.failed_in(Service::duplicate, 0x3e00034) && clock.mode() == runtime::Fault::once;
    EXPECT_EQ(status, !clock.hit() || named ? 0U : 37U);
    EXPECT_EQ(clid, status == 0 ? 11U : clock.failed_in(Service::record, 0x3e00025) ? 0U : kUntouched);
    EXPECT_EQ(zar_current_max_clients, status == 0 ? 11U : 10U);
    if (status == 0) return;
    EXPECT_EQ(zar_client_register("eleven", nullptr, &clid), 0U);
    EXPECT_EQ(clid, 11U);
  });
}

TEST(ClientsUnderFaults, TheFirstRegistration) {
  for_each_fault([](FaultClock &clock) {
    start_rig();
    zar_init();
    uint32_t clid = kUntouched;
    const uint32_t status = clock.during([&] { return zar_client_register("one", nullptr, &clid); });
    using runtime::Service;
    const bool named = !clock.hit() || clock.failed_in(Service::duplicate);
    EXPECT_EQ(status, named ? 0U : clock.failed_in(Service::pool) ? 38U : 37U);
    EXPECT_EQ(zar_current_max_clients, named ? 1U : 0U);
    if (named) return;
    EXPECT_EQ(zar_client_register("one", nullptr, &clid), 0U);
    EXPECT_EQ(clid, 1U);
  });
}

}  // namespace
