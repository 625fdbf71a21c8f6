/**
 * @file
 * The policy rule repository: the whole exported interface, and what holds for all of its operations.
 */

/**
 * @page zar_conventions Conventions
 *
 * What stands here holds for every operation and is not repeated there. An operation's own comment tells, in this
 * order: its effect; its arguments; who owns what afterwards; each result with its cause; what a failure leaves behind;
 * what is not checked and so is the caller's duty; and, after "Quirk", what a caller would not expect.
 *
 * @section conv_start Order of calls
 *
 * 1. The host brings every import (platform runtime and engine) and calls zar_init() once, before anything else.
 * 2. A client that is to have a database of its own makes it with zar_create_database().
 * 3. Each client registers with zar_client_register() and receives its client id, the *clid*, from 1 up. The database
 *    of clid 1 is the default database: clients without one of their own work in it.
 * 4. A client may claim domains (zar_register_domain()) and ask to be told when a policy-map that is being deleted is
 *    taken off a target (zar_client_register_target_policy_removal_vector()).
 * 5. Clients make maps, actions, filters and events, compose them, store the maps and retrieve them by name later.
 * 6. Policy-maps are activated on targets; the engine makes a policy instance for each pair.
 * 7. Teardown runs in reverse: deactivation, stored policy-maps, then the class-maps that they used, parameter-maps,
 *    targets (taken out of their database, then deleted), and last zar_destroy_database().
 *
 * @section conv_handles Handles
 *
 * A handle is a 32-bit number that names one record. 0 is never valid. Nine kinds have handles: policy-map, class-map,
 * parameter-map, event, class-action, action, filter, target and policy context. The library issues a handle with the
 * record and ends it with the record; at most 65,536 are live at a time, over all kinds and with those that callers
 * made. The platform may issue the number of an ended handle again, though not soon.
 *
 * A handle *resolves* when it names a live record of the kind that the operation needs. All others are refused alike,
 * with the operation's own message, if it has one, after what the look-up itself has traced: for 0 a level-6 message,
 * for a released handle a level-3 one ("destroyed already"), for a live record of another kind a level-3 one ("names a
 * record of another kind"), for a number that was never issued none. A handle that a caller made with
 * zar_handle_alloc() for a record of its own has no kind and is accepted as any: the caller then answers for what the
 * record holds. zar_handle_get_context() asks for no kind.
 *
 * @section conv_status Results
 *
 * Statuses are known by number only:
 *
 * | Status | Meaning                                                                                                  |
 * |-------:|----------------------------------------------------------------------------------------------------------|
 * |      0 | success; also a search that finds nothing, which then writes handle 0                                    |
 * |      1 | the verifying operations: a check failed; zar_pmtr_map_create_action(): the action could not be put in   |
 * |     37 | a step failed: no handle, no text stored, client inactive or without database, the engine refused        |
 * |     38 | out of memory: a pool or an allocation gave nothing                                                      |
 * |     39 | invalid argument: NULL, out of range, unresolvable, duplicate, wrong type, claimed, or still referenced  |
 * |     40 | nothing (more) to find among parameter-maps: no map of that name, no statement, no text, no action       |
 * |     41 | a tree refused an insertion (an equal key is present), a deletion, a search or a walk                    |
 *
 * Some results are no statuses: the tree operations, the matching and the counting ones answer 1 for yes or done and 0
 * for no; the verifying ones answer 0 for good and 1 for bad; accessors give a value, and 0 or NULL where there is
 * none.
 *
 * Arguments are checked before anything is done. Most operations check all of them and trace each fault, so that one
 * call may trace several; some end at the first. Unless told otherwise, a call refused with 39 has changed nothing, and
 * after any other failure all that was acquired is given back. A NULL pointer of which nothing is said is refused: 39,
 * or 0, NULL or no effect, by the type of the result.
 *
 * An out place ("..._out") must not be NULL, unless stated otherwise. Success writes it; any other result leaves it
 * untouched, unless stated otherwise.
 *
 * @section conv_strings Strings
 *
 * Texts that go in end with a NUL and are copied or interned; the caller's are not needed after the call. A
 * `const char *` that comes out is not the caller's and is good as long as the record that it was asked of. A `char *`
 * that comes out (the configuration texts) belongs to the caller, who frees it with the platform's bfree_named(). The
 * argument 'caller' of some operations is a name for trace messages; NULL prints as one blank.
 *
 * @section conv_contexts Contexts and their life
 *
 * A context is the caller's description of an action or filter: an opaque data pointer and functions that work on it.
 *
 * 1. The caller fills the context; its type tells which functions may be missing.
 * 2. Creation copies the words. The context itself stays the caller's and may go after the call. The data passes to the
 *    new record; when creation fails it stays the caller's.
 * 3. While the record lives the library calls its string, compare, notification and parameter-map check functions with
 *    that data; the entry and evaluation functions are called by the engine only.
 * 4. zar_replace_old_action_hdl() and zar_replace_old_filter_hdl() free the old data through the stored free function
 *    and take the new context's data; the stored functions, the handle and the place in lists stay.
 * 5. The free function is called with (data, 0), once for each data, when a filter is deleted or an action loses its
 *    last reference; then the handle is released, then the record goes.
 * 6. A context block from the heap is freed by its maker, or by its own free function through
 *    zar_free_client_action_context() or zar_free_client_filter_context(), called with (0, block), or
 *    zar_free_client_filter_params_context(), called with (data, block). zar_pmtr_map_create_action() takes the block
 *    over and frees it like this, unless it answers 1.
 *
 * An action is made with one reference. A rule that holds it drops one when the rule goes; a caller that puts it into a
 * further rule first calls zar_increment_action(). Map infos and event contexts are only read during the call.
 *
 * @section conv_callbacks What a callback may do
 *
 * Every callback returns normally. It may call any operation of the library, and its calls may lead to callbacks in
 * their turn. It may take out, delete, add, store, activate and deactivate what it likes, but it deletes neither the
 * object that it is called for nor what holds that object: the rule, event, class-map, statement or map in which it
 * stands. A notification also leaves the target alone, the removal callback the policy-map, and a printer all that the
 * line is about.
 *
 * Whatever callbacks do within this rule, the operation that called them reads nothing that was freed, calls no
 * function for it and leaves no link to it:
 *
 * 1. An element that stands in a list from the beginning to the end of a walk is visited once. One that was taken out
 *    before its turn is not visited. One that was put in meanwhile may be visited or not; which of the two does not
 *    depend on where in memory it lies.
 * 2. A search gives no element that a compare function has taken out; it goes on to those behind it.
 * 3. An object whose contents or data are being freed is not there any more. Its handle does not resolve, except by
 *    zar_handle_get_context(), and is released last; a statement is not found. So nothing can delete it again, add it
 *    to something, or read it.
 * 4. A target that is being deleted resolves until its policy-maps are deactivated, but is not deleted again.
 * 5. What a handler activates on a target while all is deactivated there stays active.
 * 6. A policy-map that the removal callback stores again is in no tree when the deletion returns.
 *
 * @section conv_trace Trace
 *
 * All messages go to the platform's trace under the engine's module: level 3 carries errors, level 6 information; a few
 * texts stand under the other level. Most messages name the operation, without its prefix; a blank stands where there
 * is no name.
 *
 * @section conv_threads Threads and memory
 *
 * There are no threads and no locks: all state is global, and every call comes from the host's one calling thread.
 *
 * All memory comes from the imports: records from one pool for each kind (made on first use, tried again by the next
 * call when that fails, never destroyed), names from the string database, everything else from the named allocation.
 *
 * @section conv_keys Name keys
 *
 * A map is stored under its name key NAME:DOMAIN:TYPE, the type in decimal, cut at 99 characters: maps whose keys
 * differ only behind the cut share a key. The trees do not compare keys to their ends: in the policy-map tree two keys
 * are equal when one begins with the other. In the class-map and parameter-map trees a key equals a stored one that it
 * begins with, while a key shorter than the stored one does not. So a map can be refused, or found, on account of a
 * neighbour; which of several it is depends on the shape of the tree. None of this shows while no name or domain
 * contains a colon and no key is cut.
 *
 * @section conv_queues Lists
 *
 * The lists in the records are platform queues that only the repository changes. A caller that walks one with a cursor
 * may take out and free an element only once the next one has been fetched; additions do not disturb a cursor. An
 * element may stand in several queues, and several times in one. Removal takes the first place, and does nothing where
 * the element is absent. What is put behind an element that stands in the list several times comes behind its first
 * place.
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
#include "zar/types.h"
#include "zar/version.h"

#endif
