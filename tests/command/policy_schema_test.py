"""Compares the JSON Schema of policy files with the loader.

Usage: policy_schema_test.py ZAR SOURCE_DIR

Every good file has to be valid. A file that uses every feature is copied with one change at each place. If the loader
finds a copy malformed, the schema has to refuse it, and if the loader accepts a copy, the schema has to accept it.
"""
import copy
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

import jsonschema
import yaml


class Loader(yaml.SafeLoader):
    """Reads YAML as editors do (the core schema of YAML 1.2); keys are texts, as in JSON."""

    yaml_implicit_resolvers = {}

    def construct_mapping(self, node, deep=False):
        return {key.value: self.construct_object(value, deep=deep) for key, value in node.value}

    def construct_yaml_map(self, node):
        yield self.construct_mapping(node, deep=True)


Loader.add_constructor("tag:yaml.org,2002:map", Loader.construct_yaml_map)
Loader.add_implicit_resolver("tag:yaml.org,2002:bool", re.compile("^(true|True|TRUE|false|False|FALSE)$"), list("tTfF"))
Loader.add_implicit_resolver("tag:yaml.org,2002:null", re.compile("^(~|null|Null|NULL|)$"), ["~", "n", "N", ""])
Loader.add_implicit_resolver("tag:yaml.org,2002:int", re.compile("^[-+]?[0-9]+$"), list("-+0123456789"))
Loader.add_implicit_resolver(
    "tag:yaml.org,2002:float",
    re.compile(r"^[-+]?(\.[0-9]+|[0-9]+(\.[0-9]*)?)([eE][-+]?[0-9]+)?$"),
    list("-+0123456789."),
)
Loader.add_constructor("tag:yaml.org,2002:int", lambda loader, node: int(node.value))

# Features that no example uses, and every default both left out and written down.
EVERYTHING = """
clients: {a: {database: own}, b: {database: default}, c: }
domains: {d: {owner: a}, e: }
class-maps:
  always: {domain: d}
  every: {domain: d, match: all, filters: }
  one:
    domain: d
    match: any
    filters:
      - {attribute: x, equals: 1.5}
      - {attribute: x, prefix: "", no-match: false}
      - {attribute: 7, regex: true, no-match: "true"}
      - {attribute: y, range: {min: -9223372036854775808, max: "9223372036854775807"}}
      - {attribute: y, present: "true"}
  nobody: {domain: d, match: none, filters: []}
policy-maps:
  p:
    domain: d
    events:
      start:
        match: first
        rules:
          - {number: 255, class: one, execute: run-all, actions: [permit, {deny: }, {permit: , number: 200}]}
          - {number: "007", class: always, execute: stop-on-success, actions: }
          - number: 1
            class: every
            execute: stop-on-failure
            actions:
              - {set: {x: two words}, number: 1, precedence: 65535}
              - {clear: x}
              - {log: 1}
              - {count: n}
              - {raise: stop}
              - {apply: m}
      stop: {match: all, rules: }
  q: {domain: e, events: }
parameter-maps:
  m: {statements: [{index: 65535, filters: [{attribute: x, present: true}], actions: [deny]}]}
  empty: {statements: }
targets:
  "00:53@a": {client: a, attributes: {x: 1, y: "", z: false}, policies: [p]}
  t: {attributes: , policies: [p, q]}
scenario:
  - {event: start, target: "00:53@a", set: {x: 3}, clear: [y]}
  - {event: stop, target: t, set: , clear: }
tests:
  - {event: start, target: t, expect: {rules: }}
  - {name: 1, event: start, target: t, set: {x: 1}, clear: [], expect: {attributes: {x: , y: 1}}}
  - {event: start, target: t, expect: {verdict: none, attributes: }}
  - {event: start, target: t, expect: {log: , rules: [one, p/start/255]}}
"""

# One test of several steps, whose parts are changed too.
STEPS = """
domains: {d: }
policy-maps: {p: {events: {start: {rules: }}}}
targets: {t: {attributes: {x: 1}, policies: [p]}}
tests:
  - name: several steps
    steps:
      - {event: start, target: t, set: {x: 2}, clear: [x], expect: {attributes: {x: 2}, verdict: none}}
      - {event: start, target: t}
"""

