/**
 * @file
 * Names for the numbers that operations take and return. Header only: a program that uses it needs nothing more from
 * the library, and one that loads the library by dlopen() may use it too.
 */
#ifndef ZAR_STATUS_H
#define ZAR_STATUS_H

#include <stdint.h>

/**
 * @defgroup zar_status Names for numbers
 * Operations take and return plain numbers of type uint32_t, and these constants convert to it. No operation requires
 * them.
 * @{
 */

/** What an operation returns; the header of each says which of them, and why. */
enum zar_status {
  ZAR_STATUS_SUCCESS = 0,           /**< Done; also a search that found nothing, and then wrote handle 0. */
  ZAR_STATUS_CHECK_FAILED = 1,      /**< From the verifying operations: what was checked is not good. */
  ZAR_STATUS_STEP_FAILED = 37,      /**< A step failed: no handle, no text, no database, the engine refused. */
  ZAR_STATUS_NO_MEMORY = 38,        /**< A pool or an allocation gave nothing. */
  ZAR_STATUS_INVALID_ARGUMENT = 39, /**< NULL, out of range, unresolvable, duplicate, claimed, still referenced. */
  ZAR_STATUS_NOTHING_FOUND = 40,    /**< Nothing (more) to find among parameter-maps. */
  ZAR_STATUS_TREE_FAILED = 41,      /**< A tree refused an insertion, a deletion, a search or a walk. */
};

/** The domain type of a map, in zar_map_info and in the records. */
enum zar_domain_type {
  ZAR_DOMAIN_CONTROL = 1, /**< CONTROL: the type of policy-maps that hold events. */
  ZAR_DOMAIN_OTHER = 2,   /**< The other type. */
};

/** How the filters of a class-map decide. */
enum zar_class_criteria {
  ZAR_CLASS_MATCH_ALL = 1,  /**< All filters match. */
  ZAR_CLASS_MATCH_ANY = 2,  /**< At least one filter matches. */
  ZAR_CLASS_MATCH_NONE = 3, /**< No filter matches. */
};

/** Which rules of an event run. */
enum zar_event_criteria {
  ZAR_EVENT_MATCH_ALL = 1,   /**< Every rule whose class-map matches. */
  ZAR_EVENT_MATCH_FIRST = 2, /**< The first rule whose class-map matches. */
};

/** How the actions of a rule run. */
enum zar_exec_criteria {
  ZAR_EXEC_RUN_ALL = 1,         /**< All of them. */
  ZAR_EXEC_STOP_ON_FAILURE = 2, /**< Up to the first that fails; the default. */
  ZAR_EXEC_STOP_ON_SUCCESS = 3, /**< Up to the first that succeeds. */
};

/**
 * Returns a short text for a status, for messages and logs. The function is compiled into the caller.
 *
 * @param status  Any number.
 *
 * @return The text, "unknown status" for a number that no operation returns; it lives as long as the program.
 */
static inline const char *zar_status_text(uint32_t status) {
  switch (status) {
    case ZAR_STATUS_SUCCESS:
      return "success";
    case ZAR_STATUS_CHECK_FAILED:
      return "a check failed";
    case ZAR_STATUS_STEP_FAILED:
      return "a step failed";
    case ZAR_STATUS_NO_MEMORY:
      return "out of memory";
    case ZAR_STATUS_INVALID_ARGUMENT:
      return "invalid argument";
    case ZAR_STATUS_NOTHING_FOUND:
      return "nothing found";
    case ZAR_STATUS_TREE_FAILED:
      return "refused by a tree";
    default:
      return "unknown status";
  }
}

/** @} */

#endif
