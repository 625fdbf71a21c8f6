"""Reads the library's sources: functions with their calls and trace messages, templates, and descriptions.

No compiler is needed: the sources have a uniform format and use little of the language. Code that is not understood is
skipped, so users of this module must check that nothing was missed: Library.unreached() lists the messages for which no
exported operation was found.

A guard is a test on the way to a message or a call, as (kind, text, what the variable in it was made from):
  if, else       a test around it that holds, or does not
  past           a test before it that leaves the function when it holds
  true, false    a test at compile time around it
  for, while     the head of a loop around it
  lambda         it is in a function that is passed to another: (lambda, callee, position), or (lambda, =, name)
"""
import collections
import re
import sys

import list_operations

ROOT = list_operations.ROOT
FOLDERS = {
    'core': 'Repository core', 'objects': 'Policy objects', 'compose': 'Policy composition',
    'lifecycle': 'Lifecycle, targets and activation', 'present': 'Presentation and integration',
    'pmtr': 'Parameter-maps',
}
TRACES = {'TRACE_ERROR': 3, 'TRACE_INFO': 6, 'SEND_INFO': 6}

Token = collections.namedtuple('Token', 'text line')

TOKEN = re.compile(r'''
    (?P<space>\s+) | (?P<comment>//[^\n]*|/\*.*?\*/) | (?P<directive>^[ \t]*\#(?:[^\n]*\\\n)*[^\n]*) |
    (?P<token>"(?:\\.|[^"\\])*" | '(?:\\.|[^'\\])' | [A-Za-z_]\w* | [0-9][\w.]* |
              ::|->|&&|\|\||==|!=|<=|>=|\+\+|--|<<|[-+|&*/%]=|\.\.\.|.)''', re.X | re.S | re.M)


def tokens_of(text):
    tokens, line = [], 1
    for match in TOKEN.finditer(text):
        if match['token']:
            tokens.append(Token(match['token'], line))
        line += match[0].count('\n')
    return tokens


OPENING = {'(': ')', '[': ']', '{': '}'}


def past(tokens, start):
    """The index after the bracket that closes the one at 'start'."""
    opening, closing, depth = tokens[start].text, OPENING[tokens[start].text], 0
    for at in range(start, len(tokens)):
        if tokens[at].text == opening:
            depth += 1
        elif tokens[at].text == closing:
            depth -= 1
            if depth == 0:
                return at + 1
    sys.exit(f'line {tokens[start].line}: {opening} is not closed')


def past_template(tokens, start):
    """The index after the template arguments that begin at 'start', or None if '<' is the operator."""
    depth = 0
    for at in range(start, len(tokens)):
        text = tokens[at].text
        if text == '<':
            depth += 1
        elif text == '>':
            depth -= 1
            if depth == 0:
                return at + 1
        elif text == '(' or text == ')' or not re.match(r'[\w:,*&]', text):
            return None
    return None


def split_arguments(tokens):
    """The tokens between brackets, split at the commas of their own level."""
    parts, at = [[]], 0
    while at < len(tokens):
        text = tokens[at].text
        if text in OPENING:
            end = past(tokens, at)
            parts[-1] += tokens[at:end]
            at = end
        elif text == '<' and past_template(tokens, at):
            end = past_template(tokens, at)
            parts[-1] += tokens[at:end]
            at = end
        else:
            if text == ',':
                parts.append([])
            else:
                parts[-1].append(tokens[at])
            at += 1
    return [part for part in parts if part]


def source_text(tokens):
    """Tokens as a programmer would write them."""
    text = ' '.join(token.text for token in tokens)
    text = re.sub(r'\s*(::|->|\.|\+\+|--)\s*', r'\1', text)
    text = re.sub(r'\s*([(\[])\s*', r'\1', text)
    text = re.sub(r'\s*([)\],;])', r'\1', text)
    text = re.sub(r'!\s+', '!', text)
    text = re.sub(r'(\w)\s*<\s*([\w:]+)\s*>\(', r'\1<\2>(', text)
    text = re.sub(r'(^|[(,!]|&& |\|\| |return )\s*([*&])\s+', r'\1\2', text)
    return text.replace(' (', '(').replace('if(', 'if (')


