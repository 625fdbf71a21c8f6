"""The conditions of trace messages in words, where list_messages.py cannot derive them from the sources.

PHRASES gives, for a function and the text of a test in it, the condition of a message if the test holds and if it does
not; None if no message depends on it. A test that guards a message and has neither an entry here nor a rule is an
error, and so is an entry that no message uses.
"""

# What a record is called.
RECORDS = {
    'zar_pmap': 'policy-map', 'zar_cmap': 'class-map', 'zar_action': 'action', 'zar_filter': 'filter',
    'zar_event_tuple': 'event', 'zar_class_action': 'class-action', 'zar_target': 'target',
    'zar_pmtr_map': 'parameter-map', 'zar_pmtr_map_stmt': 'statement',
}

# Functions that search for something: the phrases for finding it and for not finding it.
SEARCHES = {
    'find_event': ('the policy-map has an event with this id', 'the policy-map has no event with this id'),
    'find_rule': ('the event has a class-action for this class-map',
                  'the event has no class-action for this class-map'),
    'find_statement': ('a statement has this map-index', 'no statement has this map-index'),
    'find_cmap': ('the policy-map refers to the class-map already', 'the policy-map does not refer to the class-map'),
    'find_pmap': ('the class-map refers to the policy-map already', 'the class-map does not refer to the policy-map'),
    'find_claim': ('a client has claimed the domain', 'no client has claimed the domain'),
    'find_active': ('the policy-map is active on the target already', 'the policy-map is not active on the target'),
    'insert_after_handle': (None, 'the reference is not in the list'),
    'insert_before_handle': (None, 'the reference is not in the list'),
    'take_first': ('for each one', None),
}

NULL_TREE = 'the database or its tree is missing'
NOT_CONTROL = 'the policy-map is not CONTROL'
NO_EVENT_CONTEXT = 'the event has no event context'
NO_EVENT_GIVEN = 'the policy-map is CONTROL and no event is given'

