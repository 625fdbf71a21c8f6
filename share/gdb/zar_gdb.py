"""Commands and pretty-printers for gdb: what a policy rule repository holds, in a live process or in a core file.

They only read memory and never call a function of the program, so a core file is enough and a damaged process comes to
no further harm. They need the debug information of libzar.so.1, for its types.

How records are linked into queues, how texts are interned and how handles find their records is a matter of the
platform runtime. This module knows the runtime that is installed with the library. For another one, derive a class from
Platform, override what differs, and assign an instance to zar_gdb.platform in a file that gdb sources.
"""
import gdb

CONTROL = 1

DOMAIN_TYPES = {1: 'control', 2: 'other'}
CLASS_CRITERIA = {1: 'match-all', 2: 'match-any', 3: 'match-none'}
EVENT_CRITERIA = {1: 'match-all', 2: 'match-first'}
EXEC_CRITERIA = {1: 'run-all', 2: 'stop-on-failure', 3: 'stop-on-success'}


# ---- Types and memory ----


def read_type(name):
    try:
        return gdb.lookup_type(name)
    except gdb.error:
        raise gdb.GdbError(f'zar: the type {name} is unknown, since libzar.so.1 has no debug information here: install '
                           'libzar1-dbgsym, or name its folder with "set debug-file-directory"') from None


def as_record(address, name):
    """The record of the given type at an address."""
    return gdb.Value(int(address)).cast(read_type(name).pointer()).dereference()


def address_of(record):
    return int(record.address)


def read_word(address):
    data = gdb.selected_inferior().read_memory(address, 8)
    return int.from_bytes(bytes(data), 'little')


def read_text(address):
    """The text that ends with a NUL at an address."""
    return gdb.Value(address).cast(gdb.lookup_type('char').pointer()).string(errors='backslashreplace')


def variable(name, type_name):
    """A variable that the library exports. Its symbol is enough; its type is given here."""
    try:
        address = int(gdb.parse_and_eval(f'(unsigned long)&{name}'))
    except gdb.error:
        raise gdb.GdbError(f'zar: {name} is unknown: the program has not loaded libzar.so.1') from None
    return gdb.Value(address).cast(read_type(type_name).pointer()).dereference()


def shown(text):
    """A text of the program, so that it stays in its line."""
    return ''.join(c if c.isprintable() else f'\\x{ord(c):02x}' for c in text)


# ---- The platform runtime ----


class Platform:
    """The runtime that is installed with the library; what differs in another one is to be overridden."""

    # The low bits of a word in a queue: the address of a cell that points to the element; the end of the queue.
    CELL, END = 1, 2

    def elements(self, queue):
        """The addresses of the elements of a queue_head, in order."""
        word = int(queue['head'])
        for _ in range(int(queue['count'])):
            if word in (0, self.END):
                raise gdb.GdbError('zar: a queue ends before its last element: it is damaged, or the runtime links '
                                   'queues in its own way (see zar_gdb.Platform)')
            if word & self.CELL:
                cell = word - self.CELL
                element, word = read_word(cell), read_word(cell + 8)
            else:
                element, word = word, read_word(word)
            yield element

    def tree_records(self, tree):
        """The addresses of the records of an avl_tree, in order."""
        path, node, seen = [], int(tree['top']['parent']), set()
        while path or node:
            while node:
                if node in seen:
                    raise gdb.GdbError(f'zar: the tree at {address_of(tree):#x} is damaged: a node is in it twice')
                seen.add(node)
                path.append(node)
                node = int(as_record(node, 'avl_node')['left'])
            node = path.pop()
            yield node
            node = int(as_record(node, 'avl_node')['right'])

    def interned(self, reference):
        """The text behind an sdb_ref: a count and a length come before it."""
        address = int(reference)
        return read_text(address + 8) if address else None

    def record_of(self, handle):
        """The address of the record of a live handle; 0 if there is none, None if the runtime has no debug information."""
        space = static_variable('(anonymous namespace)::space')
        if space is None:
            return None
        index = handle & (1 << 18) - 1
        if not 0 < index < int(space['fresh']):
            return 0
        slot = space['slots'][index]
        return int(slot['content']) if int(slot['id']) == handle else 0

    def trace_lines(self):
        """The last trace lines, oldest first: pairs of a level and a text."""
        kept = self.kept_trace()
        capacity, n_ever = int(kept['capacity']), int(kept['n_ever'])
        for number in range(max(0, n_ever - capacity), n_ever):
            line = kept['lines'][number % capacity]
            text = read_text(int(line['text'].address))
            yield int(line['level']), text if int(line['length']) == len(text.encode()) else text + ' ...'

    def trace_counts(self):
        """How many lines of each category and subject there were, also of those that are no longer kept."""
        kept = self.kept_trace()
        for index in range(int(kept['n_counts'])):
            count = kept['counts'][index]
            topic = count['topic']
            yield (int(count['count']), read_text(int(topic['category'].address)), read_text(int(topic['subject'].address)))

    def kept_trace(self):
        kept = static_variable('runtime::kept_trace')
        if kept is None:
            raise gdb.GdbError('zar: no trace lines can be read, since the platform runtime has no debug information here: '
                               'install zar-tools-dbgsym')
        if int(kept['capacity']) == 0:
            raise gdb.GdbError('zar: the runtime keeps no trace lines; start the program with ZAR_TRACE=info and '
                               'ZAR_TRACE_KEEP=1000')
        return kept


