/**
 * @file
 * The tags that the library gives to the platform with its requests: what each block, record, id or text is for. A
 * runtime may use them for statistics.
 */
#ifndef PLATFORM_TAGS_H
#define PLATFORM_TAGS_H

enum zar_tag {
  /* Clients with their table, first and grown, databases and domains. They are kept until the process ends. */
  ZAR_TAG_CLIENT_TABLE = 0x3e00003,
  ZAR_TAG_GROWN_CLIENT_TABLE = 0x3e00008,
  ZAR_TAG_DATABASE_RECORD = 0x3e00024,
  ZAR_TAG_CLIENT_RECORD = 0x3e00025,
  ZAR_TAG_CLIENT_NAME = 0x3e00034,
  ZAR_TAG_DOMAIN_RECORD = 0x3e00035,
  ZAR_TAG_DOMAIN_NAME = 0x3e00036,

  /* The trees of a database. */
  ZAR_TAG_PMAP_TREE = 0x3e00004,
  ZAR_TAG_CMAP_TREE = 0x3e00005,
  ZAR_TAG_TARGET_TREE = 0x3e00006,
  ZAR_TAG_PMTR_MAP_TREE = 0x3e00007,

  /* The id table and every id in it. */
  ZAR_TAG_HANDLE = 0x3e00023,

  /* Records. The pool of filters has the tag of its first user: the second one if that is a statement. */
  ZAR_TAG_PMAP_RECORD = 0x3e00037,
  ZAR_TAG_CMAP_RECORD = 0x3e0003a,
  ZAR_TAG_CMAP_PMAP_REF = 0x3e0003e,
  ZAR_TAG_PMAP_CMAP_REF = 0x3e0003f,
  ZAR_TAG_FILTER_RECORD = 0x3e00041,
  ZAR_TAG_STATEMENT_FILTER_RECORD = 0x3e00040,
  ZAR_TAG_EVENT_TUPLE = 0x3e00043,
  ZAR_TAG_ACTION_RECORD = 0x3e00044,
  ZAR_TAG_TARGET_RECORD = 0x3e00045,
  ZAR_TAG_POLICY_CONTEXT = 0x3e00046,
  ZAR_TAG_TARGET_PMAP = 0x3e00047,
  ZAR_TAG_PMAP_TARGET_REF = 0x3e00048,
  ZAR_TAG_CLASS_ACTION = 0x3e00049,
  ZAR_TAG_EVENT_CONTEXT = 0x3e0004a,

  /* Interned names and domains of records, and the keys of records in their trees. */
  ZAR_TAG_DOMAIN_TEXT = 0x3e00033,
  ZAR_TAG_PMAP_NAME = 0x3e00038,
  ZAR_TAG_PMAP_KEY = 0x3e00039,
  ZAR_TAG_CMAP_NAME = 0x3e0003b,
  ZAR_TAG_CMAP_KEY = 0x3e0003c,
  ZAR_TAG_EVENT_NAME = 0x3e0003d,
  ZAR_TAG_PMTR_MAP_NAME = 0x3e00032,
  ZAR_TAG_PMTR_MAP_KEY = 0x3e0005a,
  /* A policy-map's name and domain go back under short tags, not under those with which they were interned; the string
   * database uses tags only for statistics. */
  ZAR_TAG_RETURNED_PMAP_NAME = 0x38,
  ZAR_TAG_RETURNED_PMAP_DOMAIN = 0x33,

  /* Texts that are built for a listing or a caller and given back at once. */
  ZAR_TAG_FILTER_TEXT = 0x3e00009,
  ZAR_TAG_ALL_CLASS_MAPS = 0x3e0000a,
  ZAR_TAG_ONE_CLASS_MAP = 0x3e0000b,
  ZAR_TAG_CLASS_LINE = 0x3e0000c,
  ZAR_TAG_EVENT_LINE = 0x3e0000f,
  ZAR_TAG_EXPRESSION_COPY = 0x3e00026,

  /* Lists that action handlers get: targets of an activation; targets of a policy-map. */
  ZAR_TAG_ACTIVATED_TARGETS = 0x3e0000d,
  ZAR_TAG_TARGETS_OF_PMAP = 0x3e0000e,

  /* What parameter-maps and their statements look up with, and give back at once. */
  ZAR_TAG_REPLACING_STATEMENT_NAME = 0x3e00027,
  ZAR_TAG_STATEMENT_NAME = 0x3e00028,
  ZAR_TAG_FOUND_PMTR_MAP_NAME = 0x3e00029,
  ZAR_TAG_MADE_PMTR_MAP_NAME = 0x3e0002a,
  ZAR_TAG_STATEMENT_DOMAIN = 0x3e0002b,
  ZAR_TAG_FOUND_PMTR_MAP_DOMAIN = 0x3e0002c,
  ZAR_TAG_MADE_PMTR_MAP_DOMAIN = 0x3e0002d,
  ZAR_TAG_REPLACING_STATEMENT_DOMAIN = 0x3e0002e,
};

#endif
