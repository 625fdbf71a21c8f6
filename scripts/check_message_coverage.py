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

from list_messages import read_messages


def main():
    parser = argparse.ArgumentParser(description=__doc__.split('\n')[0])
    parser.add_argument('file', type=pathlib.Path)
    parser.add_argument('--start', action='store_true', help='empty the file')
    options = parser.parse_args()
    if options.start:
        options.file.write_text('')
        return

    produced = set(options.file.read_text().split('\n'))
    messages = list(read_messages())
    texts = {message.text for message in messages}
    print(f'{len(texts & produced)} of {len(texts)} message texts were produced')
    missing = [message for message in messages if message.text not in produced]
    if missing:
        sys.exit('no test produced:\n' + '\n'.join(f'  {message.text}    ({message.file}, {message.sender})'
                                                   for message in missing))


if __name__ == '__main__':
    main()
