#!/usr/bin/env python3
"""Writes docs/messages.md: every trace message of the library, with the operations that give it and the condition.

The sources are the only input. Calls are followed from each exported operation through internal functions and
templates, up to the next exported operation; a text k... of a description counts for the operations that use a template
with it.

The condition is the test that guards a message: the nearest 'if' around it, or else the test before it that leaves the
function; for a message in a function argument, the test around the call of that argument; for a message that nothing
guards, the test around the call of its function. A rule of Words puts it into words, or the phrase for its text in
message_conditions.py does. A test without either is an error, and so is an unused phrase: a change that adds or changes
a message must say when it is traced.

  list_messages.py            writes docs/messages.md
  list_messages.py --check    fails if docs/messages.md differs from what it would write
  list_messages.py --formats  prints only the formats, one per line, as in the sources
"""
import argparse
import collections
import re
import sys

sys.dont_write_bytecode = True

from message_conditions import PHRASES, RECORDS, SEARCHES
from read_sources import FOLDERS, ROOT, TRACES, Library

DOCUMENT = ROOT / 'docs' / 'messages.md'

# ---- Conditions in words

MEMORY = re.compile(r'\.take|\ballocate\w*<|of_size\(|copy_of\(|bstrdup_named\(')
RESOLVE = re.compile(r'(?:require|resolve)\w*(?:<([\w:]+)>)?\(')
CALL = re.compile(r'[\w:.>-]+(?:<[\w:]+>)?\(')
DONE = 'nothing was wrong up to here'


class Words:
    """Puts a guard into words; None if it cannot."""

    used = set()  # entries of PHRASES: (function, test, whether it holds)

    def __init__(self, library, function, bindings):
        self.library, self.function, self.bindings = library, function, bindings
        self.start = ''  # the origin of the variable in a test
        self.parameters = {name: type_name for type_name, name in function.parameters}

    def of(self, guard, level):
        kind = guard[0]
        if kind == 'lambda':
            return self.of_argument(*guard[1:])
        if kind in ('for', 'while'):
            return self.listed(guard[1], True) or self.of_walk(guard[1])
        self.start = guard[2]
        said = self.of_test(guard[1], kind in ('if', 'always'))
        return DONE if said is None and kind == 'past' and level == TRACES['TRACE_INFO'] else said

    def listed(self, test, holds):
        phrases = PHRASES.get(self.function.name, {}).get(test)
        if not phrases:
            return None
        self.used.add((self.function.name, test, holds))
        return phrases[0 if holds else 1]

    def of_walk(self, test):
        match = re.search(r'<([\w:]+)>\(', test)
        return f'for each {RECORDS[match[1]]}' if match and match[1] in RECORDS else None

    def of_argument(self, callee, position):
        """When a function calls its argument."""
        if callee == '=':
            return self.listed(position, True)
        for helper in self.library.functions[callee]:
            name, words = helper.parameters[position][1], Words(self.library, helper, {})
            guards = [call.guards for call in helper.calls if call.name == name]
            said = words.listed(name, True) or (guards and guards[0] and words.of(guards[0][-1], 0))
            if said:
                return said
        return None

    def of_test(self, test, holds):
        said = self.listed(test, holds)
        if said or re.search(r'&&|\|\|', test):
            return said
        # A status that is not 0 is a failure.
        if re.match(r'(?:uint32_t|Status) \w+ = ', test):
            holds = not holds
        test = re.sub(r'^(?:const )?\w+(?: \*)? \w+ = ', '', test)
        match = re.match(r'^(.*?) (==|!=) (kSuccess|kNo|kYes|0|Place::nowhere)$', test)
        if match and CALL.match(match[1]):
            good = (match[2] == '==') == (match[3] in ('kSuccess', 'kYes', '0'))
            return self.of_call(match[1], holds == good)
        if test.startswith('!'):
            return self.of_atom(test[1:], not holds)
        return self.of_atom(test, holds)

    def of_call(self, call, holds):
        name = re.match(r'[\w:.>-]+', call)[0]
        if 'issue' in name:
            return None if holds else 'no handle is left'
        if name in SEARCHES:
            return SEARCHES[name][0 if holds else 1]
        if '::' in name and name.split('::')[0] in self.bindings:
            owner, member = name.split('::')
            name = self.library.member(self.bindings[owner], member)[0]
        if holds:
            return f'`{name}` succeeds' if name in self.library.exported else None
        if name in self.library.exported:
            return f'`{name}` fails'
        return f"the engine's `{name}` fails" if name.startswith('kel_') else None

    def of_atom(self, atom, holds):
        if CALL.match(atom) and atom.endswith(')'):
            return self.of_call(atom, holds)
        match = re.match(r'(\w+)->(\w+)$', atom)
        if match and match[1] in self.parameters:
            return None if holds else f"'{match[2]}' of '{match[1]}' is NULL"
        return self.of_name(atom, holds) if re.match(r'\w+$', atom) else None

    def of_name(self, name, holds):
        search = re.match(r'\w+', self.start)
        if search and search[0] in SEARCHES:
            return SEARCHES[search[0]][0 if holds else 1]
        if holds:
            return None
        if MEMORY.search(self.start):
            return 'no memory is left'
        match = RESOLVE.match(self.start)
        if match:
            return f"the handle names no {RECORDS.get(self.bindings.get(match[1], match[1]), 'record')}"
        type_name = self.parameters.get(name, '')
        if name == 'place' or name.endswith('_out'):
            return 'the result place is NULL'
        return f"'{name}' is NULL" if '*' in type_name or type_name.endswith('_fn') else None