class Function:
    """A function, a constructor or a member function of a description."""

    def __init__(self, name, owner, template, header, parameters, body, source):
        self.name, self.owner, self.template, self.source = name, owner, template, source
        self.parameters = [(source_text(part[:-1]), part[-1].text) if len(part) > 1 else (part[0].text, '')
                           for part in split_arguments(parameters)]
        self.namespace = ''
        self.messages, self.calls, self.types, self.initialisers = [], [], {}, {}
        for type_name, name_ in self.parameters:
            self.types[name_] = type_name
        Body(self).read(header, body)


class Message:
    def __init__(self, level, text, guards, line, folder):
        self.level, self.text, self.guards, self.line = level, text, tuple(guards), line
        self.folder = folder


class Call:
    """'qualifier' is the part before '::' or empty; 'arguments' are lists of tokens."""

    def __init__(self, name, qualifier, template, arguments, guards):
        self.name, self.qualifier, self.template, self.arguments = name, qualifier, template, arguments
        self.guards = guards


KEYWORDS = {'if', 'for', 'while', 'switch', 'return', 'sizeof', 'static_cast', 'decltype', 'catch', 'constexpr'}


class Body:
    """Reads the statements of a function: its messages and calls, each with the tests that guard it."""

    def __init__(self, function):
        self.function = function

    def read(self, initialisers, body):
        self.expression(initialisers, [])
        self.statements(body, [])

    def statements(self, tokens, guards):
        at, exits = 0, []
        while at < len(tokens):
            end, leaves = self.statement(tokens, at, guards + exits)
            if leaves:
                exits = [('past', *leaves)]
            at = end
        return exits

    def statement(self, tokens, at, guards):
        """Reads one statement; returns where the next one begins, and the test after which it leaves the function."""
        text = tokens[at].text
        if text == '{':
            end = past(tokens, at)
            self.statements(tokens[at + 1:end - 1], guards)
            return end, None
        if text == 'if':
            return self.if_statement(tokens, at, guards)
        if text in ('for', 'while'):
            end = past(tokens, at + 1)
            head = tokens[at + 2:end - 1]
            self.expression(head, guards)
            end, _ = self.statement(tokens, end, guards + [(text, source_text(head))])
            return end, None
        end = at
        while tokens[end].text != ';':
            end = past(tokens, end) if tokens[end].text in OPENING else end + 1
        self.expression(tokens[at:end], guards)
        return end + 1, None

    def if_statement(self, tokens, at, guards):
        if_kind, else_kind = 'if', 'else'
        if tokens[at + 1].text == 'constexpr':
            if_kind, else_kind = 'true', 'false'
            at += 1
        at += 1
        end = past(tokens, at)
        test = tokens[at + 1:end - 1]
        self.expression(test, guards)
        if tokens[end].text == '[':
            end = past(tokens, end)
        condition = source_text(test)
        start = self.function.initialisers.get(condition.lstrip('!'), '')
        leaves = (condition, start) if self.leaves(tokens, end) else None
        end, _ = self.statement(tokens, end, self.own(guards) + [(if_kind, condition, start)])
        if end < len(tokens) and tokens[end].text == 'else':
            end, _ = self.statement(tokens, end + 1, self.own(guards) + [(else_kind, condition, start)])
            leaves = None
        return end, leaves

    @staticmethod
    def own(guards):
        """An 'if' is more specific than a test before it."""
        return [guard for guard in guards if guard[0] != 'past']

    @staticmethod
    def leaves(tokens, at):
        if tokens[at].text != '{':
            return tokens[at].text in ('return', 'continue')
        inside = [token.text for token in tokens[at:past(tokens, at)]]
        return 'return' in inside

    def expression(self, tokens, guards):
        self.note_declaration(tokens)
        at = 0
        while at < len(tokens):
            text = tokens[at].text
            if text in TRACES and tokens[at + 1].text == '(':
                end = past(tokens, at + 1)
                arguments = split_arguments(tokens[at + 2:end - 1])
                self.message(TRACES[text], arguments[0], guards, tokens[at].line)
                for argument in arguments[1:]:
                    self.expression(argument, guards)
                at = end
            elif text == '[' and self.begins_lambda(tokens, at):
                at = self.lambda_body(tokens, at, guards + [('lambda', *self.taker(tokens, at))])
            else:
                self.call(tokens, at, guards)
                at += 1

    def note_declaration(self, tokens):
        """Types of local variables, as far as calls need them: 'Type *name = ...' and 'auto *name = f<Type>(...'."""
        text = source_text(tokens)
        match = re.match(r'(?:static )?(?:const )?[\w:]+(?: < [\w:]+ >)?[ *&]* (\w+)(?: = |\()(.*)', text)
        if match:
            self.function.initialisers[match[1]] = match[2]
        match = re.match(r'(?:const )?auto \* ?(\w+) = [\w:]+<([\w:]+)>\(', text)
        if match:
            self.function.types[match[1]] = match[2]
            return
        match = re.match(r'(?:const )?([\w:]+) \* ?(\w+) =', text)
        if match:
            self.function.types[match[2]] = match[1]

    @staticmethod
    def begins_lambda(tokens, at):
        return at > 0 and tokens[at - 1].text in ('(', ',', '=', 'return') and tokens[at + 1].text != '['

    def lambda_body(self, tokens, at, guards):
        at = past(tokens, at)
        if tokens[at].text == '(':
            at = past(tokens, at)
        while tokens[at].text != '{':
            at += 1
        end = past(tokens, at)
        self.statements(tokens[at + 1:end - 1], guards)
        return end

    @staticmethod
    def taker(tokens, at):
        """What receives a lambda: the callee and the position among its arguments, or ('=', name)."""
        if tokens[at - 1].text == '=':
            return '=', tokens[at - 2].text
        depth, position = 0, 0
        for before in range(at - 1, -1, -1):
            text = tokens[before].text
            if text in ')}]':
                depth += 1
            elif text in '({[':
                if depth == 0:
                    name = before - 1
                    if tokens[name].text == '>':
                        while tokens[name].text != '<':
                            name -= 1
                        name -= 1
                    return tokens[name].text, position
                depth -= 1
            elif text == ',' and depth == 0:
                position += 1
        return '', 0

    def message(self, level, text, guards, line):
        literal = all(token.text.startswith('"') for token in text)
        told = ''.join(token.text[1:-1] for token in text) if literal else source_text(text)
        self.function.messages.append(Message(level, told, guards, line, self.function.source.folder))

    def call(self, tokens, at, guards):
        name = tokens[at].text
        if not re.match(r'[A-Za-z_]', name) or name in KEYWORDS or at + 1 >= len(tokens):
            return
        behind, template = at + 1, []
        if tokens[behind].text == '<':
            end = past_template(tokens, behind)
            if not end or end >= len(tokens):
                return
            template = [source_text(part) for part in split_arguments(tokens[behind + 1:end - 1])]
            behind = end
        # 'Type name(...)' creates an object: the constructor is called.
        if re.match(r'[A-Za-z_]', tokens[behind].text) and behind + 1 < len(tokens) and tokens[behind + 1].text == '(':
            behind += 1
        if tokens[behind].text != '(':
            return
        qualifier = tokens[at - 2].text if at > 1 and tokens[at - 1].text == '::' else ''
        if at > 0 and tokens[at - 1].text in ('.', '->'):
            return
        arguments = split_arguments(tokens[behind + 1:past(tokens, behind) - 1])
        self.function.calls.append(Call(name, qualifier, template, arguments, guards))