platform = Platform()


def static_variable(name):
    """A variable that is found by debug information alone, or None. An optimised library may describe it several times,
    and not always with its place."""
    found = list(gdb.lookup_static_symbols(name)) + [gdb.lookup_global_symbol(name)]
    for symbol in found:
        value = symbol.value() if symbol else None
        if value is not None and value.address is not None:
            return value
    return None


def static_array(name):
    """The elements of such an array, or None. The array itself may be larger than gdb allows for a value."""
    array = static_variable(name)
    return array.address.cast(array.type.target().pointer()) if array is not None else None


# ---- Walks ----


def records_in(queue, name):
    for address in platform.elements(queue):
        yield as_record(address, name)


def records_of(tree, name):
    if int(tree) == 0:
        return
    for address in platform.tree_records(tree.dereference()):
        yield as_record(address, name)


def clients():
    table = variable('zar_clients_info', 'unsigned long')
    if int(table) == 0:
        raise gdb.GdbError('zar: the repository was not started: zar_init has not run')
    for index in range(int(variable('zar_current_max_clients', 'unsigned int'))):
        entry = read_word(int(table) + 8 * index)
        if entry:
            yield as_record(entry, 'zar_client_data')


def databases():
    """Each database once, with the first client that has it."""
    seen = set()
    for client in clients():
        database = int(client['database'])
        if database and database not in seen:
            seen.add(database)
            yield client, client['database'].dereference()


def interned(reference):
    """An interned text for a line."""
    try:
        text = platform.interned(reference)
    except gdb.MemoryError:
        return '(unreadable)'
    return '(none)' if text is None else shown(text)


def name_of(record):
    return interned(record['name'])


def client_title(client):
    name = int(client['name'])
    return f'client {int(client["clid"])} {shown(read_text(name)) if name else "(no name)"}'


# ---- What every kind of record is called in a line ----


def title_of_map(kind):
    return lambda record: (f'{kind} {name_of(record)}, domain {interned(record["domain"])} '
                           f'{DOMAIN_TYPES.get(int(record["domain_type"]), "unknown")}')


def title_of_event(event):
    context = event['event_context']
    if int(context) == 0:
        return 'event being deleted'
    return (f'event {interned(context["event_name"])} '
            f'{EVENT_CRITERIA.get(int(event["match_criteria"]), "unknown")}, id {int(context["event_id"])}')


def title_of_rule(rule):
    cmap = rule['cmap']
    class_name = name_of(cmap.dereference()) if int(cmap) else '(none)'
    return f'rule {int(rule["class_num"])}, class {class_name} {EXEC_CRITERIA.get(int(rule["exec_criteria"]), "unknown")}'


def function_name(pointer):
    return pointer.format_string(symbols=True).split(' ', 1)[-1]


def title_of_action(action):
    holders = f', holders {int(action["ref_count"])}' if int(action['ref_count']) > 1 else ''
    return (f'action {int(action["action_num"])} {function_name(action["action_entry_fn"])}, data '
            f'{int(action["action_data"]):#x}, precedence {int(action["precedence"])}, '
            f'executed {int(action["executed_count"])}{holders}')


