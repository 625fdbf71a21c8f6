#include "check.h"
#include "platform/runtime.h"

/* The library keeps at most this many handles. */
enum { kLiveIds = 65536 };

static uint16_t new_table(void) {
  return id_create_new_table(256, 256, "platform check", kTag);
}

static uint32_t new_id(void *pointer, uint16_t table) {
  uint32_t id = id_get(pointer, table, kTag);
  EXPECT(id != 0, "it returned 0 although few ids are live");
  return id;
}

static void resolves_to(uint32_t id, uint16_t table, const void *pointer) {
  uint32_t status = 99;
  void *found = id_to_ptr(id, &status, table);
  EXPECT(status == 0, "id 0x%x is live, but its status is %u", id, status);
  EXPECT(found == pointer, "id 0x%x resolves to %p instead of %p", id, found, pointer);
}

static void has_status(uint32_t id, uint16_t table, uint32_t wanted) {
  uint32_t status = 99;
  id_to_ptr(id, &status, table);
  EXPECT(status == wanted, "the status of id 0x%x is %u instead of %u", id, status, wanted);
}

static void live_id_resolves_to_its_pointer(void) {
  int things[3];
  uint16_t table = new_table();
  uint32_t ids[3];
  for (int i = 0; i < 3; i++)
    ids[i] = new_id(&things[i], table);
  for (int i = 0; i < 3; i++)
    resolves_to(ids[i], table, &things[i]);
}

static void many_ids_can_be_live(void) {
  static char things[kLiveIds];
  static uint32_t ids[kLiveIds];
  uint16_t table = new_table();
  for (uint32_t i = 0; i < kLiveIds; i++) {
    ids[i] = id_get(&things[i], table, kTag);
    EXPECT(ids[i] != 0, "it returned 0 when %u ids were live", i);
  }
  for (uint32_t i = 0; i < kLiveIds; i++)
    resolves_to(ids[i], table, &things[i]);
}

static void ids_are_different(void) {
  static char things[2];
  uint16_t table = new_table();
  uint32_t first = new_id(&things[0], table), second = new_id(&things[1], table), again = new_id(&things[0], table);
  EXPECT(first != second && second != again && first != again, "two of the ids 0x%x, 0x%x and 0x%x are equal", first,
         second, again);
}

static void deleted_id_is_reported(void) {
  int thing;
  uint16_t table = new_table();
  uint32_t id = new_id(&thing, table);
  id_delete(id, table);
  has_status(id, table, 2);
}

/* A stale handle must not resolve to a later record. */
static void deleted_id_stays_deleted(void) {
  static char things[2];
  uint16_t table = new_table();
  uint32_t stale = new_id(&things[0], table);
  id_delete(stale, table);
  for (int i = 0; i < 100000; i++) {
    uint32_t id = new_id(&things[1], table);
    EXPECT(id != stale, "id 0x%x was issued again after %d others", stale, i);
    id_delete(id, table);
  }
  has_status(stale, table, 2);
}

static void unissued_id_is_reported(void) {
  int thing;
  uint16_t table = new_table();
  uint32_t id = new_id(&thing, table), unissued = id ^ 0x40000000u;
  uint32_t status = 99;
  id_to_ptr(unissued, &status, table);
  EXPECT(status != 0 && status != 2, "the status of 0x%x, which was never issued, is %u", unissued, status);
  resolves_to(id, table, &thing);
}

static void deletion_reports_whether_the_id_was_live(void) {
  int thing;
  uint16_t table = new_table();
  uint32_t id = new_id(&thing, table);
  EXPECT(id_delete(id, table) != 0, "it returned 0 for a live id");
  EXPECT(id_delete(id, table) == 0, "it returned non-zero for an id that was already deleted");
}

static void deletion_does_not_affect_other_ids(void) {
  static char things[3];
  uint16_t table = new_table();
  uint32_t ids[3];
  for (int i = 0; i < 3; i++)
    ids[i] = new_id(&things[i], table);
  id_delete(ids[1], table);
  resolves_to(ids[0], table, &things[0]);
  resolves_to(ids[2], table, &things[2]);
}

static void tables_are_independent(void) {
  static char things[2];
  uint16_t one = new_table(), other = new_table();
  uint32_t id = new_id(&things[0], one), neighbour = new_id(&things[1], other);
  EXPECT(one != other, "two tables have the identifier %u", one);
  id_delete(id, one);
  resolves_to(neighbour, other, &things[1]);
}

static void destruction_reports_whether_the_table_existed(void) {
  int thing;
  uint16_t table = new_table();
  uint32_t id = new_id(&thing, table), status = 99;
  EXPECT(id_destroy_table(table) != 0, "it returned 0 for an existing table");
  EXPECT(id_destroy_table(table) == 0, "it returned non-zero for a table that was already destroyed");
  id_to_ptr(id, &status, table);
  EXPECT(status != 0, "id 0x%x is still live after its table was destroyed", id);
}

static const Promise promises[] = {
    {"id_get", "returns ids that resolve to their pointers", live_id_resolves_to_its_pointer},
    {"id_get", "returns a different id each time, even for the same pointer", ids_are_different},
    {"id_get", "keeps 65536 ids live at once", many_ids_can_be_live},
    {"id_to_ptr", "reports status 2 for an id that was deleted", deleted_id_is_reported},
    {"id_to_ptr", "still reports status 2 after 100000 further ids, all different from the deleted one",
     deleted_id_stays_deleted},
    {"id_to_ptr", "reports neither status 0 nor 2 for an id that was never issued", unissued_id_is_reported},
    {"id_delete", "returns non-zero for a live id and 0 for any other", deletion_reports_whether_the_id_was_live},
    {"id_delete", "does not affect other ids", deletion_does_not_affect_other_ids},
    {"id_create_new_table", "creates tables that are independent of each other", tables_are_independent},
    {"id_destroy_table", "returns whether the table existed; afterwards its ids are not live",
     destruction_reports_whether_the_table_existed},
};
const Group id_tables = {"id tables", promises, COUNT_OF(promises)};
