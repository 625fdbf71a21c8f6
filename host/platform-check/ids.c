#include <stdlib.h>

#include "check.h"
#include "platform/runtime.h"

/* The library keeps at most this many handles. */
enum { kLiveIds = 65536, kFurtherIds = 100000, kStaleIds = 5000 };

/* Aligned like records. */
typedef struct Thing {
  _Alignas(16) char content[16];
} Thing;

static uint16_t new_table(void) {
  return id_create_new_table(256, 256, "platform check", kTag);
}

static uint32_t new_id(void *pointer, uint16_t table) {
  uint32_t id = id_get(pointer, table, kTag);
  EXPECT(id != 0, "it returned 0 although few ids are live");
  return id;
}

static uint32_t status_of(uint32_t id, uint16_t table) {
  uint32_t status = 99;
  id_to_ptr(id, &status, table);
  return status;
}

static void has_status(uint32_t id, uint16_t table, uint32_t wanted) {
  uint32_t status = status_of(id, table);
  EXPECT(status == wanted, "the status of id 0x%x is %u instead of %u", id, status, wanted);
}

static void resolves_to(uint32_t id, uint16_t table, const void *pointer) {
  uint32_t status = 99;
  void *found = id_to_ptr(id, &status, table);
  EXPECT(status == 0, "id 0x%x is live, but its status is %u", id, status);
  EXPECT(found == pointer, "id 0x%x resolves to %p instead of %p", id, found, pointer);
}

static void tables_are_independent(void) {
  Thing things[2];
  uint16_t one = new_table(), other = new_table();
  uint32_t id = new_id(&things[0], one), neighbour = new_id(&things[1], other);
  EXPECT(status_of(neighbour, one) != 0, "id 0x%x of another table is live in table %u", neighbour, one);
  id_delete(id, one);
  resolves_to(neighbour, other, &things[1]);
}

static void table_works_after_a_destruction(void) {
  Thing thing;
  uint16_t first = new_table();
  new_id(&thing, first);
  id_destroy_table(first);
  uint16_t second = new_table();
  resolves_to(new_id(&thing, second), second, &thing);
}

static void name_is_not_kept(void) {
  Thing thing;
  char *name = zar_platform_check_lend("platform check");
  uint16_t table = id_create_new_table(256, 256, name, kTag);
  zar_platform_check_take_back(name);
  uint32_t id = new_id(&thing, table);
  resolves_to(id, table, &thing);
  id_delete(id, table);
  id_destroy_table(table);
}

static void live_ids_resolve_to_their_pointers(void) {
  char things[20];
  uint16_t table = new_table();
  uint32_t ids[COUNT_OF(things)];
  for (size_t i = 0; i < COUNT_OF(things); i++)
    ids[i] = new_id(&things[i], table);
  for (size_t i = 0; i < COUNT_OF(things); i++)
    resolves_to(ids[i], table, &things[i]);
}

static void ids_are_different(void) {
  Thing things[2];
  uint16_t table = new_table();
  uint32_t first = new_id(&things[0], table), second = new_id(&things[1], table), again = new_id(&things[0], table);
  EXPECT(first != second && second != again && first != again, "two of the ids 0x%x, 0x%x and 0x%x are equal", first,
         second, again);
}

static void many_ids_can_be_live(void) {
  static Thing things[kLiveIds];
  static uint32_t ids[kLiveIds];
  uint16_t table = new_table();
  for (uint32_t i = 0; i < kLiveIds; i++) {
    ids[i] = id_get(&things[i], table, kTag);
    EXPECT(ids[i] != 0, "it returned 0 when %u ids were live", i);
  }
  for (uint32_t i = 0; i < kLiveIds; i++)
    resolves_to(ids[i], table, &things[i]);
}

/* Issues ids, and deletes each of them, not in the same order: a few are live at any time. */
static void issue_and_delete(uint32_t *ids, int n_ids, uint16_t table) {
  enum { kLive = 5 };
  static Thing things[kLive];
  uint32_t live[kLive] = {0};
  for (int i = 0; i < n_ids; i++) {
    int place = i * 3 / 2 % kLive;
    if (live[place] != 0) id_delete(live[place], table);
    ids[i] = live[place] = new_id(&things[place], table);
  }
  for (int i = 0; i < kLive; i++)
    if (live[i] != 0) id_delete(live[i], table);
}

static int ascending(const void *one, const void *other) {
  uint32_t a = *(const uint32_t *)one, b = *(const uint32_t *)other;
  return (a > b) - (a < b);
}

/* A stale handle must not resolve to a later record. */
static void deleted_id_is_not_issued_again(void) {
  static uint32_t ids[kFurtherIds + 1];
  issue_and_delete(ids, kFurtherIds + 1, new_table());
  qsort(ids, COUNT_OF(ids), sizeof *ids, ascending);
  for (size_t i = 1; i < COUNT_OF(ids); i++)
    EXPECT(ids[i - 1] != ids[i], "id 0x%x was issued twice among %zu", ids[i], COUNT_OF(ids));
}

static void deleted_id_is_reported(void) {
  Thing thing;
  uint16_t table = new_table();
  uint32_t id = new_id(&thing, table);
  id_delete(id, table);
  has_status(id, table, 2);
}

static void deleted_id_is_reported_later(void) {
  static uint32_t ids[kStaleIds + kFurtherIds];
  uint16_t table = new_table();
  issue_and_delete(ids, kStaleIds + kFurtherIds, table);
  for (size_t i = 0; i < kStaleIds; i++)
    has_status(ids[i], table, 2);
}

