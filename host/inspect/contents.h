/*
 * The contents of the repository, as both forms of the picture read them: each walk as a pair of a first and a next
 * record, or as a queue. Nothing here allocates, except the count of handles.
 */
#ifndef INSPECT_CONTENTS_H
#define INSPECT_CONTENTS_H

#include <stdbool.h>

#include "platform/runtime.h"
#include "zar/zar.h"

/* At most this many handles are live at a time. */
enum { kHandleLimit = 65536 };

/* The client at the position 'index' of the client table, if its database is shown there: it has one, and no earlier
   client has the same. Otherwise NULL. */
const zar_client_data *zar_inspect_shows_database(uint32_t index);
/* The entry of the client table, which may be missing, and the name that a client registered, which may be missing too. */
const zar_client_data *zar_inspect_client(uint32_t index);
const char *zar_inspect_client_name(uint32_t clid);

/* The maps and targets of a database; NULL after the last one. */
zar_pmap *zar_inspect_first_pmap(zar_db *database);
zar_pmap *zar_inspect_next_pmap(zar_db *database, zar_pmap *map);
zar_cmap *zar_inspect_first_cmap(zar_db *database);
zar_cmap *zar_inspect_next_cmap(zar_db *database, zar_cmap *map);
zar_pmtr_map *zar_inspect_first_pmtr_map(zar_db *database);
zar_pmtr_map *zar_inspect_next_pmtr_map(zar_db *database, zar_pmtr_map *map);
zar_target *zar_inspect_first_target(zar_db *database);
zar_target *zar_inspect_next_target(zar_db *database, zar_target *target);

/* The daemon's identifier of a target; 0 if it has no record for the target. */
uint64_t zar_inspect_target_id(const zar_target *target);

/* The names of the maps. NULL for a map of another kind in the tree; its other fields must then not be read. */
const char *zar_inspect_pmap_name(const zar_pmap *map);
const char *zar_inspect_cmap_name(const zar_cmap *map);
const char *zar_inspect_pmtr_map_name(const zar_pmtr_map *map);
/* NULL for no text. */
const char *zar_inspect_interned(sdb_ref text);

bool zar_inspect_is_control(const zar_pmap *map);
/* The class-map of a rule. In a policy-map that is not CONTROL it may be deleted before the rule; its name is given only
   while it is stored, and is NULL otherwise. */
const char *zar_inspect_class_of(const zar_pmap *map, const zar_class_action *rule);
/* The class-map with the filters of a statement; NULL if it is gone. */
const zar_cmap *zar_inspect_class_of_statement(const zar_pmtr_map_stmt *statement);

/* Words for the numbers in the records, as policy files and zar show have them. */
const char *zar_inspect_class_criteria(uint32_t criteria);
const char *zar_inspect_event_criteria(uint32_t criteria);
const char *zar_inspect_exec_criteria(uint32_t criteria);
const char *zar_inspect_domain_type(uint32_t domain_type);

/* How many handles the stored objects have. False if there is no memory for the count. */
bool zar_inspect_count_handles(uint32_t *count_out);

#endif
