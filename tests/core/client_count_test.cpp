// The end of the numbers: a client table that cannot grow because its size would wrap around.
#include <sys/mman.h>

#include "support/repository.h"

using namespace rig;

namespace {

// The highest capacity that growing by 10 makes 0. A table of that many missing entries is 32 GB of pages that are never
// written, all of which are the one page of zeros.
constexpr uint32_t kLastCapacity = 0xfffffff6;
constexpr size_t kTableBytes = size_t{kLastCapacity} * sizeof(zar_client_data *);

struct ClientCount : Repository {};

TEST_F(ClientCount, IsNotWrappedAround) {
  void *pages = mmap(nullptr, kTableBytes, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  if (pages == MAP_FAILED) GTEST_SKIP() << "no address space for the table";
  madvise(pages, kTableBytes, MADV_HUGEPAGE);
  zar_client_data **table = zar_clients_info;
  zar_clients_info = static_cast<zar_client_data **>(pages);
  zar_current_max_clients = zar_allowed_max_clients = kLastCapacity;

  uint32_t clid = 0xabcd;
  watch_requests();
  EXPECT_EQ(zar_client_register("one too many", nullptr, &clid), 37U);
  EXPECT_TRACED(info("(info): client registration, name:%s, db hdl:0x%p", "one too many", nullptr),
                info("(info): Growing the ZAR clients data array"));
  EXPECT_REQUESTS("record 0x3e00025 of 40", "duplicate 0x3e00034 \"one too many\"");
  EXPECT_EQ(clid, 0xabcdU);
  EXPECT_EQ(zar_current_max_clients, kLastCapacity);
  EXPECT_EQ(zar_allowed_max_clients, kLastCapacity);

  zar_clients_info = table;
  zar_current_max_clients = 2;
  zar_allowed_max_clients = 10;
  munmap(pages, kTableBytes);
}

}  // namespace