PHRASES = {
    # Repository core
    'zar_handle_get_context': {
        'handle == 0': ('the handle is 0', None),
        'status == kDeleted': ('the handle was released', None),
        'status == kLive': ('the handle is live and has no record; it is released', None),
    },
    'issue_handle': {
        'live_count >= uint32_t { limit_units } << 16 || !kinds::has_room()':
            ('65,536 handles are live, or the table of kinds is full', None),
    },
    'of_another_kind': {
        'kind == Kind::ending':
            ('the record behind the handle is being freed',
             'the record behind the handle is of another kind, or no map'),
    },
    'has_target_info': {'target.target_info': (None, 'the target has lost its target information')},
    'require_control_pmap': {'!pmap || pmap->domain_type == kControl': (None, NOT_CONTROL)},
    'register_new': {'!entry': ('no memory is left', 'the client table is full')},
    'zar_client_register': {
        '!zar_clients_info': ('there is no client table', None),
        '!clients.ready()': ('the pool cannot be made', 'the arguments are good'),
        'zar_clients_info[index]->status == kActive':
            ('an active client has this name', 'an inactive client has this name; it becomes active'),
    },
    'zar_verify_client_id': {'in_range(clid)': (None, 'the clid is out of range')},
    'zar_verify_client_active': {
        '!entry': ('the client table has no entry for the clid', None),
        'entry->status != kActive': ('the client is inactive', None),
    },
    'zar_get_client_database_handle': {
        'own': ('the client has a database of its own', None),
        '!*out': ('neither the client nor the first client has a database',
                  'the client has no database; that of the first client is used'),
    },
    'zar_display_clients': {
        '': ('always', None),
        '!entry': (None, 'for each client'),
    },
    'zar_get_next_client_with_database': {'!entry || !entry->database': (None, 'a client with a database follows')},
    'zar_init': {'!zar_clients_info': ('no memory is left', None)},
    'make_tree': {'i_avl_tree_init(place, compare, free_node)': (None, 'the platform cannot make the tree')},
    'zar_create_database': {'!databases.ready()': ('the pool cannot be made', None)},
    'zar_register_domain': {'!entry->domain': ('no memory is left', 'nothing was wrong up to here')},
    'compare_keys': {
        'traced(kTraceInfo)': ('for each node of the tree that a search passes', None),
    },
    'trace_keys': {
        'nascent && tree': ('for each node of the tree that a search passes, when both records are there', None),
    },
    'zar_target_compare_int': {
        'traced(kTraceInfo)': ('for each node of the tree that a search passes', None),
        '!nascent || !tree': ('a record is missing', None),
    },
    'trace_targets': {
        '!nascent || !tree': (None, 'both records are there'),
        'nascent->handle == tree->handle': ('the handles are equal', None),
    },
    'insert': {
        '!tree || !record': (NULL_TREE + ', or the record is NULL', None),
        'stays && tree::insert(*tree, record)':
            (None, 'the tree holds an equal key, or the record already, or the record is being freed'),
    },
    'search_map': {'!tree || !probe': (NULL_TREE + ', or the key record is NULL', None)},
    'search_target': {
        '!tree || !probe || !found_out': (NULL_TREE + ', or the key record or the result place is NULL', None),
        '*found_out': (None, 'the tree does not hold the target'),
    },
    'remove': {
        '!tree || !record || !removed_out': (NULL_TREE + ', or the record or the result place is NULL', None),
        'tree::remove(*tree, record, removed_out)': (None, 'the tree does not hold the key'),
    },
    'remove_very': {'tree && !contains(*tree, record)': ('the tree does not hold this very record', None)},
    'get_first': {
        '!tree || !first_out': (NULL_TREE + ', or the result place is NULL', None),
        '!*first_out': ('the tree is empty', None),
    },
    'get_next': {
        '!tree || !current || !next_out': (NULL_TREE + ', or the record or the result place is NULL', None),
        '!*next_out': ('the record is the last', None),
    },
    'remove_all': {'!tree': (NULL_TREE, None)},

    'insert_by_number': {'announce_first': ('nothing goes before it: it is about to become the first', None)},
    'insert_before_handle': {'announce_first': ('the reference is the first: it is about to become the first', None)},

    # Policy objects
    'has_domain': {'info.domain': (None, 'the domain of the map info is NULL')},
    'has_name': {'info.map_name': (None, 'the name of the map info is NULL')},
    'has_known_type': {
        'info.domain_type >= kFirstDomainType && info.domain_type <= kLastDomainType':
            (None, 'the domain type is neither 1 nor 2'),
    },
    'valid_match_criteria': {
        'criteria >= kFirstMatchCriteria && criteria <= kLastMatchCriteria':
            (None, 'the match criteria is not from 1 to 3'),
    },
    'create_map': {
        '!draft': ('no memory is left', None),
        '!draft.intern_name(info.map_name, Kind::kNameTag)': ('the string database refuses the name', None),
        '!draft.intern_domain(info.domain)': ('the string database refuses the domain', None),
        '!draft->hash_str': ('no memory is left for the name key', 'nothing was wrong up to here'),
    },
    'store_map': {'!record': ('the handle names no map', None)},
    'retrieve_map': {'found': ('a map with this name is stored', 'no map with this name is stored')},
    'make_filter': {
        '!context->filter_str_fn || !context->filter_compare_fn':
            ("'filter_str_fn' or 'filter_compare_fn' of 'context' is NULL", None),
    },
    'zar_create_filter': {'status == kSuccess': ('the filter was created', None)},
    'zar_pmtr_create_filter': {'status == kSuccess': ('the filter was created', None)},
    'zar_create_action': {
        '!place_given': ('the result place is NULL', None),
        'zar_verify_action_context(context, kName) != kSuccess':
            ("'context' is NULL, or its 'action_free_fn' or 'action_entry_fn' is", None),
        '!context->action_str_fn || !context->action_compare_fn':
            ("'action_str_fn' or 'action_compare_fn' of 'context' is NULL", None),
    },
    'make_event': {'!context': ('no memory is left', None)},
    'intern_event_name': {
        'held.intern(context.event_name, name, kEventNameTag)': (None, 'the string database refuses the name'),
    },
    'zar_event_set_match_criteria': {
        'criteria > kMatchFirst': ('the match criteria is above 2', None),
        'criteria == 0': ('the match criteria is 0, which stands for match-all', 'the match criteria is 1 or 2'),
    },

    # Policy composition
    'find_event': {'event.event_context': (None, NO_EVENT_CONTEXT)},
    'require_event_with_context': {'!event || event->event_context': (None, NO_EVENT_CONTEXT)},
    'valid_exec_criteria': {'exec_criteria <= kLastExecCriteria': (None, 'the exec criteria is above 3')},
    'zar_add_event': {
        'event->pmap && event->pmap != pmap': ('the event belongs to another policy-map', None),
        'find_event(kName,*pmap, event_id)':
            ('the policy-map has an event with this id', 'nothing was wrong up to here'),
    },
    'zar_retrieve_class_num_in_event': {
        '!class_action_place_given(kName, class_action_out)': ('the result place is NULL', None),
        'rule': ('a class-action under the event has this number', 'no class-action under the event has this number'),
    },
    'zar_add_filter_to_class_before_filter': {
        'place == Place::nowhere': ('the reference is not in the list', 'nothing was wrong up to here'),
    },
    'zar_add_action_to_rule_before_action': {
        'place == Place::nowhere': ('the reference is not in the list', 'nothing was wrong up to here'),
    },
    'has_events': {'is_control(pmap)': (None, NOT_CONTROL)},
    'require_pmap_to_add_to': {'!pmap || !is_control(*pmap) || event': (None, NO_EVENT_GIVEN)},
    'zar_remove_action_from_stored_policy': {'!listed': ('the class-action does not list the action', None)},
    'zar_remove_class_from_policy': {
        'valid && !event': (NO_EVENT_GIVEN, None),
        '!rule': ('the event has no class-action for this class-map with this number', 'it is taken out'),
    },
    'zar_free_action': {
        '!action': (None, 'one reference is dropped'),
        'action->ref_count != 0': (None, 'the last reference is dropped'),
    },
    'zar_remove_references': {
        '--ref->ref_count == 0': (None, 'the policy-map uses the class-map elsewhere'),
    },

    # Lifecycle, targets and activation
    'delete_rules': {
        'zar_event_tuple & event : Elements<zar_event_tuple>(pmap.rule_list)':
            ('for each event, or for each class-action of a policy-map that is not CONTROL', None),
    },
    'cmap_is_referenced': {
        'cmap.pmap_refs.count == 0': (None, 'policy-maps refer to the class-map'),
        'ref.pmap': ('for each policy-map that refers to the class-map', None),
    },
    'zar_delete_stored_policy': {
        '!remove_itself(database, pmap)': ('the database does not hold this policy-map', None),
    },
    'zar_delete_stored_class': {
        '!remove_itself(database, cmap)': ('the database does not hold this class-map', 'nothing was wrong up to here'),
    },
    'zar_delete_stored_class_by_name': {'!cmap': ('no class-map with this name is stored', None)},
    'free_policy_context': {
        'context->ae_context && kel_free_all_policy_ae_context(context->ae_context) != 0':
            ("the engine's `kel_free_all_policy_ae_context` fails", None),
        '!context': (None, 'the target has a policy context'),
    },
    'activate_and_store': {
        '!database.insert(&target)': ('the target tree refuses the target', None),
    },
    'zar_add_target': {
        'status != kSuccess': (None, 'nothing was wrong up to here'),
    },
    'zar_remove_target': {'database.remove(target_handle)': (None, 'the target tree does not hold the target')},
    'unlink_both_ways': {
        'unlink_target(pmap,&target)': ('the policy-map listed the target', 'the policy-map did not list the target'),
        'unlink_pmap(target,&pmap)': ('the target listed the policy-map', 'the target did not list the policy-map'),
    },
    'zar_retrieve_policy_from_target': {
        'link': ('the policy-map is active on the target', 'the policy-map is not active on the target'),
    },
    'zar_get_first_active_policy_on_target': {
        '!link': ('no policy-map is active on the target', 'a policy-map is active on the target'),
    },
    'zar_get_next_active_policy_on_target': {
        '!found.current': ('the current policy-map is not active on the target', None),
        '!found.next': ('the current policy-map is the last', 'another policy-map follows'),
    },
    'EventOfPolicy': {'!event': ('the policy-map is CONTROL and the handle names no event', None)},
    'create_class_action_tuple': {'!rule': ('no memory is left', None)},
    'first_map': {'record': ('the tree has a first map', 'the tree is empty')},
    'map_after': {'record': ('another map follows', 'the current map is the last')},
    'give_first': {'element': ('there is a first element', 'there are no elements')},
    'zar_get_event_class': {
        'empty': ('there are no elements', None),
        'found': ('there is a first element', None),
    },
    'give_next': {
        '!found.current': ('the current element is not in the list', 'the current element is in the list'),
        'found.next': ('another element follows', 'the current element is the last'),
    },
    'current_action_given': {'handle == 0': ('the current handle is 0', None)},
    'current_filter_given': {'handle == 0': ('the current handle is 0', None)},
    'current_event_given': {'handle == 0': ('the current handle is 0', None)},
    'current_class_action_given': {'handle == 0': ('the current handle is 0', None)},

    # Presentation and integration
    'valid_selection': {
        '!wanted.domain': ("'domain' is NULL", None),
        '!wanted.name && !wanted.all': ("'name' is NULL and not all maps are asked for", None),
    },
    'zar_get_filter_nvgen_str_internal': {'!line': ('no memory is left', None)},

    # Parameter-maps
    'zar_delete_stored_pmtr_map': {
        '!remove_itself(database, map)': ('the database does not hold this parameter-map', None),
    },
    'trace_statement_removal': {
        'removed': ('the statement was deleted', 'the statement could not be deleted'),
    },
    'trace_no_statement_record': {
        'making.names_map': ('no memory is left for a new statement',
                             'no memory is left for a statement in the place of another'),
    },
    'make_statement': {
        '!name': ('no memory is left for the domain or the name', 'nothing was wrong up to here'),
    },
    'make_hidden_class': {
        'zar_create_class(owner,&info, kMatchAll,&cmap) == kSuccess && zar_store_class(owner, cmap) == kSuccess':
            (None, 'the hidden class-map cannot be created or stored'),
    },
    'clear_filter_types': {
        'auto * cmap = resolve<zar_cmap>(cmap_handle)': (None, 'the handle names no class-map'),
    },
    'zar_add_statement_to_pmtr_map': {
        '!statement || is_ending(statement)': ('the statement is NULL, or is being freed', None),
        'place == Place::first': ('the statement becomes the first', 'the statement goes behind others'),
    },
    'zar_add_action_to_pmtr_map_rule': {
        'place == Place::first': ('the action becomes the first', 'the action goes behind others'),
    },
    'zar_pmtr_delete_filter_by_stmt': {
        '!statement || is_ending(statement)': ('the statement is NULL, or is being freed', None),
    },
    'zar_get_first_pmtr_map_index': {'statement': (None, 'the parameter-map has no statements')},
    'zar_get_next_pmtr_map_index': {
        'found.next': (None, 'no statement has the current map-index, or it is the last'),
    },
    'zar_pmtr_map_create_action': {
        'existing != 0 && zar_compare_actions(existing, context)':
            ('an equal action has this number', 'the action is to be created; whether it was or not'),
        'existing != 0': ('another action has this number', None),
    },
    'zar_pmtr_get_first_action_index': {'!action': ('the statement has no actions', None)},
    'zar_pmtr_get_next_action_index': {
        '!found.current': ('the current action is not in the statement', 'the current action is in the statement'),
        '!found.next': ('the current action is the last', 'another action follows'),
    },
    'search': {
        '!copy': ('no memory is left', None),
        'comparison == Comparison::differs': (None, 'an expression begins with the keyword'),
    },
    'kel_find_subscriber_parameter_map_by_name': {
        'status == kSuccess && *pmtr_map_out == 0':
            ('no parameter-map with this name is stored', 'it is found, or the look-up was refused'),
    },
    'kel_create_subscriber_parameter_map': {
        'status != kSuccess': ('the parameter-map cannot be created',
                               'it is created; whether it could be stored or not'),
    },
    'kel_delete_subscriber_parameter_map': {
        'status != kSuccess': ('no parameter-map with this name is found',
                                                'it is found; whether it could be deleted or not'),
    },
}
