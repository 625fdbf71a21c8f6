/**
 * @file
 * The policy rule repository: the whole exported interface, and what holds for all of its operations.
 */

/**
 * @page zar_conventions Conventions
 *
 * These conventions apply to every operation and are not repeated elsewhere. An operation's own comment describes, in
 * this order: its effect; its arguments; who owns what afterwards; each result with its cause; what a failure leaves
 * behind; what is not checked and is therefore the caller's duty; and, after "Quirk", what a caller would not expect.
 *
 * @section conv_start Order of calls
 *
 * 1. The host provides every import (platform runtime and engine) and calls zar_init() once, before anything else.
 * 2. A client that wants a database of its own creates it with zar_create_database().
 * 3. Each client registers with zar_client_register() and receives its client id, the *clid*, from 1 up. The database
 *    of clid 1 is the default database: clients without one of their own work in it.
 * 4. A client may claim domains (zar_register_domain()) and ask to be notified when a policy-map that is being deleted
 *    is removed from a target (zar_client_register_target_policy_removal_vector()).
 * 5. Clients create maps, actions, filters and events, compose them, store the maps, and retrieve them by name later.
 * 6. Policy-maps are activated on targets; the engine creates a policy instance for each pair.
 * 7. Teardown runs in reverse: deactivation, stored policy-maps, then the class-maps that they used, parameter-maps,
 *    targets (removed from their database, then deleted), and finally zar_destroy_database().
 *
 * @section conv_handles Handles
 *
 * A handle is a 32-bit number that names one record. 0 is never valid. Nine kinds have handles: policy-map, class-map,
 * parameter-map, event, class-action, action, filter, target and policy context. The library issues a handle with the
 * record and releases it with the record; at most 65,536 are live at a time, counting all kinds and the handles that
 * callers made. The platform may issue the number of a released handle again, though not soon.
 *
 * A handle *resolves* when it names a live record of the kind that the operation needs. All others are refused in the
 * same way. First the look-up itself traces: a level-6 message for 0, a level-3 message for a released handle
 * ("destroyed already") and for a live record of another kind ("names a record of another kind"), and nothing for a
 * number that was never issued. Then the operation traces its own message, if it has one. A handle that a caller made
 * with zar_handle_alloc() for a record of its own has no kind and is accepted as any kind; the caller is then
 * responsible for what the record holds. zar_handle_get_context() accepts every kind.
 *
 * @section conv_status Results
 *
 * Statuses are plain numbers; zar/status.h has names and texts for them:
 *
 * | Status | Meaning                                                                                                  |
 * |-------:|----------------------------------------------------------------------------------------------------------|
 * |      0 | success; also a search that finds nothing, which then writes handle 0                                    |
 * |      1 | the verifying operations: a check failed; zar_pmtr_map_create_action(): the action could not be added    |
 * |     37 | a step failed: no handle, no text stored, client inactive or without database, the engine refused        |
 * |     38 | out of memory: a pool or an allocation gave nothing                                                      |
 * |     39 | invalid argument: NULL, out of range, unresolvable, duplicate, wrong type, claimed, or still referenced  |
 * |     40 | nothing (more) to find among parameter-maps: no map of that name, no statement, no text, no action       |
 * |     41 | a tree refused an insertion (an equal key is present), a deletion, a search or a walk                    |
 *
 * Some results are not statuses: the tree operations and the matching and counting operations return 1 for yes or done
 * and 0 for no; the verifying operations return 0 for good and 1 for bad; accessors return a value, or 0 or NULL if
 * there is none.
 *
 * Arguments are checked before anything is done. Most operations check all of them and trace each fault, so that one
 * call may trace several; some stop at the first. Unless stated otherwise, a call refused with 39 has changed nothing,
 * and after any other failure everything that was acquired is given back. Unless stated otherwise, a NULL pointer is
 * refused: with 39, 0, NULL or no effect, depending on the type of the result.
 *
 * An out place ("..._out") must not be NULL, unless stated otherwise. It is written on success and left untouched
 * otherwise, unless stated differently.
 *
 * @section conv_strings Strings
 *
 * Texts passed in end with a NUL and are copied or interned; the caller need not keep them after the call. A returned
 * `const char *` does not belong to the caller and is valid as long as the record it came from. A returned `char *`
 * (the configuration texts) belongs to the caller, who frees it with the platform's bfree_named(). The argument
 * 'caller' of some operations is a name for trace messages; NULL prints as a single space.
 *
 * @section conv_contexts Contexts and their life
 *
 * A context is the caller's description of an action or filter: an opaque data pointer and functions that work on it.
 *
 * 1. The caller fills the context; its type says which functions may be missing.
 * 2. Creation copies the words. The context itself still belongs to the caller and may be freed after the call. The
 *    data passes to the new record; if creation fails, it stays with the caller.
 * 3. While the record lives the library calls its string, compare, notification and parameter-map check functions with
 *    that data; only the engine calls the entry and evaluation functions.
 * 4. zar_replace_old_action_hdl() and zar_replace_old_filter_hdl() free the old data through the stored free function
 *    and take the new context's data; the stored functions, the handle and the position in lists stay the same.
 * 5. The free function is called with (data, 0), once for each data, when a filter is deleted or an action loses its
 *    last reference; then the handle is released, then the record is freed.
 * 6. A context block on the heap is freed by its creator, or by its own free function through
 *    zar_free_client_action_context() or zar_free_client_filter_context(), called with (0, block), or
 *    zar_free_client_filter_params_context(), called with (data, block). zar_pmtr_map_create_action() takes the block
 *    over and frees it in this way if it returns 0.
 *
 * An action is created with one reference. A rule that holds it drops one reference when the rule is deleted; a caller
 * that adds it to another rule calls zar_increment_action() first. Map infos and event contexts are only read during
 * the call.
 *
 * @section conv_callbacks What a callback may do
 *
 * Every callback must return normally. It may call any operation of the library, and these calls may lead to further
 * callbacks. It may remove, delete, add, store, activate and deactivate any object, except that it must not delete the
 * object that it is called for, nor anything that holds that object: the rule, event, class-map, statement or map that
 * contains it. In addition, a notification must not delete the target, the removal callback must not delete the
 * policy-map, and a printer must not delete anything that the line describes.
 *
 * As long as callbacks keep to this rule, the operation that called them reads nothing that was freed, calls no
 * function for it and leaves no link to it:
 *
 * 1. An element that is in a list from the beginning to the end of a walk is visited once. One that was removed before
 *    its turn is not visited. One that was added during the walk may or may not be visited; which of the two does not
 *    depend on its address.
 * 2. A search does not return an element that a compare function has removed; it continues with the elements after it.
 * 3. An object whose contents or data are being freed no longer exists for callers. Its handle does not resolve, except
 *    by zar_handle_get_context(), and is released last; a statement is not found. So nothing can delete it again, add
 *    it to anything, or read it.
 * 4. A target that is being deleted resolves until its policy-maps are deactivated, but cannot be deleted again.
 * 5. A policy-map that a handler activates on a target while all of the target's policy-maps are being deactivated
 *    stays active.
 * 6. A policy-map that the removal callback stores again is in no tree when the deletion returns.
 *
 * @section conv_trace Trace
 *
 * All messages go to the platform's trace under the engine's module: level 3 is for errors, level 6 for information; a
 * few messages use the other level. Most messages name the operation, without its prefix; a space replaces a missing
 * name.
 *
 * @section conv_threads Threads and memory
 *
 * There are no threads and no locks: all state is global, and every call must come from the same thread of the host; a
 * debug build checks it. Callbacks, services and the engine are called on that thread.
 *
 * Nothing but zar_init() and zar_handle_table_init() may be called before zar_init(). This is not checked: other
 * operations then report wrong clids or a lack of memory.
 *
 * Services, the engine and callbacks must not throw: the library is compiled without support for exceptions, and one
 * that passes through it skips its clean-up and leaves records half-linked.
 *
 * All memory comes from the imports: records from one pool for each kind (created on first use, tried again by the next
 * call if that fails, never destroyed), names from the string database, everything else from the named allocation. In
 * addition, the library has less than 3 MB of static memory, mostly for the kinds of handles, which the system provides
 * as it is used.
 *
 * @section conv_keys Name keys
 *
 * A map is stored under its name key NAME:DOMAIN:TYPE, with the type in decimal, cut at 99 characters: maps whose keys
 * differ only after the cut share a key. The trees do not compare keys to their ends: in the policy-map tree two keys
 * are equal when one begins with the other. In the class-map and parameter-map trees a key equals a stored one that it
 * begins with, while a key shorter than the stored one does not. So a map can be refused, or found, because of another
 * map with a similar key; if there are several, which one depends on the shape of the tree. None of this happens as
 * long as no name or domain contains a colon and no key is cut.
 *
 * @section conv_queues Lists
 *
 * The lists in the records are platform queues that only the repository changes. A caller that walks one with a cursor
 * may remove and free an element only after it has fetched the next one; additions do not disturb a cursor. An element
 * may be in several queues, and several times in one. Removal takes out the first occurrence, and does nothing if the
 * element is absent. Inserting after an element that is in the list several times inserts after its first occurrence.
 */
#ifndef ZAR_ZAR_H
#define ZAR_ZAR_H

#include "zar/compose.h"
#include "zar/core.h"
#include "zar/lifecycle.h"
#include "zar/objects.h"
#include "zar/pmtr.h"
#include "zar/present.h"
#include "zar/records.h"
#include "zar/status.h"
#include "zar/types.h"
#include "zar/version.h"

#endif