def unused_phrases():
    for function, tests in PHRASES.items():
        for test, phrases in tests.items():
            for holds, phrase in zip((True, False), phrases):
                if phrase and (function, test, holds) not in Words.used:
                    yield f'{function}: {test} ({"holds" if holds else "does not hold"})'


# ---- The document

Row = collections.namedtuple('Row', 'folder text level condition')


def read_rows(library):
    """Each message with its condition, and the operations that give it."""
    rows, faults = collections.defaultdict(set), set()
    for operation in sorted(library.exported):
        if not library.functions[operation]:
            sys.exit(f'no definition of {operation} was found')
        for message, bindings, guarded in library.reach(operation):
            text, description = library.text_of(message, bindings)
            function, guard = guarded or (library.functions[operation][0], ('always', '', ''))
            condition = Words(library, function, bindings).of(guard, message.level)
            if condition is None:
                faults.add(f'{function.source.name}: {function.name}: {guard[0]} {guard[1:]}: {text}')
            folder = description.folder if description else message.folder
            rows[Row(folder, text, message.level, condition)].add(operation)
    if faults:
        sys.exit('PHRASES in message_conditions.py has no words for:\n  ' + '\n  '.join(sorted(faults)))
    unused = list(unused_phrases())
    if unused:
        sys.exit('PHRASES in message_conditions.py has words that no message uses:\n  ' + '\n  '.join(unused))
    if library.unreached():
        sys.exit(f'no exported operation was found to give the messages at {library.unreached()}')
    return rows


FEW = 6  # operations that are listed in the row itself

INTRODUCTION = """# Trace messages

Every message that the library can trace. Level 3 is an error, level 6 information; a few messages carry the prefix of
the other level. "%s" at the beginning of a text is mostly the operation, without its prefix.

The operation is the exported one that gives the message itself. An operation that calls another exported one gives that
one's messages too. "Nothing was wrong up to here" means that all checks before the message were passed and all steps
before it done.

This page is written by `scripts/list_messages.py` from the sources, and a test compares the two.
"""


def cell(text):
    return text.replace('|', '\\|')


def sentence(text):
    return text if text.startswith('`') else text[0].upper() + text[1:]


def write_document(rows):
    shared = {}  # the operations of a row that has many, with the number under which they are listed
    parts = [INTRODUCTION]
    for folder, title in FOLDERS.items():
        parts.append(f'\n## {title}\n\n| Level | Text | Operations | Condition |\n|---|---|---|---|\n')
        chosen = [row for row in rows if row.folder == folder]
        for row in sorted(chosen, key=lambda row: (sorted(rows[row])[0] if len(rows[row]) <= FEW else '',
                                                   -row.level, row.text, row.condition)):
            names = tuple(sorted(rows[row]))
            if len(names) <= FEW:
                operations = ', '.join(f'`{name}`' for name in names)
            else:
                number = shared.setdefault(names, len(shared) + 1)
                operations = f'{len(names)} operations, [list {number}](#list-{number})'
            parts.append(f'| {row.level} | `{cell(row.text)}` | {operations} | {cell(sentence(row.condition))} |\n')
    for names, number in shared.items():
        parts.append(f'\n## List {number}\n\n' + ', '.join(f'`{name}`' for name in names) + '\n')
    return ''.join(parts)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split('\n')[0])
    parser.add_argument('--check', action='store_true', help='compare instead of writing')
    parser.add_argument('--formats', action='store_true', help='print the formats, a line each, as in the sources')
    options = parser.parse_args()

    rows = read_rows(Library())
    if options.formats:
        print('\n'.join(sorted({row.text for row in rows})))
        return
    document = write_document(rows)
    if not options.check:
        DOCUMENT.write_text(document)
    elif not DOCUMENT.exists() or DOCUMENT.read_text() != document:
        sys.exit(f'{DOCUMENT.name} is not what the sources say: run scripts/list_messages.py')


if __name__ == '__main__':
    main()
