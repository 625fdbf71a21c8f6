#!/usr/bin/env python3
"""Checks that the tests reach every region, both ways of every branch, and every condition of every decision.

  check_coverage.py EXPORT UNREACHED

EXPORT is the output of 'llvm-cov export'. UNREACHED lists what cannot be reached, one entry per line: file, the source
line's text, what is not reached, and why, separated by bars. Code that is neither reached nor listed is an error; so is
code that is listed and reached. A template counts as reached if one of its instances is.
"""
import argparse
import collections
import json
import pathlib
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
FOLDERS = ('core/', 'objects/', 'compose/', 'lifecycle/', 'present/', 'pmtr/')
CODE, EXPANSION = 0, 1


class Source:
    def __init__(self):
        self.lines = {}

    def text(self, path, line):
        if path not in self.lines:
            self.lines[path] = (ROOT / path).read_text().split('\n')
        return self.lines[path][line - 1].strip()


def relative(path):
    for folder in FOLDERS:
        at = path.rfind('/' + folder)
        if at >= 0:
            return path[at + 1:]
    return None


class Sites:
    """Where the code of a function is in its file: the expansion of a macro is where the macro is used."""

    def __init__(self, function):
        self.path = relative(function['filenames'][0])
        self.used_at = {}
        for line, column, _, _, _, file, expanded, kind in function['regions']:
            if kind == EXPANSION:
                self.used_at[expanded] = (file, line, column)

    def find(self, file, line, column):
        inner = ()
        while file in self.used_at:
            inner += (line, column)
            file, line, column = self.used_at[file]
        return self.path, line, column, inner


def read_counts(export):
    regions, branches, conditions = (collections.defaultdict(collections.Counter) for _ in range(3))
    for function in export['data'][0]['functions']:
        sites = Sites(function)
        if sites.path is None:
            continue
        for line, column, _, _, count, file, _, kind in function['regions']:
            if kind == CODE:
                regions[sites.find(file, line, column)]['never run'] += count
        for line, column, _, _, true, false, file, _, _ in function['branches']:
            branches[sites.find(file, line, column)]['never true'] += true
            branches[sites.find(file, line, column)]['never false'] += false
        for line, column, *_, file, _, _, shown in function['mcdc_records']:
            for number, is_shown in enumerate(shown, 1):
                conditions[sites.find(file, line, column)][f'condition {number} decides nothing'] += is_shown
    return {'regions': regions, 'branch outcomes': branches, 'conditions': conditions}


def read_list(path):
    listed = {}
    for line in path.read_text().split('\n'):
        if line and not line.startswith('#'):
            file, text, what, reason = (part.strip() for part in line.split(' ¦ '))
            listed[(file, text, what)] = reason
    return listed


def report(counts):
    unreached = collections.defaultdict(list)
    source = Source()
    for kind, sites in counts.items():
        total = sum(len(outcomes) for outcomes in sites.values())
        missed = 0
        for (path, line, _, _), outcomes in sites.items():
            for what, count in outcomes.items():
                if count == 0:
                    missed += 1
                    unreached[(path, source.text(path, line), what)].append(line)
        print(f'{kind}: {total - missed} of {total} reached')
    return unreached


def main():
    parser = argparse.ArgumentParser(description=__doc__.split('\n')[0])
    parser.add_argument('export', type=pathlib.Path)
    parser.add_argument('unreached', type=pathlib.Path)
    options = parser.parse_args()

    unreached = report(read_counts(json.loads(options.export.read_text())))
    listed = read_list(options.unreached)
    faults = [f'{path}:{line}: {what}: {text}' for (path, text, what), lines in sorted(unreached.items())
              if (path, text, what) not in listed for line in lines]
    faults += [f'{options.unreached}: is reached now: {" ¦ ".join(key)}' for key in listed if key not in unreached]
    print(f'{len(listed)} listed as out of reach')
    if faults:
        sys.exit('\n'.join(faults))


if __name__ == '__main__':
    main()
