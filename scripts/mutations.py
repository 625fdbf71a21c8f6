"""The mutations of a library source: one place at a time, line by line.

Conditions are negated, comparisons shifted, 'and' and 'or' exchanged, constants off by one, calls dropped, statuses and
trace levels exchanged. A mutation changes only one line. Comments and #include lines have no mutants; everything else
has.
"""
import dataclasses
import pathlib
import re

FOLDERS = ('core', 'objects', 'compose', 'lifecycle', 'present', 'pmtr')

# The replacements. Each match is a separate mutant.
EXCHANGES = [(re.compile(pattern), replacement) for pattern, replacement in [
    (r'(?<![<>=!])==(?!=)', '!='), (r'!=', '=='),
    (r'(?<= )<(?= )', '<='), (r'(?<= )>(?= )', '>='), (r'(?<= )<=(?= )', '<'), (r'(?<= )>=(?= )', '>'),
    (r'&&(?= \S)', '||'), (r'\|\|', '&&'), (r'(?<= )&=', '|='),
    (r'\+\+', '--'), (r'(?<!-)--(?!-)', '++'), (r'(?<= )\+(?= )', '-'), (r'(?<= )-(?= )', '+'),
    (r'\bkSuccess\b', 'kFailed'), (r'\bkFailed\b', 'kInvalidArgument'), (r'\bkInvalidArgument\b', 'kNoMemory'),
    (r'\bkNoMemory\b', 'kFailed'), (r'\bkNothingFound\b', 'kFailed'), (r'\bkTreeFailed\b', 'kFailed'),
    (r'\bkYes\b', 'kNo'), (r'\bkNo\b', 'kYes'), (r'\btrue\b', 'false'), (r'\bfalse\b', 'true'),
    (r'\bTRACE_ERROR\b', 'TRACE_INFO'), (r'\bTRACE_INFO\b', 'TRACE_ERROR'),
]]
NUMBER = re.compile(r'(?<![\w.%])(0x[0-9a-f]+|\d+)(?=u?[\s;,)}\]])')
CONDITION = re.compile(r'\b(if|while) (?:constexpr )?\((?=.*[^\\])')
DECLARATION = re.compile(r';|^(?:const )?(?:auto|uint32_t|zar_\w+|Status) ?[*&]?\w* =')
CALL = re.compile(r'^\s+(?:zar_|[a-z_]+(?:::|\.|->|\())[^=]*\);$')
NO_CODE = re.compile(r'^\s*(#include|//)')
# These exist only in a debug build.
CHECKS_FOLDER, CHECKS_CALL = 'core/debug/', re.compile(r'^\s*debug::')


@dataclasses.dataclass(frozen=True)
class Mutant:
    path: str
    line: int
    column: int
    before: str
    after: str
    what: str

    @property
    def name(self):
        """Its name in the ledger, unique among the mutants of the same sources."""
        return f'{self.path}:{self.line}:{self.column}: {self.what}'

    def entry(self):
        """Its name in a list of survivors. Lines move, so it has their text instead of their number."""
        return self.path, self.before.strip(), self.what

    def in_checks(self):
        """Whether it breaks code that only a debug build has."""
        return self.path.startswith(CHECKS_FOLDER) or bool(CHECKS_CALL.match(self.before))

    def __str__(self):
        return f'{self.path}:{self.line}: {self.what}: {self.before.strip()}'


def without_texts(line):
    """The line with quoted texts and comments blanked out, so that nothing in them is changed."""
    blank = lambda match: match.group(0)[0] + ' ' * (len(match.group(0)) - 2) + match.group(0)[0]
    line = re.sub(r'"(?:\\.|[^"\\])*"|\'(?:\\.|[^\'\\])\'', blank, line)
    return re.sub(r'//.*', lambda match: ' ' * len(match.group(0)), line)


def closing(line, begin):
    """Where the bracket that opens at 'begin' closes, or None if it closes on another line."""
    depth = 0
    for at in range(begin, len(line)):
        depth += {'(': 1, ')': -1}.get(line[at], 0)
        if depth == 0:
            return at
    return None


def exchanged(line, code):
    for pattern, replacement in EXCHANGES:
        for match in pattern.finditer(code):
            yield (match.start(), line[:match.start()] + replacement + line[match.end():],
                   f'{match.group(0)} becomes {replacement} at {match.start()}')


def off_by_one(line, code):
    for match in NUMBER.finditer(code):
        number = int(match.group(1), 0) + 1
        yield match.start(), line[:match.start()] + str(number) + line[match.end():], f'{match.group(1)} becomes {number}'


def negated(line, code):
    for match in CONDITION.finditer(code):
        begin = match.end() - 1
        end = closing(code, begin)
        inner = line[begin + 1:end] if end else ''
        if end and not DECLARATION.search(inner):
            yield (begin, line[:begin + 1] + '!(' + inner + ')' + line[end:],
                   f'the condition of {match.group(1)} is negated')


def dropped(line, code):
    if CALL.match(code) and code.count('(') == code.count(')') and not code.lstrip().startswith(('return', 'TRACE')):
        indent = re.match(r'\s*', line).group(0)
        yield len(indent), indent + ';', 'the call is dropped'


def mutants_of(root, path):
    """All mutants of a source, in the order of its lines."""
    for number, line in enumerate((root / path).read_text().split('\n'), 1):
        if NO_CODE.match(line):
            continue
        code = without_texts(line)
        for change in (exchanged, off_by_one, negated, dropped):
            for column, after, what in change(line, code):
                yield Mutant(path, number, column, line, after, what)


def sources_of(root):
    """The sources of the library by name, including the checks of a debug build."""
    return sorted(str(path.relative_to(root)) for folder in FOLDERS for path in pathlib.Path(root, folder).rglob('*')
                  if path.suffix in ('.cpp', '.h'))


def mutant_text(text, mutant):
    """The text of the source with the mutant in it."""
    lines = text.split('\n')
    lines[mutant.line - 1] = mutant.after
    return '\n'.join(lines)


def read_survivors(path):
    """A list of survivors: what was broken, by entry, and why it survives."""
    lines = path.read_text().split('\n') if path.exists() else []
    entries = {}
    for line in lines:
        if line and not line.startswith('#'):
            *entry, reason = (part.strip() for part in line.split(' ¦ '))
            entries[tuple(entry)] = reason
    return entries
