/**
 * @file
 * The tags that the library gives to the platform runtime with its requests.
 */
#ifndef PLATFORM_TAGS_H
#define PLATFORM_TAGS_H

/**
 * @addtogroup zar_platform_runtime
 * @{
 */

/**
 * What a block, record, id or text is for. A runtime may use this for statistics, or ignore it.
 *
 * Everything goes back under the tag with which it was requested, except for the names and domains of policy-maps.
 */
enum zar_tag {
  /* Kept until the process ends, but for the first table of clients, which a grown one replaces. */
  ZAR_TAG_CLIENT_TABLE = 0x3e00003,       /**< Block: the first table of clients. */
  ZAR_TAG_GROWN_CLIENT_TABLE = 0x3e00008, /**< Block: a larger table of clients. */
  ZAR_TAG_DATABASE_RECORD = 0x3e00024,    /**< Record: a database. */
  ZAR_TAG_CLIENT_RECORD = 0x3e00025,      /**< Record: a client. */
  ZAR_TAG_CLIENT_NAME = 0x3e00034,        /**< Block: a client's name. */
  ZAR_TAG_DOMAIN_RECORD = 0x3e00035,      /**< Record: a domain and its owner. */
  ZAR_TAG_DOMAIN_NAME = 0x3e00036,        /**< Block: a domain's name. */

  ZAR_TAG_PMAP_TREE = 0x3e00004,     /**< Block: a database's tree of policy-maps. */
  ZAR_TAG_CMAP_TREE = 0x3e00005,     /**< Block: a database's tree of class-maps. */
  ZAR_TAG_TARGET_TREE = 0x3e00006,   /**< Block: a database's tree of targets. */
  ZAR_TAG_PMTR_MAP_TREE = 0x3e00007, /**< Block: a database's tree of parameter-maps. */

  ZAR_TAG_HANDLE = 0x3e00023, /**< The id table, and every id in it. */

  /* The pool of filters has the tag of its first user. */
  ZAR_TAG_PMAP_RECORD = 0x3e00037,             /**< Record: a policy-map. */
  ZAR_TAG_CMAP_RECORD = 0x3e0003a,             /**< Record: a class-map. */
  ZAR_TAG_CMAP_PMAP_REF = 0x3e0003e,           /**< Record: a class-map's reference to a policy-map that uses it. */
  ZAR_TAG_PMAP_CMAP_REF = 0x3e0003f,           /**< Record: a policy-map's reference to a class-map. */
  ZAR_TAG_STATEMENT_FILTER_RECORD = 0x3e00040, /**< Record: a filter, made by zar_pmtr_create_filter(). */
  ZAR_TAG_FILTER_RECORD = 0x3e00041,           /**< Record: a filter, made by zar_create_filter(). */
  ZAR_TAG_EVENT_TUPLE = 0x3e00043,             /**< Record: an event. */
  ZAR_TAG_ACTION_RECORD = 0x3e00044,           /**< Record: an action. */
  ZAR_TAG_TARGET_RECORD = 0x3e00045,           /**< Record: a target. */
  ZAR_TAG_POLICY_CONTEXT = 0x3e00046,          /**< Record: a target's policy context. */
  ZAR_TAG_TARGET_PMAP = 0x3e00047,             /**< Record: a target's reference to an active policy-map. */
  ZAR_TAG_PMAP_TARGET_REF = 0x3e00048,         /**< Record: a policy-map's reference to a target. */
  ZAR_TAG_CLASS_ACTION = 0x3e00049,            /**< Record: a class-action. */
  ZAR_TAG_EVENT_CONTEXT = 0x3e0004a,           /**< Record: an event's id and name. */

  ZAR_TAG_DOMAIN_TEXT = 0x3e00033,     /**< Interned text: the domain of a map. */
  ZAR_TAG_PMAP_NAME = 0x3e00038,       /**< Interned text: a policy-map's name. */
  ZAR_TAG_PMAP_KEY = 0x3e00039,        /**< Block: a policy-map's key in its tree. */
  ZAR_TAG_CMAP_NAME = 0x3e0003b,       /**< Interned text: a class-map's name. */
  ZAR_TAG_CMAP_KEY = 0x3e0003c,        /**< Block: a class-map's key in its tree. */
  ZAR_TAG_EVENT_NAME = 0x3e0003d,      /**< Interned text: an event's name. */
  ZAR_TAG_PMTR_MAP_NAME = 0x3e00032,   /**< Interned text: a parameter-map's name. */
  ZAR_TAG_PMTR_MAP_KEY = 0x3e0005a,    /**< Block: a parameter-map's key in its tree. */
  ZAR_TAG_RETURNED_PMAP_NAME = 0x38,   /**< A policy-map's name, when it is given back. */
  ZAR_TAG_RETURNED_PMAP_DOMAIN = 0x33, /**< A policy-map's domain, when it is given back. */

  /* Handed over: the caller or the action handler gives them back. */
  ZAR_TAG_FILTER_TEXT = 0x3e00009,       /**< Block: a filter's configuration text. */
  ZAR_TAG_ACTIVATED_TARGETS = 0x3e0000d, /**< Block: the list of the one target of an activation. */
  ZAR_TAG_TARGETS_OF_PMAP = 0x3e0000e,   /**< Block: the list of a policy-map's targets. */

  /* Given back before the operation ends. */
  ZAR_TAG_ALL_CLASS_MAPS = 0x3e0000a, /**< Block: a filter's line in the listing of all class-maps. */
  ZAR_TAG_ONE_CLASS_MAP = 0x3e0000b,  /**< Block: a filter's line in the listing of one class-map. */
  ZAR_TAG_CLASS_LINE = 0x3e0000c,     /**< Block: a class line in the listing of a policy-map. */
  ZAR_TAG_EVENT_LINE = 0x3e0000f,     /**< Block: an event line in the listing of a policy-map. */

  ZAR_TAG_EXPRESSION_COPY = 0x3e00026,            /**< Block: a copy of a filter's expression. */
  ZAR_TAG_REPLACING_STATEMENT_NAME = 0x3e00027,   /**< Block: the name of the class-map of a replacing statement. */
  ZAR_TAG_STATEMENT_NAME = 0x3e00028,             /**< Block: the name of the class-map of a new statement. */
  ZAR_TAG_FOUND_PMTR_MAP_NAME = 0x3e00029,        /**< Block: the name of a parameter-map that is searched. */
  ZAR_TAG_MADE_PMTR_MAP_NAME = 0x3e0002a,         /**< Block: the name of a parameter-map that is created. */
  ZAR_TAG_STATEMENT_DOMAIN = 0x3e0002b,           /**< Block: the domain of a new statement. */
  ZAR_TAG_FOUND_PMTR_MAP_DOMAIN = 0x3e0002c,      /**< Block: the domain of a parameter-map that is searched. */
  ZAR_TAG_MADE_PMTR_MAP_DOMAIN = 0x3e0002d,       /**< Block: the domain of a parameter-map that is created. */
  ZAR_TAG_REPLACING_STATEMENT_DOMAIN = 0x3e0002e, /**< Block: the domain of a replacing statement. */
};

/** @} */

#endif