def title_of_filter(record):
    return (f'filter {"no-match" if int(record["no_match"]) else "match"} {function_name(record["filter_eval_fn"])}, '
            f'data {int(record["filter_data"]):#x}, executed {int(record["exec_count"])}, hit {int(record["hit_count"])}, '
            f'missed {int(record["miss_count"])}, compared {int(record["comp_count"])}')


def title_of_target(target):
    info = target['target_info']
    return f'target {int(info["target_id"]) if int(info) else "without a record"}'


TITLES = {
    'zar_pmap': title_of_map('policy-map'),
    'zar_cmap': title_of_map('class-map'),
    'zar_pmtr_map': title_of_map('parameter-map'),
    'zar_event_tuple': title_of_event,
    'zar_class_action': title_of_rule,
    'zar_action': title_of_action,
    'zar_filter': title_of_filter,
    'zar_target': title_of_target,
    'zar_target_policy_context': lambda context: 'policy context',
}


def title(name, record):
    try:
        return f'{TITLES[name](record)}, handle {int(record["handle"]):#x}'
    except gdb.MemoryError as error:
        return f'{name} at {address_of(record):#x}: {error}'


# ---- Descriptions: lines with their depths ----


def describe_actions(queue, depth):
    for action in records_in(queue, 'zar_action'):
        yield depth, title('zar_action', action)


def describe_rules(queue, depth):
    for rule in records_in(queue, 'zar_class_action'):
        yield depth, title('zar_class_action', rule)
        yield from describe_actions(rule['actions'], depth + 1)


def describe_event(event, depth=0):
    yield depth, title('zar_event_tuple', event)
    yield from describe_rules(event['class_actions'], depth + 1)


def describe_policy(policy, depth=0):
    hidden = ', hidden' if int(policy['hidden']) else ''
    yield depth, title('zar_pmap', policy) + hidden
    if int(policy['domain_type']) == CONTROL:
        for event in records_in(policy['rule_list'], 'zar_event_tuple'):
            yield from describe_event(event, depth + 1)
    else:
        yield from describe_rules(policy['rule_list'], depth + 1)
    for reference in records_in(policy['target_refs'], 'zar_pmap_target_ref'):
        yield depth + 1, 'active on ' + title('zar_target', reference['target'].dereference())


def describe_class(class_map, depth=0):
    criteria = CLASS_CRITERIA.get(int(class_map['match_criteria']), 'unknown')
    hidden = ', hidden' if int(class_map['hidden']) else ''
    yield depth, f'{title("zar_cmap", class_map)}, {criteria}{hidden}'
    for record in records_in(class_map['filters'], 'zar_filter'):
        yield depth + 1, title('zar_filter', record)
    for reference in records_in(class_map['pmap_refs'], 'zar_cmap_pmap_ref'):
        yield depth + 1, 'used by ' + title('zar_pmap', reference['pmap'].dereference())


def describe_parameter_map(parameter_map, depth=0):
    yield depth, title('zar_pmtr_map', parameter_map)
    for statement in records_in(parameter_map['stmt_queue'], 'zar_pmtr_map_stmt'):
        yield depth + 1, f'statement {int(statement["map_index"])}, filters in {int(statement["internal_cmap"]):#x}'
        yield from describe_actions(statement['action_queue'], depth + 2)


def describe_target(target, depth=0):
    yield depth, title('zar_target', target)
    if int(target['policy_context']):
        yield depth + 1, title('zar_target_policy_context', target['policy_context'].dereference())
    for active in records_in(target['active_pmaps'], 'zar_target_pmap'):
        yield depth + 1, title('zar_pmap', active['pmap'].dereference())


def describe_rule(rule, depth=0):
    yield depth, title('zar_class_action', rule)
    yield from describe_actions(rule['actions'], depth + 1)


DESCRIPTIONS = {
    'zar_pmap': describe_policy,
    'zar_cmap': describe_class,
    'zar_pmtr_map': describe_parameter_map,
    'zar_event_tuple': describe_event,
    'zar_class_action': describe_rule,
    'zar_target': describe_target,
}


def describe(name, record):
    if name in DESCRIPTIONS:
        return DESCRIPTIONS[name](record)
    return [(0, title(name, record))]


def write(lines):
    for depth, line in lines:
        gdb.write('  ' * depth + line + '\n')


