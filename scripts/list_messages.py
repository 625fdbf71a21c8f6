#!/usr/bin/env python3
"""Writes docs/messages.md: every trace message of the library, with its level, its file and the operation or helper that
sends it. A message is a string that begins with "(ERR): " or "(info): ".

  list_messages.py            writes docs/messages.md
  list_messages.py --check    fails if docs/messages.md differs from what it would write
"""
import argparse
import collections
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
DOCUMENT = ROOT / 'docs' / 'messages.md'
FOLDERS = ('core', 'objects', 'compose', 'lifecycle', 'present', 'pmtr')
LEVELS = {'ERROR': 3, 'INFO': 6}

# Adjacent literals are one text, as for the compiler.
TEXT = re.compile(r'"(?:\((?:ERR|info)\): )(?:[^"\\]|\\.)+"(?:\s*"(?:[^"\\]|\\.)*")*')
# What is sent: a text or, in a template, a constant of its description.
SENT = re.compile(r'\b(?:TRACE|SEND)_(ERROR|INFO)\(\s*(?:(?:\w+::)*(k\w+)|(?="))')
CONSTANT = re.compile(r'\b(k\w+)\[\] =\s*$')
# The beginning of a description, and of a function at the margin or in a class.
DESCRIPTION = re.compile(r'^struct (\w+)', re.M)
FUNCTION = re.compile(r'^(?:  )?(?!return\b|if\b|for\b|while\b|do\b|else\b|TRACE)[A-Za-z][^;=]*?\b(\w+)\((?!.*;$)', re.M)

Message = collections.namedtuple('Message', 'file sender level text')


def levels_of(constant, sources):
    """The levels at which a constant of a description is sent."""
    return {LEVELS[level] for source in sources for level, name in SENT.findall(source) if name == constant}


def read_messages():
    sources = {path.relative_to(ROOT): path.read_text()
               for folder in FOLDERS for path in sorted((ROOT / folder).rglob('*')) if path.suffix in ('.cpp', '.h')}
    templates = [source for path, source in sources.items() if path.suffix == '.h']
    for path, source in sources.items():
        for sent in SENT.finditer(source):
            if not sent[2] and not TEXT.match(source, sent.end()):
                line = source.count('\n', 0, sent.start()) + 1
                sys.exit(f'{path}:{line}: this message does not begin with "(ERR): " or "(info): "')
        for text in TEXT.finditer(source):
            before = source[:text.start()]
            if constant := CONSTANT.search(before):
                same_folder = (other for file, other in sources.items() if file.parent == path.parent)
                levels = next(filter(None, (levels_of(constant[1], texts)
                                            for texts in ([source], same_folder, templates))), set())
            else:
                levels = {LEVELS[sent[1]] for sent in list(SENT.finditer(source, 0, text.end()))[-1:]}
            senders = (DESCRIPTION if constant else FUNCTION).findall(before)
            if len(levels) != 1 or not senders:
                sys.exit(f'{path}: found no level or no function for {text[0]}')
            yield Message(path, senders[-1], *levels, ''.join(re.findall(r'"((?:[^"\\]|\\.)*)"', text[0])))


INTRODUCTION = """# Trace messages

Every message that the library can trace. Level 3 is for errors, level 6 for information; a few messages have the prefix
of the other level. "%s" at the beginning of a text is usually the operation, without its prefix: helpers such as those of
`core/checks.cpp` send their messages for many operations. If a description holds the texts of similar operations
(`PmapTree`, for example), the description is named.

`scripts/list_messages.py` generates this page from the sources. A test compares the two, and another one fails if no test
produces a message of this page.
"""


def document_of(messages):
    by_file = collections.defaultdict(dict)
    for message in messages:
        by_file[message.file][message] = None
    parts = [INTRODUCTION]
    for file, of_file in by_file.items():
        parts.append(f'\n## {file}\n\n| Level | Text | Sent by |\n|---|---|---|\n')
        parts += [f'| {message.level} | `{message.text}` | `{message.sender}` |\n' for message in of_file]
    return ''.join(parts)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split('\n')[0])
    parser.add_argument('--check', action='store_true', help='compare instead of writing')
    document = document_of(read_messages())
    if not parser.parse_args().check:
        DOCUMENT.write_text(document)
    elif DOCUMENT.read_text() != document:
        sys.exit(f'{DOCUMENT.name} is not what the sources say: run scripts/list_messages.py')


if __name__ == '__main__':
    main()