static void is_unissued(uint32_t unissued, uint16_t table) {
  uint32_t status = status_of(unissued, table);
  EXPECT(status != 0 && status != 2, "the status of 0x%x, which was never issued, is %u", unissued, status);
}

/* Callers pass anything: small numbers, and handles with a wrong bit. */
static void unissued_id_is_reported(void) {
  Thing thing;
  uint16_t table = new_table();
  uint32_t id = new_id(&thing, table);
  for (uint32_t number = 1; number < 1000; number++)
    if (number != id) is_unissued(number, table);
  for (int bit = 0; bit < 32; bit++)
    if ((id ^ 1u << bit) != 0) is_unissued(id ^ 1u << bit, table);
  resolves_to(id, table, &thing);
}

static void dead_id_has_no_pointer(void) {
  Thing thing;
  uint16_t table = new_table();
  uint32_t id = new_id(&thing, table), status = 99;
  id_delete(id, table);
  const void *found = id_to_ptr(id, &status, table);
  EXPECT(found == NULL, "the deleted id 0x%x gives %p", id, found);
  found = id_to_ptr(id ^ 0x40000000u, &status, table);
  EXPECT(found == NULL, "id 0x%x, which was never issued, gives %p", id ^ 0x40000000u, found);
}

static void deletion_reports_whether_the_id_was_live(void) {
  Thing thing;
  uint16_t table = new_table();
  uint32_t id = new_id(&thing, table);
  EXPECT(id_delete(id, table) != 0, "it returned 0 for a live id");
  EXPECT(id_delete(id, table) == 0, "it returned non-zero for an id that was already deleted");
  EXPECT(id_delete(id ^ 0x40000000u, table) == 0, "it returned non-zero for an id that was never issued");
}

static void deletion_does_not_affect_other_ids(void) {
  Thing things[3];
  uint16_t table = new_table();
  uint32_t ids[3];
  for (int i = 0; i < 3; i++)
    ids[i] = new_id(&things[i], table);
  id_delete(ids[1], table);
  resolves_to(ids[0], table, &things[0]);
  resolves_to(ids[2], table, &things[2]);
}

static void deletion_of_a_dead_id_changes_nothing(void) {
  Thing things[2];
  uint16_t table = new_table();
  uint32_t stale = new_id(&things[0], table);
  id_delete(stale, table);
  uint32_t id = new_id(&things[1], table);
  id_delete(stale, table);
  resolves_to(id, table, &things[1]);
}

static void destruction_reports_whether_the_table_existed(void) {
  uint16_t table = new_table();
  EXPECT(id_destroy_table(table) != 0, "it returned 0 for an existing table");
  EXPECT(id_destroy_table(table) == 0, "it returned non-zero for a table that was already destroyed");
}

static void destruction_ends_all_ids(void) {
  Thing things[2];
  uint16_t table = new_table();
  uint32_t ids[2] = {new_id(&things[0], table), new_id(&things[1], table)};
  id_destroy_table(table);
  for (int i = 0; i < 2; i++)
    EXPECT(status_of(ids[i], table) != 0, "id 0x%x is still live after its table was destroyed", ids[i]);
}

static void destruction_does_not_affect_other_tables(void) {
  Thing things[2];
  uint16_t one = new_table(), other = new_table();
  uint32_t id = new_id(&things[0], one);
  new_id(&things[1], other);
  id_destroy_table(other);
  resolves_to(id, one, &things[0]);
}

static const Promise promises[] = {
    {1, "id_create_new_table", "creates tables that are independent of each other", tables_are_independent},
    {2, "id_create_new_table", "creates a table that works after another one was destroyed",
     table_works_after_a_destruction},
    {3, "id_create_new_table", "needs the name only during the call", name_is_not_kept},
    {4, "id_get", "returns ids that resolve to their pointers, however these are aligned",
     live_ids_resolve_to_their_pointers},
    {5, "id_get", "returns a different id each time, even for the same pointer", ids_are_different},
    {6, "id_get", "keeps 65536 ids live at once", many_ids_can_be_live},
    {7, "id_get", "does not issue a deleted id again among the next 100000", deleted_id_is_not_issued_again},
    {8, "id_to_ptr", "reports status 2 for an id that was deleted", deleted_id_is_reported},
    {9, "id_to_ptr", "still reports status 2 for it after 100000 further ids", deleted_id_is_reported_later},
    {10, "id_to_ptr", "reports neither status 0 nor 2 for an id that was never issued", unissued_id_is_reported},
    {11, "id_to_ptr", "returns NULL unless the id is live", dead_id_has_no_pointer},
    {12, "id_delete", "returns non-zero for a live id and 0 for any other", deletion_reports_whether_the_id_was_live},
    {13, "id_delete", "does not affect other ids", deletion_does_not_affect_other_ids},
    {14, "id_delete", "changes nothing if the id is not live", deletion_of_a_dead_id_changes_nothing},
    {15, "id_destroy_table", "returns non-zero for an existing table and 0 for any other",
     destruction_reports_whether_the_table_existed},
    {16, "id_destroy_table", "ends all ids of the table", destruction_ends_all_ids},
    {17, "id_destroy_table", "does not affect other tables", destruction_does_not_affect_other_tables},
};
const Group zar_platform_check_ids = {"id tables", "id", promises, COUNT_OF(promises), NULL};