# ---- Handles ----

# The kinds as the library numbers them; it keeps the kind of each handle that it issued.
KINDS = {1: 'zar_pmap', 2: 'zar_cmap', 3: 'zar_action', 4: 'zar_filter', 5: 'zar_event_tuple', 6: 'zar_class_action',
         7: 'zar_target', 8: 'zar_target_policy_context', 9: 'zar_pmtr_map'}
ORPHAN, ENDING = 10, 11
HOMES = 1 << 16
SHARED = 0x80
PLACES = 1 << 18


def kind_of(handle):
    """The number of the kind that the library has noted for a handle; 0 if there is none."""
    handles = static_array('zar::kinds::(anonymous namespace)::handles')
    kinds = static_array('zar::kinds::(anonymous namespace)::kinds')
    places = static_array('zar::kinds::(anonymous namespace)::places')
    if handles is None or kinds is None or places is None:
        raise gdb.GdbError('zar: the kinds of the handles cannot be read, since libzar.so.1 has no debug information '
                           'here: install libzar1-dbgsym')
    home = handle & HOMES - 1
    if int(handles[home]) == handle:
        return int(kinds[home]) & ~SHARED
    if int(kinds[home]) & SHARED == 0:
        return 0
    at = (handle * 0x9e3779b9 & 0xffffffff) >> 32 - 18
    for _ in range(PLACES):
        if int(places[at]['handle']) in (0, handle):
            break
        at = (at + 1) % PLACES
    return int(places[at]['kind']) if int(places[at]['handle']) == handle else 0


def stored_records():
    """Every record that a database leads to: its type and itself. An action that rules share comes several times."""
    for _, database in databases():
        for tree, name, inner in (('pmap_tree', 'zar_pmap', in_policy), ('cmap_tree', 'zar_cmap', in_class),
                                  ('pmtr_map_tree', 'zar_pmtr_map', in_parameter_map),
                                  ('target_tree', 'zar_target', in_target)):
            for record in records_of(database[tree], name):
                yield name, record
                yield from inner(record)


def in_rules(queue):
    for rule in records_in(queue, 'zar_class_action'):
        yield 'zar_class_action', rule
        for action in records_in(rule['actions'], 'zar_action'):
            yield 'zar_action', action


def in_policy(policy):
    if int(policy['domain_type']) != CONTROL:
        yield from in_rules(policy['rule_list'])
        return
    for event in records_in(policy['rule_list'], 'zar_event_tuple'):
        yield 'zar_event_tuple', event
        yield from in_rules(event['class_actions'])


def in_class(class_map):
    for record in records_in(class_map['filters'], 'zar_filter'):
        yield 'zar_filter', record


def in_parameter_map(parameter_map):
    for statement in records_in(parameter_map['stmt_queue'], 'zar_pmtr_map_stmt'):
        for action in records_in(statement['action_queue'], 'zar_action'):
            yield 'zar_action', action


def in_target(target):
    if int(target['policy_context']):
        yield 'zar_target_policy_context', target['policy_context'].dereference()


def find_record(handle):
    """The type and the record of a handle; the record is None if it cannot be found."""
    kind = kind_of(handle)
    if kind == ORPHAN:
        raise gdb.GdbError(f'zar: handle {handle:#x} outlived its record')
    if kind == ENDING:
        raise gdb.GdbError(f'zar: the record of handle {handle:#x} is being deleted')
    if kind not in KINDS:
        raise gdb.GdbError(f'zar: handle {handle:#x} names no live record of the library')
    name = KINDS[kind]
    address = platform.record_of(handle)
    if address:
        return name, as_record(address, name)
    for stored, record in stored_records():
        if stored == name and int(record['handle']) == handle:
            return name, record
    return name, None


# ---- Commands ----


def argument_handle(argument, usage):
    words = gdb.string_to_argv(argument)
    if len(words) != 1:
        raise gdb.GdbError(f'usage: {usage}')
    try:
        return int(gdb.parse_and_eval(words[0])) & 0xffffffff
    except (gdb.error, ValueError):
        raise gdb.GdbError(f'zar: "{words[0]}" is no handle; it is a number, such as 0x2') from None