class Record:
    """A struct or class: its texts, its aliases of functions and its base."""

    def __init__(self, name, base, folder):
        self.name, self.base, self.folder = name, base, folder
        self.texts, self.aliases = {}, {}


class Source:
    """Reads the declarations of one file."""

    def __init__(self, path, library):
        self.folder, self.name, self.library = path.parent.name, f'{path.parent.name}/{path.name}', library
        tokens = tokens_of(path.read_text())
        self.scope(tokens, None, '')
        traces = sum(token.text in TRACES for token in tokens)
        read = sum(len(function.messages) for functions in library.functions.values() for function in functions
                   if function.source is self)
        if traces != read:
            sys.exit(f'{self.name}: {traces} messages stand there, {read} were read')

    def scope(self, tokens, record, namespace):
        at = begin = 0
        while at < len(tokens):
            text = tokens[at].text
            if text in ('public', 'private') and tokens[at + 1].text == ':':
                at = begin = at + 2
            elif text == ';':
                self.declaration(tokens[begin:at], record)
                at = begin = at + 1
            elif text == '(':
                at = past(tokens, at)
            elif text == '{':
                end = past(tokens, at)
                if self.initialises(tokens[begin:at]):
                    at = end
                    continue
                self.block(tokens[begin:at], tokens[at + 1:end - 1], record, namespace)
                at = begin = end
                if at < len(tokens) and tokens[at].text == ';':
                    at = begin = at + 1
            else:
                at += 1

    @staticmethod
    def initialises(header):
        """Whether the brace behind 'header' begins a value: of a constant, or of a member in a constructor."""
        texts = [token.text for token in header]
        if not texts or texts[0] in ('namespace', 'struct', 'class', 'enum', 'extern') or 'template' == texts[0] and (
                'struct' in texts[3:] or 'class' in texts[texts.index('>'):]):
            return False
        if '(' not in texts:
            return True
        level = 0
        for at, text in enumerate(texts):
            level += (text == '(') - (text == ')')
            if text == '=' and level == 0:
                return True
            if text == ':' and level == 0:
                return bool(re.match(r'\w+_?$', texts[-1])) and texts[-2] in (',', ':')
        return False

    def declaration(self, tokens, record):
        texts = [token.text for token in tokens]
        if '=' not in texts:
            return
        if record and texts[0] == 'using':
            record.aliases[texts[1]] = texts[-1]
            return
        equals = texts.index('=')
        value = texts[equals + 1:]
        if texts[equals - 1] == ']' and value and all(part.startswith('"') for part in value):
            name = texts[equals - 3]
            target = record.texts if record else self.library.texts
            target[name] = ''.join(part[1:-1] for part in value)
        elif record and len(value) == 1 and value[0] in ('true', 'false'):
            record.texts[texts[equals - 1]] = value[0]
        elif record and len(value) == 1 and 'auto' in texts:
            record.aliases[texts[equals - 1]] = value[0]

    def block(self, header, body, record, namespace):
        texts = [token.text for token in header]
        if texts and texts[0] == 'namespace':
            self.scope(body, None, texts[-1] if len(texts) > 1 else namespace)
            return
        template = []
        if texts and texts[0] == 'template':
            end = past_template(header, 1)
            template = [part[-1].text for part in split_arguments(header[2:end - 1])]
            header, texts = header[end:], texts[end:]
        if texts and texts[0] in ('struct', 'class'):
            inner = Record(texts[1], texts[3] if len(texts) > 3 and texts[2] == ':' else None, self.folder)
            self.library.records[inner.name] = inner
            self.scope(body, inner, namespace)
            return
        if texts and texts[0] in ('enum', 'extern'):
            return
        opening = texts.index('(')
        closing = past(header, opening)
        function = Function(texts[opening - 1], record.name if record else '', template, header[closing:],
                            header[opening + 1:closing - 1], body, self)
        function.namespace = texts[opening - 3] if opening > 2 and texts[opening - 2] == '::' else namespace
        self.library.functions[function.name].append(function)