# Bad files that no single change below produces.
BAD = [
    "[]",
    "text",
    "clients: {a:b: {}}",
    f"clients: {{{'x' * 64}: }}",
    "clients: {kel: }",
    f"domains: {{{'x' * 32}: }}",
    "domains: {d: }\nclass-maps: {__PMTR__x: }",
    "domains: {d: }\npolicy-maps: {BUILTIN_AUTOCONF_POLICY: {events: {}}}",
    "domains: {d: }\nclass-maps: {c: {filters: [{attribute: a, equals: 1, prefix: 2}]}}",
    "domains: {d: }\nclass-maps: {c: {filters: [{attribute: a, range: {}}]}}",
    "domains: {d: }\nclass-maps: {c: {filters: [{attribute: a, range: {min: 1, mid: 2}}]}}",
    "domains: {d: }\nclass-maps: {c: {filters: [{attribute: a, range: {max: 9223372036854775808}}]}}",
    "domains: {d: }\nclass-maps: {c: {filters: [{attribute: a, range: {max: 99999999999999999999}}]}}",
    "domains: {d: }\nclass-maps: {c: {filters: [{attribute: a, present: false}]}}",
    f"domains: {{d: }}\nclass-maps: {{c: {{filters: [{{attribute: a, equals: {'x' * 4097}}}]}}}}",
    "parameter-maps: {m: {statements: [{index: 1, filters: [], actions: []}]}}",
    "parameter-maps: {m: {statements: [{index: 1, filters: , actions: []}]}}",
    "parameter-maps: {m: {statements: [{index: 1, filters: [{attribute: a, present: true}], actions: [{set: {a: 1, b: 2}}]}]}}",
    "parameter-maps: {m: {statements: [{index: 1, filters: [{attribute: a, present: true}], actions: [{set: {}}]}]}}",
    "parameter-maps: {m: {statements: [{index: 1, filters: [{attribute: a, present: true}], actions: [{permit: , deny: }]}]}}",
    "parameter-maps: {m: {statements: [{index: 1, filters: [{attribute: a, present: true}], actions: [{permit: 1}]}]}}",
    "domains: {d: }\npolicy-maps: {p: {events: {}}}\ntargets: {t: {policies: []}}",
    "domains: {d: }\npolicy-maps: {p: {events: {}}}\ntargets: {t: {policies: [p, p]}}",
    "domains: {d: }\npolicy-maps: {p: {events: {e: {rules: []}}}}\ntargets: {t: {policies: [p]}}\n"
    "tests: [{event: e, target: t, expect: {}}]",
    "domains: {d: }\npolicy-maps: {p: {events: {e: {rules: []}}}}\ntargets: {t: {policies: [p]}}\n"
    "tests: [{event: e, target: t, clear: a, expect: {rules: []}}]",
    "domains: {d: }\npolicy-maps: {p: {events: {e: {rules: []}}}}\ntargets: {t: {policies: [p]}}\n"
    "tests: [{event: e, target: t, expect: {verdict: permitted}}]",
    "domains: {d: }\npolicy-maps: {p: {events: {e: {rules: []}}}}\ntargets: {t: {policies: [p]}}\n"
    "tests: [{event: e, target: t, expect: {attributes: {}}}]",
] + [
    "domains: {d: }\npolicy-maps: {p: {events: {e: {rules: []}}}}\ntargets: {t: {policies: [p]}}\n" + f"tests: [{test}]"
    for test in (
        "{steps: []}",
        "{steps: [{event: e, target: t}]}",
        "{steps: [{event: e, target: t, expect: {}}]}",
        "{steps: [{event: e, target: t, expect: {rules: []}}], event: e}",
        "{steps: [{event: e, target: t, expect: {rules: []}}], expect: {rules: []}}",
        "{steps: [{name: n, event: e, target: t, expect: {rules: []}}]}",
        "{event: e, target: t, steps: [{event: e, target: t}], expect: {rules: []}}",
    )
] + [
    f"domains: {{d: }}\nclass-maps: {{c: }}\npolicy-maps: {{p: {{events: {{e: {{rules: [{{number: {number}, class: c, actions: []}}]}}}}}}}}"
    for number in ("0", "256", "-1", "1.5", "'0x1'", "one", "'256'", "' 1'", "")
] + [
    f"parameter-maps: {{m: {{statements: [{{index: {index}, filters: [{{attribute: a, present: true}}], actions: []}}]}}}}"
    for index in ("0", "'0'", "'-0'", "65536", "'65536'", "'100000'")
]