class Command(gdb.Command):
    """A sub-command of zar that needs a program, live or dead."""

    def __init__(self, name):
        super().__init__(name, gdb.COMMAND_DATA)

    def invoke(self, argument, from_tty):
        if gdb.selected_inferior().pid == 0:
            raise gdb.GdbError('zar: no program is running, and no core file is loaded')
        try:
            self.run(argument)
        except gdb.MemoryError as error:
            raise gdb.GdbError(f'zar: the memory of the repository is damaged or not in the core file: {error}') from None


class Zar(gdb.Command):
    """What the policy rule repository of this program holds; works on core files too."""

    def __init__(self):
        super().__init__('zar', gdb.COMMAND_DATA, prefix=True)


class Policies(Command):
    """List the policy-maps of all databases.

Usage: zar policies"""

    def run(self, argument):
        if argument.strip():
            raise gdb.GdbError('usage: zar policies')
        for client, database in databases():
            write([(0, f'database of {client_title(client)}')])
            for policy in records_of(database['pmap_tree'], 'zar_pmap'):
                write([(1, f'{title("zar_pmap", policy)}, active on targets: {int(policy["target_refs"]["count"])}')])


class Policy(Command):
    """Show the policy-maps of a name, with their events, rules, actions and targets.

Usage: zar policy NAME"""

    def run(self, argument):
        words = gdb.string_to_argv(argument)
        if len(words) != 1:
            raise gdb.GdbError('usage: zar policy NAME')
        found = False
        for _, database in databases():
            for policy in records_of(database['pmap_tree'], 'zar_pmap'):
                if name_of(policy) == words[0]:
                    found = True
                    write(describe_policy(policy))
        if not found:
            raise gdb.GdbError(f'zar: no database has a policy-map {words[0]}; "zar policies" lists them')


class Target(Command):
    """Show a target and the policy-maps that are active on it.

Usage: zar target HANDLE"""

    def run(self, argument):
        handle = argument_handle(argument, 'zar target HANDLE')
        name, record = find_record(handle)
        if name != 'zar_target':
            raise gdb.GdbError(f'zar: handle {handle:#x} names a {name}, not a target; try "zar handle {handle:#x}"')
        show_record(handle, name, record)


class Handle(Command):
    """Show the record that a handle names.

Usage: zar handle HANDLE"""

    def run(self, argument):
        handle = argument_handle(argument, 'zar handle HANDLE')
        show_record(handle, *find_record(handle))


def show_record(handle, name, record):
    if record is None:
        raise gdb.GdbError(f'zar: handle {handle:#x} names a {name} that is in no database, and the id table cannot be '
                           'read, since the platform runtime has no debug information here')
    write(describe(name, record))
    write([(0, f'({name} *) {address_of(record):#x}')])


class Trace(Command):
    """Show the last lines of the trace that the platform runtime keeps in memory, or how many there were of each subject.

Usage: zar trace [counts]"""

    def run(self, argument):
        words = gdb.string_to_argv(argument)
        if words == ['counts']:
            for count, category, subject in platform.trace_counts():
                write([(0, f'{count:8} {shown(category):4} {shown(subject)}')])
        elif not words:
            for level, text in platform.trace_lines():
                write([(0, f'{level} {shown(text)}')])
        else:
            raise gdb.GdbError('usage: zar trace [counts]')


# ---- Pretty-printers ----


class RecordPrinter:
    """A record: a line about it, and its fields."""

    def __init__(self, name, value):
        self.name, self.value = name, value

    def to_string(self):
        return title(self.name, self.value)

    def children(self):
        return [(field.name, self.value[field.name]) for field in self.value.type.strip_typedefs().fields()]


class QueuePrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        return f'queue of {int(self.value["count"])}'


class TextPrinter:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        return platform.interned(self.value)

    def display_hint(self):
        return 'string'


def find_printer(value):
    if value.type.code == gdb.TYPE_CODE_TYPEDEF and value.type.name == 'sdb_ref':
        return TextPrinter(value)
    name = value.type.strip_typedefs().name
    if name == 'queue_head':
        return QueuePrinter(value)
    return RecordPrinter(name, value) if name in TITLES else None


find_printer.name = 'zar'


def register():
    Zar()
    for command in (Policies, Policy, Target, Handle, Trace):
        command(f'zar {command.__name__.lower()}')
    if find_printer not in gdb.pretty_printers:
        gdb.pretty_printers.append(find_printer)


register()
