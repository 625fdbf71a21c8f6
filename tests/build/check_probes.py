#!/usr/bin/env python3
"""Checks the static probes of a library, as its file describes them.

  check_probes.py with READELF OBJDUMP LIBRARY      each operation has a probe at its beginning and one at its end
  check_probes.py without READELF OBJDUMP LIBRARY   there are none
"""
import pathlib
import re
import subprocess
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / 'scripts'))
import list_operations

PROBE = re.compile(r'Provider: (\S+)\s+Name: (\S+)\s+Location: (0x\w+).*\s+Arguments: ?(.*)')


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def probes_of(readelf, library):
    """(name, address, the number of arguments) of each probe."""
    notes = output_of(readelf, '--notes', '--wide', library)
    for provider, name, address, arguments in PROBE.findall(notes):
        if provider != 'zar':
            sys.exit(f'the probe {name} is of the provider {provider}')
        yield name, int(address, 16), len(arguments.split())


def instructions_of(objdump, library):
    """The instruction at each address."""
    listing = output_of(objdump, '--disassemble', '--no-show-raw-insn', library)
    return {int(address, 16): text.strip() for address, text in re.findall(r'^ *([0-9a-f]+):\t(.*)$', listing, re.M)}


def expected_probes():
    """The probes that there must be, with the number of their arguments."""
    operations = list_operations.load()
    with_handle = {name for name, _ in list_operations.handle_arguments(operations)[0]}
    for name, operation in operations.items():
        yield f'{name}__begin', int(name in with_handle)
        yield f'{name}__end', int(operation.result != 'void')


def faults(found, instructions):
    expected = dict(expected_probes())
    names = {name for name, _, _ in found}
    yield from (f'there is no probe {name}' for name in sorted(set(expected) - names))
    yield from (f'the probe {name} belongs to no operation' for name in sorted(names - set(expected)))
    for name, address, n_arguments in found:
        if expected.get(name, n_arguments) != n_arguments:
            yield f'the probe {name} has {n_arguments} arguments, not {expected[name]}'
        if instructions.get(address) != 'nop':
            yield f'the probe {name} is the instruction {instructions.get(address)}'


def main():
    wanted, readelf, objdump, library = sys.argv[1:]
    found = list(probes_of(readelf, library))
    if wanted == 'without':
        sys.exit(f'{len(found)} probes in a build without probes' if found else 0)
    wrong = list(faults(found, instructions_of(objdump, library)))
    if wrong:
        sys.exit('\n'.join(wrong))
    print(f'{len(found)} probes of {len(found) // 2} operations, each an instruction that does nothing')


if __name__ == '__main__':
    main()
