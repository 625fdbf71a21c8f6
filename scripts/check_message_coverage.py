#!/usr/bin/env python3
"""Checks that every trace message of the library was produced by some test.

Tests append the formats that they see to the file given by ZAR_TRACED_FORMATS, one per line, newlines as \\n.

  check_message_coverage.py FILE           fails and names the messages whose formats are not in the file
  check_message_coverage.py --start FILE   empties the file, before the tests
"""
import argparse
import pathlib
import sys

sys.dont_write_bytecode = True

from list_messages import read_rows
from read_sources import Library


def main():
    parser = argparse.ArgumentParser(description=__doc__.split('\n')[0])
    parser.add_argument('file', type=pathlib.Path)
    parser.add_argument('--start', action='store_true', help='empty the file')
    options = parser.parse_args()
    if options.start:
        options.file.write_text('')
        return

    produced = set(options.file.read_text().split('\n'))
    operations = {}
    for row, names in read_rows(Library()).items():
        operations.setdefault(row.text, set()).update(names)
    missing = sorted(set(operations) - produced)
    print(f'{len(operations) - len(missing)} of {len(operations)} message texts were produced')
    if missing:
        sys.exit('no test produced:\n' + '\n'.join(f'  {text}    ({", ".join(sorted(operations[text])[:3])})'
                                                   for text in missing))


if __name__ == '__main__':
    main()
