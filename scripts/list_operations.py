#!/usr/bin/env python3
"""Lists the exported operations: those that take handles, with the arguments in question, or all of them.

It reads the prototypes in the public headers. A handle is an unsigned 32-bit argument with the name of an object kind
or of a cursor; every other name of such an argument must be known as something else. A name in neither list is an
error, so that a new operation cannot be left out of the tests by mistake.

  list_operations.py               a line for each argument: operation and name
  list_operations.py --include F   writes F, a line ZAR_HANDLE_ARGUMENT(operation, name) for each argument
  list_operations.py --all         the names of all exported operations
  list_operations.py --probes      probes/operations.inc anew, on standard output
  list_operations.py --check       fails if that file is not what --probes writes
"""
import argparse
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent

# Arguments that name a record.
HANDLES = {
    'handle', 'pmap', 'cmap', 'action', 'filter', 'event', 'class_action', 'target', 'pmtr_map',
    'reference',     # the listed element next to which another is inserted
    'current',       # the cursor of a walk
    'current_pmap',  # the cursor of a walk
}

# Unsigned 32-bit arguments that name no record.
OTHERS = {
    'clid', 'domain_type', 'match_criteria', 'criteria', 'action_num', 'precedence', 'no_match', 'regex', 'flag_1',
    'flag_2', 'class_num', 'exec_criteria', 'argument', 'all', 'control', 'added', 'map_index', 'slot',
}

# Arguments that have the name of a handle but are none.
NOT_HANDLES = {
    ('zar_get_next_pmtr_map_index', 'current'),  # a map-index
}

# Headers of the static libraries beside the library, which exports nothing that they declare.
BESIDE = {'inspect.h'}

PROBES = ROOT / 'probes' / 'operations.inc'

PROTOTYPE = re.compile(r'(?:^|(?<=[;}]))\s*(?!typedef|static|extern)'
                       r'(?P<result>[A-Za-z_][\w \t\n]*?[\s*]+)(?P<name>(?:zar|kel)_\w+)\s*\((?P<arguments>[^()]*)\)\s*;')
DATA = re.compile(r'\bextern\s[^;()]*?\b(\w+)\s*;')
HANDLE_TYPE = re.compile(r'^uint32_t\s+(\w+)$')


def without_comments(text):
    """The text of a header without comments, preprocessor lines and macro calls on lines of their own."""
    text = re.sub(r'/\*.*?\*/', ' ', text, flags=re.S)
    text = re.sub(r'//[^\n]*', '', text)
    text = re.sub(r'^[ \t]*#(?:[^\n]*\\\n)*[^\n]*', '', text, flags=re.M)
    return re.sub(r'^[ \t]*ZAR_\w+[ \t]*$', '', text, flags=re.M)


class Operation(list):
    """The arguments of an operation, and what it returns."""

    def __init__(self, result, arguments):
        super().__init__(' '.join(argument.split()) for argument in arguments.split(','))
        self.result = ' '.join(result.split())


def read_headers(folder):
    """The operations with their arguments, and the names of the exported data."""
    operations, data = {}, set()
    for header in sorted(set(folder.glob('*.h')) - {folder / name for name in BESIDE}):
        text = without_comments(header.read_text())
        for prototype in PROTOTYPE.finditer(text):
            operations[prototype['name']] = Operation(prototype['result'], prototype['arguments'])
        data.update(DATA.findall(text))
    return operations, data


def exported_names(version_script):
    return set(re.findall(r'^\s*(\w+);', version_script.read_text(), flags=re.M))


def handle_arguments(operations):
    """(operation, argument) for each handle, and the names that are in neither list."""
    found, unknown = [], []
    for operation, arguments in sorted(operations.items()):
        for argument in arguments:
            match = HANDLE_TYPE.match(argument)
            if not match or (operation, match[1]) in NOT_HANDLES:
                continue
            if match[1] in HANDLES:
                found.append((operation, match[1]))
            elif match[1] not in OTHERS:
                unknown.append((operation, match[1]))
    return found, unknown


def probe_line(name, operation, handle):
    """The line of an operation in PROBES. The arguments after '...' are for nobody: there is no way to pass them on."""
    fixed = [argument for argument in operation if argument not in ('', 'void', '...')]
    names = ', '.join(re.search(r'\w+$', argument)[0] for argument in fixed)
    macro = 'ZAR_PROCEDURE' if operation.result == 'void' else 'ZAR_OPERATION'
    begin = ['zar', f'{name}__begin'] + ([handle] if handle else [])
    columns = [name, f'({", ".join(operation)})', f'({names})', f'({", ".join(begin)})']
    if macro == 'ZAR_OPERATION':
        columns.insert(0, operation.result)
    return f'{macro}({", ".join(columns)})\n'


def probes_text(operations):
    """The text of PROBES."""
    found, unknown = handle_arguments(operations)
    refuse(unknown)
    first = {}
    for name, argument in found:
        first.setdefault(name, argument)
    lines = [probe_line(name, operations[name], first.get(name)) for name in sorted(operations)]
    return ('// The operations that have probes: scripts/list_operations.py --probes writes this file.\n'
            '//   ZAR_OPERATION(result, name, parameters, arguments, (provider, probe[, the first handle]))\n'
            '//   ZAR_PROCEDURE(name, parameters, arguments, (provider, probe[, the first handle]))      returns nothing\n'
            + ''.join(lines))


def refuse(unknown):
    if unknown:
        sys.exit('is this a handle or not? ' + ', '.join(f'{argument} of {name}' for name, argument in unknown))


def load(root=ROOT):
    """The operations of the headers; ends the program if a prototype was missed."""
    operations, data = read_headers(root / 'include' / 'zar')
    exported = exported_names(root / 'cmake' / 'zar.map')
    missed = exported - data - set(operations)
    extra = set(operations) - exported
    if missed or extra:
        sys.exit(f'headers and version script disagree: no prototype found of {sorted(missed)}, '
                 f'not exported {sorted(extra)}')
    return operations


def main():
    parser = argparse.ArgumentParser(description=__doc__.split('\n')[0])
    parser.add_argument('--include', metavar='FILE', help='write a file to include instead')
    parser.add_argument('--all', action='store_true', help='all operations, by name alone')
    parser.add_argument('--probes', action='store_true', help='the list of operations for their probes')
    parser.add_argument('--check', action='store_true', help='whether that list is up to date')
    options = parser.parse_args()

    operations = load()
    if options.probes:
        print(probes_text(operations), end='')
        return
    if options.check:
        if PROBES.read_text() != probes_text(operations):
            sys.exit(f'{PROBES} is out of date; run: scripts/list_operations.py --probes >probes/operations.inc')
        print(f'{len(operations)} operations have probes')
        return
    if options.all:
        print('\n'.join(sorted(operations)))
        return
    found, unknown = handle_arguments(operations)
    refuse(unknown)
    if options.include:
        lines = [f'ZAR_HANDLE_ARGUMENT({operation}, {argument})\n' for operation, argument in found]
        pathlib.Path(options.include).write_text(''.join(lines))
    else:
        for operation, argument in found:
            print(operation, argument)


if __name__ == '__main__':
    main()
