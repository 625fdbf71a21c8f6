/**
 * @file
 * Seeing everything that a running repository holds. The functions here are not exported by the library: they are in a
 * small static library of their own, which a program links in addition (zar-inspect, or zar::inspect).
 */
#ifndef ZAR_INSPECT_H
#define ZAR_INSPECT_H

#include <stddef.h>
#include <stdint.h>

#include "zar/status.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup zar_inspect Inspection
 * A picture of the whole repository, for the support of a running daemon: clients, domains, and in each client's
 * database the policy-maps with their events, rules and actions, the class-maps with their filters, the targets with
 * what is active on them, and the parameter-maps; all counters; and the handles in use.
 * @{
 */

/** In which form the picture is written. */
enum zar_inspect_form {
  ZAR_INSPECT_TEXT = 1, /**< For people: indented lines, each with its end. */
  ZAR_INSPECT_JSON = 2, /**< For programs: one line, in UTF-8; the schema is inspect.json in share/zar/schema. */
};

/**
 * Takes a piece of the picture. It must not call the repository.
 *
 * @param context  As passed to zar_inspect().
 * @param text     The piece, without a NUL; valid only during the call.
 * @param size     Its length in bytes, at least 1 and at most 1,024.
 *
 * @return 0 to continue; anything else ends the inspection.
 */
typedef int (*zar_inspect_write_fn)(void *context, const char *text, size_t size);

/**
 * Writes the picture, piece by piece. It changes nothing, but it calls exported operations, the platform's services
 * that walk trees and queues, and the text function of every action and filter. So it must be called on the thread of
 * the other operations, while none of them is running, and not from a signal handler. The text functions must not change
 * the repository; each text is freed with the platform's bfree_named().
 *
 * The databases are those of the registered clients. The handles are counted from what these databases hold, each
 * shared action once: records that are in no database, and handles that callers made, are not included. At most 65,536
 * handles are live at a time.
 *
 * Memory is only needed to count shared actions, four bytes for each place of one, and it is allocated with malloc().
 * An action or a filter without a text, for example because there was no memory for it, is written with "(no text)", or
 * null. A map of another kind in the tree of a kind is written with nothing but its handle.
 *
 * @param form     The form.
 * @param write    Takes the pieces; not NULL.
 * @param context  Passed to 'write'. May be NULL.
 *
 * @retval 0   Everything was written.
 * @retval 37  'write' returned something else than 0, and was not called again; or zar_init() was not called, and
 *             nothing was written.
 * @retval 38  Out of memory: nothing was written.
 * @retval 39  'form' is unknown or 'write' is NULL; nothing was written.
 */
enum zar_status zar_inspect(enum zar_inspect_form form, zar_inspect_write_fn write, void *context);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
