#!/usr/bin/env python3
"""Checks that no layer of the library includes or calls what is above it.

  check_layers.py SOURCES BUILD NM OBJECT...     the folders of the project and of its build, the program that lists the
                                                 names in object files, and the library's object files
"""
import pathlib
import re
import subprocess
import sys

# From the bottom up.
LAYERS = ('core', 'objects', 'compose', 'lifecycle', 'present', 'pmtr', 'probes')
# The exceptions: (source, the name that it calls), and the reason.
CALLS_UP = {
    ('core/trees.cpp', 'zar_delete_target'): 'emptying a tree of targets deletes them',
    ('lifecycle/associations.cpp', 'zar_invoke_action_handler'): 'action handlers are notified of activations',
}


def layer_of(path):
    return LAYERS.index(path.split('/')[0])


def includes_up(sources):
    for layer in LAYERS:
        for path in sorted((sources / layer).rglob('*')):
            if path.suffix not in ('.cpp', '.h'):
                continue
            name = str(path.relative_to(sources))
            for included in re.findall(r'^#include "((?:' + '|'.join(LAYERS) + r')/[^"]+)"', path.read_text(), re.M):
                if layer_of(included) > layer_of(name):
                    yield f'{name} includes {included}'


def symbols_of(nm, object_file):
    """The names that an object file defines, and those that it imports from others. With probes, the body of an operation
    has a symbol of its own; it counts as the operation."""
    lines = subprocess.run([nm, '--extern-only', '--format=posix', object_file], check=True, capture_output=True,
                           text=True).stdout.splitlines()
    symbols = [(name.removesuffix('.body'), kind) for name, kind in (line.split()[:2] for line in lines)]
    return {name for name, kind in symbols if kind in 'TDBR'}, {name for name, kind in symbols if kind == 'U'}


def source_of(object_file, build):
    return re.sub(r'CMakeFiles/[^/]+\.dir/', '', str(pathlib.Path(object_file).relative_to(build))).removesuffix('.o')


def calls_up(build, nm, object_files):
    """(source, name, source that defines it) of each name that is taken from a higher layer."""
    symbols = {source_of(object_file, build): symbols_of(nm, object_file) for object_file in object_files}
    # What probes.cpp defines only runs the bodies.
    defined_in = {name: source for source, (defined, _) in symbols.items() if source != 'probes/probes.cpp'
                  for name in defined}
    for source, (_, taken) in sorted(symbols.items()):
        for name in sorted(taken & set(defined_in)):
            if layer_of(defined_in[name]) > layer_of(source):
                yield source, name, defined_in[name]


def main():
    sources, build, nm, *object_files = sys.argv[1:]
    found = set()
    faults = list(includes_up(pathlib.Path(sources)))
    for source, name, where in calls_up(build, nm, object_files):
        found.add((source, name))
        if (source, name) not in CALLS_UP:
            faults.append(f'{source} calls {name} of {where}')
    faults += [f'{source} no longer calls {name}: take it out of CALLS_UP' for source, name in set(CALLS_UP) - found]
    if faults:
        sys.exit('The layers of the library are, from the bottom up: ' + ', '.join(LAYERS) + '.\n' + '\n'.join(faults))
    print(f'{len(object_files)} object files call down, but for {len(found)} calls')


if __name__ == '__main__':
    main()