class Library:
    """All sources, and what the exported operations reach."""

    def __init__(self):
        self.functions = collections.defaultdict(list)
        self.records, self.texts = {}, {}
        self.reached = set()  # (source, line) of the messages that an exported operation traces
        self.exported = set(list_operations.load())
        for folder in FOLDERS:
            for path in sorted((ROOT / folder).glob('*.h')) + sorted((ROOT / folder).glob('*.cpp')):
                if path.name != 'trace.h':
                    Source(path, self)

    def unreached(self):
        """The places of messages that reach() has not met so far."""
        return sorted({(function.source.name, message.line)
                       for functions in self.functions.values() for function in functions
                       for message in function.messages} - self.reached)

    def member(self, record, name):
        """A text or an alias of a record or its bases."""
        while record:
            description = self.records.get(record)
            if not description:
                return None, None
            if name in description.texts:
                return description.texts[name], description
            if name in description.aliases:
                return description.aliases[name], description
            record = description.base
        return None, None

    def callees(self, function, call, bindings):
        """The functions that a call can mean, each with the bindings of its template parameters."""
        name, owner = call.name, ''
        if call.qualifier == 'std':
            return []
        namespaces = {other.namespace for others in self.functions.values() for other in others}
        if call.qualifier and call.qualifier not in namespaces:
            owner = bindings.get(call.qualifier, call.qualifier)
            alias, _ = self.member(owner, name)
            if alias:
                name, owner = alias, ''
        found = [other for other in self.functions.get(name, ()) if not owner or self.inherits(owner, other.owner)]
        if call.qualifier in namespaces and call.qualifier:
            found = [other for other in found if other.namespace == call.qualifier]
        elif not owner:
            found = [other for other in found if other.namespace in ('', 'zar', function.namespace)]
        if not owner:
            found = [other for other in found if not other.owner or other.owner in (name, function.owner)]
        if len(found) > 1:
            found = self.overloads(function, call, bindings, found)
        template = [self.bound(argument, bindings) for argument in call.template]
        return [(other, dict(zip(other.template, template))) for other in found]

    def inherits(self, record, owner):
        while record and record != owner:
            record = self.records[record].base if record in self.records else None
        return bool(record)

    def bound(self, text, bindings):
        """A text of the sources in which template parameters, and types that descriptions name, are replaced."""
        def described(match):
            return self.member(bindings.get(match[1], match[1]), match[2])[0] or match[0]
        text = re.sub(r'\btypename (\w+)::(\w+)', described, text)
        return re.sub(r'(?<!::)\b\w+\b(?!::)', lambda match: bindings.get(match[0], match[0]), text)

    def overloads(self, function, call, bindings, found):
        """The functions that accept the arguments of the call, by the types of records that these name."""
        given = []
        for argument in call.arguments:
            text = source_text(argument)
            given.append(self.bound(function.types.get(text, text), bindings))
        same_file = [other for other in found if other.source is function.source]
        matching = [other for other in found if len(other.parameters) == len(given) and all(
            self.fits(given[at], parameter) for at, (parameter, _) in enumerate(other.parameters))]
        if len(matching) > 1:
            matching = [other for other in matching if other in same_file] or matching
        return matching or found

    @staticmethod
    def fits(given, parameter):
        wanted = re.search(r'\bzar_\w+', parameter)
        named = re.match(r'(?:static_cast ?< ?)?(?:const )?(zar_\w+)(?! ?\()', given)
        return not wanted or not named or wanted[0] == named[1]

    def reach(self, operation):
        """The messages of an exported operation, as (message, bindings, (function, guard) for its condition)."""
        seen, found = set(), []
        todo = [(function, {}, None) for function in self.functions[operation]]
        while todo:
            function, bindings, outer = todo.pop()
            key = (id(function), tuple(sorted(bindings.items())), outer)
            if key in seen:
                continue
            seen.add(key)
            for message in function.messages:
                self.reached.add((function.source.name, message.line))
                if self.compiled(message.guards, bindings):
                    found.append((message, bindings, self.condition(function, message.guards) or outer))
            for call in function.calls:
                for callee, inner in self.callees(function, call, bindings):
                    if callee.name not in self.exported:
                        todo.append((callee, inner, self.condition(function, call.guards) or outer))
        return found

    def compiled(self, guards, bindings):
        """Whether the 'if constexpr' tests around it hold for these bindings."""
        for guard in guards:
            if guard[0] in ('true', 'false'):
                parameter, name = guard[1].split('::')
                if self.member(bindings.get(parameter, parameter), name)[0] != guard[0]:
                    return False
        return True

    def condition(self, function, guards):
        """(function, guard) of the innermost guard, or None; a local lambda is guarded where it is called."""
        guards = [guard for guard in guards if guard[0] not in ('true', 'false')]
        if not guards:
            return None
        if guards[-1][0] == 'lambda' and guards[-1][1] == '=':
            called = [call.guards for call in function.calls if call.name == guards[-1][2]]
            return self.condition(function, called[0]) if called else (function, guards[-1])
        return function, guards[-1]

    def text_of(self, message, bindings):
        """The format and the folder of the description that it is in, if any."""
        if '::' not in message.text or message.text.startswith('('):
            return message.text, None
        parameter, name = message.text.split('::')
        text, description = self.member(bindings.get(parameter, parameter), name)
        if text is None:
            sys.exit(f'no text for {message.text} with {bindings}')
        return text, description