# The loader's errors of structure. A schema cannot check anything else: whether a name exists, or what is unique.
STRUCTURE = re.compile(
    r"^unknown key|^a key of|^what stands here is|^duplicate key| is (nothing|a single value|a list|a mapping)$| has no '(?!.*domain)"
    r"|cannot be (a client's|a domain's|a class-map's|a policy-map's|a parameter-map's|an event's|a target's|an attribute's) name$"
    r"|cannot be (a|an|the) (database|match criteria|exec criteria|value|verdict|rule's number|map-index|action's number|precedence)"
    r"|cannot be an action on its own|cannot be the (low|high) end|is the name of the engine|^a filter with|^a range without"
    r"|^'present' cannot|^'set' with|^an action with|takes no value$|^a statement without|has no policy$|^a test that expects|^a test with both|^a value of "
)


def paths(value, path=()):
    """The paths of everything in a file."""
    yield path
    children = value.items() if isinstance(value, dict) else enumerate(value) if isinstance(value, list) else ()
    for key, child in children:
        yield from paths(child, path + (key,))


def changed(document, path, change):
    """Returns a copy after applying 'change' to the container and the last step of the path."""
    result = copy.deepcopy(document)
    holder = result
    for step in path[:-1]:
        holder = holder[step]
    change(holder, path[-1])
    return result


def rename(holder, key):
    if isinstance(holder, dict):
        holder[key + "x y"] = holder.pop(key)


def put(value):
    return lambda holder, key: holder.__setitem__(key, value)


CHANGES = [lambda holder, key: holder.pop(key), rename] + [
    put(value) for value in (None, [], {}, "", "a word", 0, True, ["x"], {"x": 1}, [[]], "one", 70000)
]


def mutants(document):
    seen = set()
    for path in paths(document):
        # One element of each list represents the others.
        if not path or any(isinstance(step, int) and step > 0 for step in path[:-1]):
            continue
        for change in CHANGES:
            mutant = changed(document, path, change)
            text = json.dumps(mutant)
            if text not in seen:
                seen.add(text)
                yield mutant


def checked(zar, texts):
    """The result of zar check for each text."""
    with tempfile.TemporaryDirectory() as folder:
        names = []
        for number, text in enumerate(texts):
            names.append(f"{number}.yaml")
            pathlib.Path(folder, names[-1]).write_text(text)
        done = subprocess.run([zar, "check", "--json", *names], cwd=folder, capture_output=True)
        assert done.stderr == b"", done.stderr
        files = json.loads(done.stdout)["files"]
    return [(file["good"], [error["message"] for error in file["errors"]]) for file in files]


def main():
    zar, source = sys.argv[1:]
    root = pathlib.Path(source)
    shipped = (root / "share" / "schema" / "policy.json").read_bytes()
    assert subprocess.run([zar, "schema"], capture_output=True).stdout == shipped, "zar schema shows another text"
    schema = json.loads(shipped)
    jsonschema.Draft7Validator.check_schema(schema)
    validator = jsonschema.Draft7Validator(schema)

    files = sorted(root.glob("examples/*.yaml")) + sorted(root.glob("tests/command/policies/*.yaml"))
    texts = [file.read_text() for file in files] + [EVERYTHING, STEPS]
    documents = [yaml.load(text, Loader) for text in texts]
    for name, document, (good, messages) in zip([*map(str, files), "EVERYTHING", "STEPS"], documents, checked(zar, texts)):
        assert good, f"{name}: {messages}"
        validator.validate(document)
    for text, (good, messages) in zip(BAD, checked(zar, BAD)):
        assert not good, f"the loader takes {text}"
        assert not validator.is_valid(yaml.load(text, Loader)), f"the schema takes what the loader does not ({messages}): {text}"

    mutations = [mutant for document in documents[-2:] for mutant in mutants(document)]
    # JSON is also YAML; a quoted text is a text in both.
    verdicts = checked(zar, [json.dumps(mutant) for mutant in mutations])
    refused = 0
    for mutant, (good, messages) in zip(mutations, verdicts):
        valid = validator.is_valid(mutant)
        structural = [message for message in messages if STRUCTURE.search(message)]
        about = f"{messages}: {json.dumps(mutant)}"
        assert valid or not good, f"the schema refuses what the loader takes: {about} {[e.message for e in validator.iter_errors(mutant)]}"
        assert valid or structural, f"the schema refuses what the loader finds well formed: {about} {[e.message for e in validator.iter_errors(mutant)]}"
        assert not (valid and structural), f"the schema takes what the loader refuses: {about}"
        refused += not valid
    print(f"{len(documents)} good files, {len(BAD)} bad ones, {len(mutations)} changed ones, {refused} of them malformed")
    assert len(mutations) > 500 and 0 < refused < len(mutations)


main()
