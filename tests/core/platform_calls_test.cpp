// The arguments of platform services that leave no other mark. The services are defined here, in front of the runtime's
// own, which they call.
#include <dlfcn.h>

#include "platform/runtime.h"
#include "support/repository.h"

using namespace rig;

namespace {

std::vector<std::string> services_called;

template <typename Function>
Function *next(const char *name) {
  return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

uint16_t id_create_new_table(uint32_t initial, uint32_t growth, const char *name, uint32_t tag) {
  services_called.push_back(text("id table %u %u %s 0x%x", initial, growth, name, tag));
  return next<decltype(id_create_new_table)>("id_create_new_table")(initial, growth, name, tag);
}

chunk_pool *chunk_create_bmalloc(size_t size, uint32_t per_chunk, uint32_t flags, uint32_t reserved, uint32_t tag) {
  services_called.push_back(text("pool %zu %u 0x%x %u 0x%x", size, per_chunk, flags, reserved, tag));
  return next<decltype(chunk_create_bmalloc)>("chunk_create_bmalloc")(size, per_chunk, flags, reserved, tag);
}

chunk_pool *chunk_create(const char *name, size_t size, uint32_t per_chunk, uint32_t flags, uint32_t reserved_1,
                         uint32_t reserved_2) {
  services_called.push_back(text("pool %s %zu %u 0x%x %u %u", name, size, per_chunk, flags, reserved_1, reserved_2));
  return next<decltype(chunk_create)>("chunk_create")(name, size, per_chunk, flags, reserved_1, reserved_2);
}

void i_avl_remove(avl_tree *tree, void *context) {
  services_called.push_back(text("empty %p %p", tree, context));
  next<decltype(i_avl_remove)>("i_avl_remove")(tree, context);
}

void queue_init(queue_head *queue, uint32_t limit) {
  services_called.push_back(text("queue limit %u", limit));
  next<decltype(queue_init)>("queue_init")(queue, limit);
}
}

namespace {

using Services = std::vector<std::string>;

struct PlatformCalls : Repository {
  PlatformCalls() { services_called.clear(); }
};

TEST_F(PlatformCalls, OfTheStart) {
  start_again();
  EXPECT_EQ(services_called, (Services{"queue limit 0", "id table 256 256 ZAR PMAP HANDLE IDs 0x3e00023"}));
}

TEST_F(PlatformCalls, OfEmptyingATreeNameTheTreeTwice) {
  zar_destroy_database(db);
  EXPECT_EQ(services_called, (Services{text("empty %p %p", db->pmap_tree, db->pmap_tree),
                                       text("empty %p %p", db->cmap_tree, db->cmap_tree),
                                       text("empty %p %p", db->target_tree, db->target_tree),
                                       text("empty %p %p", db->pmtr_map_tree, db->pmtr_map_tree)}));
}

TEST_F(PlatformCalls, OfANewMapMakeUnlimitedQueues) {
  NEEDS_FRESH_PROCESS();
  pmap("gold");
  EXPECT_EQ(services_called,
            (Services{"pool 152 20 0x111 0 0x3e00037", "queue limit 0", "queue limit 0", "queue limit 0"}));
  services_called.clear();
  cmap("voice");
  EXPECT_EQ(services_called, (Services{"pool 136 20 0x111 0 0x3e0003a", "queue limit 0", "queue limit 0"}));
  services_called.clear();
  pmtr_map("values");
  EXPECT_EQ(services_called, (Services{"pool ZAR DB pmtr-map chunk 104 20 0x111 0 0", "queue limit 0"}));
}

TEST_F(PlatformCalls, OfANewEventMakeBothPoolsAndAQueue) {
  NEEDS_FRESH_PROCESS();
  event(1);
  EXPECT_EQ(services_called,
            (Services{"pool 64 30 0x111 0 0x3e00043", "pool 16 30 0x111 0 0x3e0004a", "queue limit 0"}));
}

TEST_F(PlatformCalls, OfANewRuleMakeAQueue) {
  const uint32_t start = event(1), voice = cmap("voice");
  rule(start, voice, 1);
  services_called.clear();
  rule(start, voice, 2);
  EXPECT_EQ(services_called, Services{"queue limit 0"});
}

TEST_F(PlatformCalls, OfANewStatementMakeItsQueueAndThoseOfItsClassMap) {
  const uint32_t values = pmtr_map("values");
  statement(values, 1);
  services_called.clear();
  statement(values, 2);
  EXPECT_EQ(services_called, (Services{"queue limit 0", "queue limit 0", "queue limit 0"}));
}

}  // namespace
