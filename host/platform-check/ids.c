#include "check.h"
#include "platform/runtime.h"

/* The library keeps at most this many handles. */
enum { kLiveIds = 65536 };

static uint16_t new_table(void) {
  return id_create_new_table(256, 256, "platform check", kTag);
}

static uint32_t new_id(void *pointer, uint16_t table) {
  uint32_t id = id_get(pointer, table, kTag);
  EXPECT(id != 0, "it gave 0 while few ids were live");
  return id;
}

static void leads_to(uint32_t id, uint16_t table, const void *pointer) {
  uint32_t status = 99;
  void *found = id_to_ptr(id, &status, table);
  EXPECT(status == 0, "id 0x%x is live, yet its status is %u", id, status);
  EXPECT(found == pointer, "id 0x%x leads to %p instead of %p", id, found, pointer);
}

static void has_status(uint32_t id, uint16_t table, uint32_t wanted) {
  uint32_t status = 99;
  id_to_ptr(id, &status, table);
  EXPECT(status == wanted, "the status of id 0x%x is %u instead of %u", id, status, wanted);
}

static void live_id_leads_to_pointer(void) {
  int things[3];
  uint16_t table = new_table();
  uint32_t ids[3];
  for (int i = 0; i < 3; i++)
    ids[i] = new_id(&things[i], table);
  for (int i = 0; i < 3; i++)
    leads_to(ids[i], table, &things[i]);
}

static void many_are_live(void) {
  static char things[kLiveIds];
  static uint32_t ids[kLiveIds];
  uint16_t table = new_table();
  for (uint32_t i = 0; i < kLiveIds; i++) {
    ids[i] = id_get(&things[i], table, kTag);
    EXPECT(ids[i] != 0, "it gave 0 with %u ids live", i);
  }
  for (uint32_t i = 0; i < kLiveIds; i++)
    leads_to(ids[i], table, &things[i]);
}

static void no_id_twice(void) {
  static char things[2];
  uint16_t table = new_table();
  uint32_t first = new_id(&things[0], table), second = new_id(&things[1], table), again = new_id(&things[0], table);
  EXPECT(first != second && second != again && first != again, "the ids are 0x%x, 0x%x and 0x%x", first, second, again);
}

static void deleted_is_told(void) {
  int thing;
  uint16_t table = new_table();
  uint32_t id = new_id(&thing, table);
  id_delete(id, table);
  has_status(id, table, 2);
}

/* A stale handle must not lead to a later record. */
static void deleted_stays_deleted(void) {
  static char things[2];
  uint16_t table = new_table();
  uint32_t stale = new_id(&things[0], table);
  id_delete(stale, table);
  for (int i = 0; i < 100000; i++) {
    uint32_t id = new_id(&things[1], table);
    EXPECT(id != stale, "id 0x%x is issued again after %d others", stale, i);
    id_delete(id, table);
  }
  has_status(stale, table, 2);
}

static void unknown_is_told(void) {
  int thing;
  uint16_t table = new_table();
  uint32_t id = new_id(&thing, table), unknown = id ^ 0x40000000u;
  uint32_t status = 99;
  id_to_ptr(unknown, &status, table);
  EXPECT(status != 0 && status != 2, "the status of 0x%x, which was never issued, is %u", unknown, status);
  leads_to(id, table, &thing);
}

static void deletion_reports(void) {
  int thing;
  uint16_t table = new_table();
  uint32_t id = new_id(&thing, table);
  EXPECT(id_delete(id, table) != 0, "it answered 0 for a live id");
  EXPECT(id_delete(id, table) == 0, "it answered non-zero for an id that was deleted before");
}

static void deletion_spares_others(void) {
  static char things[3];
  uint16_t table = new_table();
  uint32_t ids[3];
  for (int i = 0; i < 3; i++)
    ids[i] = new_id(&things[i], table);
  id_delete(ids[1], table);
  leads_to(ids[0], table, &things[0]);
  leads_to(ids[2], table, &things[2]);
}

static void tables_are_apart(void) {
  static char things[2];
  uint16_t one = new_table(), other = new_table();
  uint32_t id = new_id(&things[0], one), neighbour = new_id(&things[1], other);
  EXPECT(one != other, "two tables have the identifier %u", one);
  id_delete(id, one);
  leads_to(neighbour, other, &things[1]);
}

static void destruction_reports(void) {
  int thing;
  uint16_t table = new_table();
  uint32_t id = new_id(&thing, table), status = 99;
  EXPECT(id_destroy_table(table) != 0, "it answered 0 for a table that was there");
  EXPECT(id_destroy_table(table) == 0, "it answered non-zero for a table that was destroyed before");
  id_to_ptr(id, &status, table);
  EXPECT(status != 0, "id 0x%x is still live after its table was destroyed", id);
}

static const Promise promises[] = {
    {"id_get", "gives ids that lead to their pointers", live_id_leads_to_pointer},
    {"id_get", "gives every id once, also for the same pointer", no_id_twice},
    {"id_get", "keeps 65536 ids live at once", many_are_live},
    {"id_to_ptr", "reports status 2 for an id that was deleted", deleted_is_told},
    {"id_to_ptr", "still reports it after 100000 later ids, none of them the deleted one", deleted_stays_deleted},
    {"id_to_ptr", "reports neither 0 nor 2 for an id that was never issued", unknown_is_told},
    {"id_delete", "answers non-zero for a live id and 0 for another", deletion_reports},
    {"id_delete", "leaves the other ids alone", deletion_spares_others},
    {"id_create_new_table", "makes tables that do not know each other", tables_are_apart},
    {"id_destroy_table", "answers whether there was a table, and ends its ids", destruction_reports},
};
const Group id_tables = {"id tables", promises, COUNT_OF(promises)};
