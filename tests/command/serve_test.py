"""What zar serve answers to programs that keep, or break, the rules of its protocol, and what it leaves behind.

Usage: serve_test.py ZAR SOURCE_DIR GROUP
"""
import json
import os
import pathlib
import resource
import signal
import socket
import stat
import subprocess
import sys
import tempfile
import time

import jsonschema
from child import HUNG
from serve_client import SocketServer, StandardStreams, children_of, descendants_of, is_running, wait_until

ZAR, SOURCE, GROUP = sys.argv[1:]
os.chdir(SOURCE)
BROADBAND = "examples/broadband.yaml"
PARSE_ERROR, INVALID_REQUEST, METHOD_NOT_FOUND, INVALID_PARAMS, INTERNAL = -32700, -32600, -32601, -32602, -32603
INVALID_POLICY, REFUSED, NOTHING_LOADED, CANCELLED, TOOK_TOO_LONG, TOO_LARGE, SESSION_LOST, SHUT_DOWN, TOO_MANY = range(1, 10)

SMALL = """\
domains: {d: }
class-maps:
  gold: {filters: [{attribute: tier, equals: gold}]}
policy-maps:
  p:
    events:
      start:
        match: first
        rules:
          - {number: 10, class: gold, actions: [{count: starts}, permit]}
targets:
  t: {attributes: {tier: gold}, policies: [p]}
scenario:
  - {event: start, target: t}
tests:
  - {name: gold gets in, event: start, target: t, expect: {verdict: permit}}
"""
OTHER = SMALL.replace("permit]", "deny]")


def schemas():
    folder = pathlib.Path("share/schema").resolve()
    schema = json.loads((folder / "serve.json").read_text())
    jsonschema.Draft7Validator.check_schema(schema)
    resolver = jsonschema.RefResolver(f"{folder.as_uri()}/serve.json", schema)

    def validator(part):
        return jsonschema.Draft7Validator({"$ref": f"{folder.as_uri()}/serve.json#/definitions/{part}"}, resolver=resolver)
    return validator


VALIDATOR = schemas()


def client(*options):
    return StandardStreams(ZAR, *options)


def ends_well(made):
    assert made.wait() == 0, made.errors
    assert made.errors == "", made.errors


class Server(SocketServer):
    """A server in a directory of its own. At the end nothing is left of it."""

    def __init__(self, *options, **more):
        self.directory = tempfile.TemporaryDirectory()
        super().__init__(ZAR, pathlib.Path(self.directory.name) / "zar.socket", *options, **more)

    def __enter__(self):
        return self

    def __exit__(self, kind, *_):
        left = descendants_of(self.process.pid)
        code = self.end()
        assert kind or code == 0, (code, self.errors)
        assert kind or self.errors == "", self.errors
        assert os.listdir(self.directory.name) == [], os.listdir(self.directory.name)
        assert not [process for process in left if is_running(process)], left
        self.directory.cleanup()


def output_of(*command):
    done = subprocess.run([ZAR, *command, "--json"], capture_output=True, text=True)
    return json.loads(done.stdout)


# ---- Methods ----


def every_method_does_what_its_schema_says():
    requests = [
        ("version", {}), ("check", {"path": BROADBAND}), ("check", {"text": "clients: 7", "name": "bad"}),
        ("load", {"path": BROADBAND}), ("check", {}),
        ("raise", {"event": "session-start", "target": "line-0101"}),
        ("raise", {"event": "session-start", "target": "line-0103", "set": {"access": "fibre", "unpaid-months": 0},
                   "clear": ["account-state"], "level": "filters"}),
        ("explain", {"event": "session-start", "target": "line-0102", "level": "decision"}),
        ("set", {"target": "line-0101", "set": {"volume-left": 7, "access": "fibre"}, "clear": ["authorised"]}),
        ("targets.add", {"target": "new", "policies": ["service"], "attributes": {"access": "dsl", "unpaid-months": 2}}),
        ("targets.delete", {"target": "new"}),
        ("show", {}), ("show", {"kind": "policy"}), ("show", {"kind": "target", "name": "line-0101"}), ("config", {}),
        ("lint", {"effort": 5}), ("test", {}), ("diff", {"path": "examples/guest-network.yaml"}),
        ("diff", {"path": BROADBAND, "replay": True}),
        ("diff", {"path": BROADBAND, "replay": {"path": BROADBAND}}), ("stats", {}), ("shutdown", {}),
    ]
    made = client()
    known = json.loads(pathlib.Path("share/schema/serve.json").read_text())["definitions"]
    assert {method for method, _ in requests} | {"cancel"} == set(known["results"]) == set(known["params"])
    for method, params in requests:
        request = {"jsonrpc": "2.0", "id": method, "method": method, "params": params}
        VALIDATOR("request").validate(request)
        made.send(request)
        response = made.response(method)
        VALIDATOR("response").validate(response)
        assert "result" in response, response
        VALIDATOR(f"results/{method}").validate(response["result"])
    ends_well(made)


def results_are_those_of_the_sub_commands():
    made = client(BROADBAND)
    assert made.ask("check") == output_of("check", BROADBAND)
    assert made.ask("show") == output_of("show", BROADBAND)
    assert made.ask("show", kind="class", name="barred") == output_of("show", BROADBAND, "class", "barred")
    assert made.ask("config") == output_of("config", BROADBAND)
    assert made.ask("lint") == output_of("lint", BROADBAND)
    assert made.ask("test") == output_of("test", BROADBAND)
    other = "examples/guest-network.yaml"
    assert made.ask("diff", path=other) == output_of("diff", BROADBAND, other)
    assert made.ask("diff", path=other, replay=True) == output_of("diff", BROADBAND, other, "--replay", BROADBAND)
    explained = output_of("explain", BROADBAND, "--event", "session-start@line-0103", "--level", "filters")
    params = {"event": "session-start", "target": "line-0103", "level": "filters"}
    assert made.ask("explain", **params) == {"explanation": explained["explanation"]}
    assert made.ask("raise", **params) == {"explanation": explained["explanation"]}
    ends_well(made)


def raising_changes_the_session_and_explaining_does_not():
    made = client()
    assert made.ask("load", text=SMALL, name="small.yaml") == {
        "file": "small.yaml", "objects": {"policies": 1, "classes": 1, "parameter_maps": 0, "targets": 1}}
    event = {"event": "start", "target": "t"}
    for _ in range(2):
        made.ask("explain", **event, set={"tier": "gold"})
        assert made.ask("set", target="t")["attributes"] == {"tier": "gold"}
    for count in ("1", "2"):
        explanation = made.ask("raise", **event)["explanation"]
        assert (explanation["verdict"], explanation["file"]) == ("permit", "small.yaml")
        assert made.ask("set", target="t")["attributes"]["starts"] == count
    assert made.ask("set", target="t", set={"tier": True}, clear=["starts"])["attributes"] == {"tier": "true"}
    assert made.ask("stats")["session"]["events"] == 2
    ends_well(made)


def a_wrong_request_is_refused_and_the_session_goes_on():
    made = client()
    for method in ("raise", "explain"):
        assert made.refused(method, event="start", target="t")["code"] == NOTHING_LOADED
    for method, params in [("set", {"target": "t"}), ("targets.add", {"target": "t", "policies": ["p"]}),
                           ("targets.delete", {"target": "t"}),
                           ("show", {}), ("config", {}), ("lint", {}), ("test", {}), ("diff", {"text": ""}), ("check", {})]:
        error = made.refused(method, **params)
        assert error["code"] == NOTHING_LOADED, (method, error)
    made.ask("load", text=SMALL)
    event = {"event": "start", "target": "t"}
    wrong = [
        (INVALID_PARAMS, "'event' is missing", "raise", {"target": "t"}),
        (INVALID_PARAMS, "'event' is not a text", "raise", {**event, "event": 7}),
        (INVALID_PARAMS, "did you mean 'level'", "raise", {**event, "lever": "rules"}),
        (INVALID_PARAMS, "decision, rules or filters", "raise", {**event, "level": "all"}),
        (INVALID_PARAMS, "for each attribute", "raise", {**event, "set": {"tier": None}}),
        (INVALID_PARAMS, "for each attribute", "raise", {**event, "set": {"tier": 1.5}}),
        (INVALID_PARAMS, "list of texts", "raise", {**event, "clear": [1]}),
        (INVALID_PARAMS, "no parameter", "version", {"extra": 1}),
        (INVALID_PARAMS, "'path' or 'text'", "load", {}),
        (INVALID_PARAMS, "not both", "load", {"path": "a", "text": "b"}),
        (INVALID_PARAMS, "'name' is for a 'text'", "load", {"path": "a", "name": "b"}),
        (INVALID_PARAMS, "'name' is for a 'kind'", "show", {"name": "t"}),
        (INVALID_PARAMS, "seconds", "lint", {"effort": -1}),
        (INVALID_PARAMS, "{\"path\"}", "diff", {"text": OTHER, "replay": False}),
        (METHOD_NOT_FOUND, "did you mean 'raise'", "rise", event),
        (REFUSED, "no event 'begin'", "raise", {**event, "event": "begin"}),
        (REFUSED, "no target 'u'", "explain", {**event, "target": "u"}),
        (REFUSED, "no attribute 'tear'", "raise", {**event, "set": {"tear": "gold"}}),
        (REFUSED, "no target 'u'", "set", {"target": "u"}),
        (REFUSED, "cannot have", "set", {"target": "t", "set": {"tier": "x" * 5000}}),
        (REFUSED, "t", "targets.add", {"target": "t", "policies": ["p"]}),
        (INVALID_PARAMS, "'policies' is missing", "targets.add", {"target": "v"}),
        (REFUSED, "no policy", "targets.add", {"target": "v", "policies": []}),
        (REFUSED, "q", "targets.add", {"target": "v", "policies": ["q"]}),
        (REFUSED, "no target 'u'", "targets.delete", {"target": "u"}),
        (REFUSED, "no kind", "show", {"kind": "client"}),
        (REFUSED, "no target 'u'", "show", {"kind": "target", "name": "u"}),
        (REFUSED, "no scenario", "diff", {"text": OTHER, "replay": {"text": "domains: {d: }"}}),
        (INVALID_POLICY, "wrong", "diff", {"text": "clients: 7"}),
        (INVALID_POLICY, "wrong", "load", {"path": "/nowhere"}),
        (INVALID_POLICY, "wrong", "load", {"text": "clients: 7"}),
        (INVALID_POLICY, "wrong", "load", {"text": "\0"}),
    ]
    for code, words, method, params in wrong:
        error = made.refused(method, **params)
        VALIDATOR("error").validate(error)
        assert error["code"] == code and words in error["message"], (method, params, error)
    assert made.ask("set", target="t")["attributes"] == {"tier": "gold"}
    errors = made.refused("load", text="clients: 7", name="mine.yaml")["data"]["file_errors"]
    assert errors[0]["file"] == "mine.yaml" and errors[0]["errors"][0]["line"] == 1, errors
    assert made.refused("load", path="README.md")["data"]["file_errors"] == output_of("config", "README.md")["file_errors"]
    ends_well(made)


def the_errors_of_a_checked_file_are_a_result():
    made = client()
    result = made.ask("check", text="clients: 7", name="mine.yaml")
    assert result["good"] is False and result["files"][0]["errors"], result
    assert made.ask("check", path="/nowhere")["good"] is False
    ends_well(made)


def a_load_replaces_what_the_session_had():
    made = client(BROADBAND)
    for text in (SMALL, OTHER, SMALL):
        made.ask("load", text=text)
        stats = made.ask("stats")["session"]
        assert (stats["targets"], stats["events"], stats["file"]) == (1, 0, "<text>"), stats
        made.ask("raise", event="start", target="t")
    assert made.refused("raise", event="session-start", target="line-0101")["code"] == REFUSED
    ends_well(made)


def targets_come_and_go():
    made = client(BROADBAND)
    for number in range(20):
        name = f"new:{number}"
        added = made.ask("targets.add", target=name, policies=["service"], client="access",
                         attributes={"access": "fibre", "note": 'a "quoted" \u00e4\n\\'})
        assert added["policies"] == ["service"] and added["attributes"]["note"] == 'a "quoted" \u00e4\n\\', added
        made.ask("raise", event="session-start", target=name)
        if number % 2:
            assert made.ask("targets.delete", target=name) == {"target": name}
            assert made.refused("raise", event="session-start", target=name)["code"] == REFUSED
    shown = [each for each in made.ask("show", kind="target")["objects"] if each["object"]["name"].startswith("new:")]
    assert len(shown) == 10, shown
    assert made.ask("test")["failed"] == 0
    ends_well(made)


def a_file_that_is_wrong_stops_the_server_at_once():
    done = subprocess.run([ZAR, "serve", "README.md"], capture_output=True, text=True, stdin=subprocess.DEVNULL)
    assert done.returncode == 65 and "README.md" in done.stderr, done
    for options in (["-"], ["--size-limit", "0"], ["--time-limit", "0"], ["--connections", "3"]):
        done = subprocess.run([ZAR, "serve", *options], capture_output=True, text=True, stdin=subprocess.DEVNULL)
        assert done.returncode == 2 and done.stderr, (options, done)


# ---- The rules of JSON-RPC ----


def requests_are_answered_in_their_order():
    made = client()
    ids = ["a", 7, -1, 2.5, "", None]
    for each in ids:
        made.send({"jsonrpc": "2.0", "id": each, "method": "version"})
    assert [made.read()["id"] for _ in ids] == ids
    ends_well(made)


def lines_may_end_in_any_way():
    made = client()
    request = b'{"jsonrpc":"2.0","id":1,"method":"version"}'
    made.send_bytes(b"\n\r\n  \n" + request + b"\r\n\n" + request + b"\n" + request)
    made.process.stdin.close()
    assert [made.read()["id"] for _ in range(3)] == [1, 1, 1]
    assert made.read() is None
    assert made.process.wait(HUNG) == 0


def what_is_no_request_gets_an_error():
    made = client()
    wrong = [
        (PARSE_ERROR, b"{"), (PARSE_ERROR, b"hello"), (PARSE_ERROR, b'{"jsonrpc":"2.0","id":1,"method":"\xff"}'),
        (PARSE_ERROR, b'[{"jsonrpc":"2.0","id":1,"method":"version"},'), (PARSE_ERROR, b"{} {}"),
        (INVALID_REQUEST, b"[]"), (INVALID_REQUEST, b"7"), (INVALID_REQUEST, b'"text"'), (INVALID_REQUEST, b"null"),
        (INVALID_REQUEST, b"{}"), (INVALID_REQUEST, b'{"jsonrpc":"1.0","id":null,"method":"version"}'),
        (INVALID_REQUEST, b'{"jsonrpc":"2.0","method":7}'), (INVALID_REQUEST, b'{"jsonrpc":"2.0","id":[],"method":"version"}'),
        (INVALID_REQUEST, b'{"jsonrpc":"2.0","result":7}'), (INVALID_REQUEST, b"[" * 1000 + b"]" * 1000),
        (INVALID_REQUEST, b'{"jsonrpc":"2.0","method":"version","params":' + b"[" * 1000 + b"]" * 1000 + b"}"),
        (INVALID_REQUEST, b"[" + b"1," * 1000 + b"1]"),
    ]
    for code, text in wrong:
        made.send_bytes(text + b"\n")
        answer = made.read()
        if isinstance(answer, list):
            answer, = answer
        VALIDATOR("response").validate(answer)
        assert answer["error"]["code"] == code and answer["id"] is None, (text[:80], answer)
    made.send({"jsonrpc": "2.0", "id": 3, "method": "version", "params": [1]})
    assert made.response(3)["error"]["code"] == INVALID_PARAMS
    ends_well(made)


def notifications_are_done_and_not_answered():
    made = client()
    made.notify("load", text=SMALL)
    made.notify("raise", event="start", target="t")
    made.notify("nothing")
    made.notify("raise", event="no")
    assert made.ask("set", target="t")["attributes"]["starts"] == "1"
    assert made.ask("stats")["errors"] == 2
    ends_well(made)


def a_batch_is_answered_by_one_list():
    made = client()
    calls = [{"id": 1, "method": "load", "params": {"text": SMALL}}, {"method": "raise", "params": {"event": "start", "target": "t"}},
             {"id": 2, "method": "set", "params": {"target": "t"}}, {"id": "x", "method": "nothing"}]
    made.send([{"jsonrpc": "2.0", **call} for call in calls] + [7, []])
    answers = made.read()
    for answer in answers:
        VALIDATOR("response").validate(answer)
    assert [answer["id"] for answer in answers] == [1, 2, "x", None, None], answers
    assert answers[1]["result"]["attributes"]["starts"] == "1"
    assert [answer["error"]["code"] for answer in answers[2:]] == [METHOD_NOT_FOUND, INVALID_REQUEST, INVALID_REQUEST]
    made.send([{"jsonrpc": "2.0", "method": "version"}] * 3)
    made.send([{"jsonrpc": "2.0", "id": 9, "method": "version"}])
    assert [answer["id"] for answer in made.read()] == [9]
    made.send([{"jsonrpc": "2.0", "id": number, "method": "version"} for number in range(1000)])
    assert [answer["id"] for answer in made.read()] == list(range(1000))
    ends_well(made)


def after_a_shutdown_nothing_is_done():
    made = client(BROADBAND)
    made.start("shutdown")
    for _ in range(3):
        made.start("version")
    assert made.read() == {"jsonrpc": "2.0", "id": 1, "result": None}
    assert [made.read()["error"]["code"] for _ in range(3)] == [SHUT_DOWN] * 3
    assert children_of(made.process.pid) == [] or wait_until(lambda: not children_of(made.process.pid), "a process is left") is None
    made.send_bytes(b"[]\n{\n")
    assert [made.read()["error"]["code"] for _ in range(2)] == [SHUT_DOWN] * 2
    ends_well(made)


# ---- Cancelling and limits ----


def fifo():
    """A file that nobody writes: reading it never ends."""
    path = pathlib.Path(tempfile.mkdtemp()) / "fifo"
    os.mkfifo(path)
    return str(path)


def a_request_under_way_is_cancelled():
    made = client(BROADBAND)
    made.ask("raise", event="session-start", target="line-0101")
    before = made.ask("config")
    for method, params in [("check", {"path": fifo()}), ("diff", {"path": fifo()}), ("load", {"path": fifo()})]:
        number = made.start(method, **params)
        time.sleep(0.2)
        made.notify("cancel", id=number)
        assert made.response(number)["error"] == {"code": CANCELLED, "message": "the request was cancelled"}
        assert made.ask("config") == before
    ends_well(made)


def waiting_requests_are_cancelled_in_their_order():
    made = client()
    number = made.start("check", path=fifo())
    waiting = [made.start("version") for _ in range(3)]
    made.notify("cancel", id=waiting[1])
    made.notify("cancel", id="unknown")
    made.notify("cancel", id=number)
    assert made.response(number)["error"]["code"] == CANCELLED
    assert [made.response(each).get("error", {}).get("code") for each in waiting] == [None, CANCELLED, None]
    assert made.ask("cancel", id="unknown") is None
    ends_well(made)


def requests_in_a_batch_are_cancelled_too():
    made = client()
    made.send([{"jsonrpc": "2.0", "id": "slow", "method": "check", "params": {"path": fifo()}},
               {"jsonrpc": "2.0", "id": "later", "method": "version"}, {"jsonrpc": "2.0", "id": "last", "method": "version"}])
    made.notify("cancel", id="later")
    made.notify("cancel", id="slow")
    assert [answer.get("error", {}).get("code") for answer in made.read()] == [CANCELLED, CANCELLED, None]
    ends_well(made)


def a_request_that_takes_too_long_leaves_the_session_as_it_was():
    made = client(BROADBAND, "--time-limit", "1")
    made.ask("raise", event="session-start", target="line-0101")
    before = made.ask("config")
    for method in ("check", "load", "diff"):
        error = made.refused(method, path=fifo())
        assert error["code"] == TOOK_TOO_LONG and "1 seconds" in error["message"] and "data" not in error, error
        assert made.ask("config") == before
    ends_well(made)


def a_session_that_cannot_be_stopped_is_lost():
    with Server(BROADBAND, "--time-limit", "1") as server:
        made, other = server.connect(), server.connect()
        made.ask("version")
        process, = server.children()
        other.ask("raise", event="session-start", target="line-0101")
        os.kill(process, signal.SIGSTOP)
        error = made.refused("raise", event="session-start", target="line-0101")
        assert error["code"] == TOOK_TOO_LONG and error["data"] == {"session_lost": True}, error
        wait_until(lambda: not is_running(process), "the process goes on")
        assert made.refused("config")["code"] == NOTHING_LOADED
        made.ask("load", path=BROADBAND)
        made.ask("raise", event="session-start", target="line-0101")
        assert other.ask("stats")["session"]["events"] == 1
        assert other.ask("stats")["sessions_lost"] == 1


def a_request_that_is_too_large_is_skipped():
    made = client("--size-limit", "1000")
    made.send_bytes(b'{"jsonrpc":"2.0","id":1,"method":"version"}\n' + b"x" * 5000 + b"\n" +
                    b'{"jsonrpc":"2.0","id":2,"method":"version"}\n')
    assert made.response(1)["result"]
    error = made.read()
    VALIDATOR("response").validate(error)
    assert error["id"] is None and error["error"]["code"] == TOO_LARGE and "1000 bytes" in error["error"]["message"], error
    assert made.response(2)["result"]
    text = '{"jsonrpc":"2.0","id":3,"method":"version"' + " " * 1000
    for size, good in ((1000, True), (1001, False)):
        made.send_bytes((text[:size - 1] + "}\r\n").encode())
        assert ("result" in made.read()) == good, size
    ends_well(made)


def a_gigabyte_costs_no_memory():
    made = client()
    piece = b"x" * (1 << 20)
    for _ in range(1024):
        made.send_bytes(piece)
    made.send_bytes(b'\n{"jsonrpc":"2.0","id":1,"method":"version"}\n')
    assert made.read()["error"]["code"] == TOO_LARGE
    assert made.response(1)["result"]
    peak = [line for line in pathlib.Path(f"/proc/{made.process.pid}/status").read_text().splitlines() if "VmHWM" in line]
    assert int(peak[0].split()[1]) < 400_000, peak
    ends_well(made)


def a_large_request_is_answered():
    made = client()
    comment = "#" * (1 << 20) + "\n"
    assert made.ask("load", text=SMALL + comment * 12)["objects"]["targets"] == 1
    error = made.refused("load", text=SMALL + comment * 15 + "x" * (1 << 19))
    assert error["code"] == INVALID_POLICY, error
    ends_well(made)


# ---- Sessions ----


def sessions_know_nothing_of_each_other():
    with Server() as server:
        made = [server.connect() for _ in range(5)]
        for number, each in enumerate(made):
            each.ask("load", text=SMALL, name=f"{number}.yaml")
        for number, each in enumerate(made):
            for _ in range(number):
                each.ask("raise", event="start", target="t")
        for number, each in enumerate(made):
            stats = each.ask("stats")
            assert (stats["session"]["file"], stats["session"]["events"]) == (f"{number}.yaml", number), stats
            assert stats["connections"] == stats["connections_total"] == 5


def the_other(server, first):
    """The one process of the server but the first: one that a load has replaced is about to end."""
    wait_until(lambda: len(server.children()) == 2, "a process is left")
    process, = set(server.children()) - {first}
    return process


def the_crash_of_a_session_touches_no_other():
    with Server(BROADBAND) as server:
        made, other = server.connect(), server.connect()
        other.ask("raise", event="session-start", target="line-0101")
        after = other.ask("config")
        first, = server.children()
        # During a request.
        made.ask("version")
        process, = set(server.children()) - {first}
        number = made.start("check", path=fifo())
        wait_until(lambda: children_of(process), "the work has no process")
        helper, = children_of(process)
        os.kill(process, signal.SIGSEGV)
        error = made.response(number)["error"]
        assert error["code"] == SESSION_LOST and error["data"] == {"session_lost": True}, error
        wait_until(lambda: not is_running(helper), "the work goes on without its session")
        assert made.refused("config")["code"] == NOTHING_LOADED
        # Between two requests.
        made.ask("load", path=BROADBAND)
        process = the_other(server, first)
        os.kill(process, signal.SIGKILL)
        wait_until(lambda: other.ask("stats")["sessions_lost"] == 2, "the loss is not noticed")
        assert made.refused("config")["code"] == SESSION_LOST
        assert made.refused("config")["code"] == NOTHING_LOADED
        made.ask("load", path=BROADBAND)
        process = the_other(server, first)
        os.kill(process, signal.SIGKILL)
        wait_until(lambda: other.ask("stats")["sessions_lost"] == 3, "the loss is not noticed")
        made.ask("load", path=BROADBAND)
        assert made.ask("config") == output_of("config", BROADBAND)
        assert other.ask("config") == after


def work_that_crashes_costs_only_its_request():
    with Server(BROADBAND) as server:
        made = server.connect()
        made.ask("raise", event="session-start", target="line-0101")
        before = made.ask("config")
        process, = server.children()
        number = made.start("check", path=fifo())
        wait_until(lambda: children_of(process), "the work has no process")
        os.kill(children_of(process)[0], signal.SIGSEGV)
        assert made.response(number)["error"]["code"] == INTERNAL
        assert made.ask("config") == before
        number = made.start("load", path=fifo())
        wait_until(lambda: len(server.children()) == 2, "the load has no process")
        loader, = set(server.children()) - {process}
        os.kill(loader, signal.SIGSEGV)
        assert made.response(number)["error"]["code"] == INTERNAL
        assert made.ask("config") == before
        assert made.ask("stats")["sessions_lost"] == 0


def clients_that_die_leave_nothing():
    with Server(BROADBAND) as server:
        watcher = server.connect()
        for dies in range(4):
            made = server.connect()
            made.ask("version")
            if dies == 1:
                made.start("check", path=fifo())
            if dies == 2:
                made.start("load", path=fifo())
            if dies == 3:
                made.send_bytes(b'{"jsonrpc":"2.0","id":1,')
            time.sleep(0.1)
            made.close()
            wait_until(lambda: watcher.ask("stats")["connections"] == 1, "the connection is kept")
            wait_until(lambda: len(descendants_of(server.process.pid)) == 1, "a process is left")


def a_client_that_stops_writing_gets_its_answers():
    with Server() as server:
        made = server.connect()
        for _ in range(10):
            made.start("version")
        made.socket.shutdown(socket.SHUT_WR)
        assert [made.read()["id"] for _ in range(10)] == list(range(1, 11))
        assert made.read() is None


def a_client_that_does_not_read_waits_alone():
    with Server(BROADBAND) as server:
        slow, quick = server.connect(), server.connect()
        slow.socket.setblocking(False)
        text = json.dumps({"jsonrpc": "2.0", "id": 1, "method": "config"}).encode() + b"\n"
        sent = 0
        quiet = 0
        while quiet < 5:
            try:
                sent += slow.socket.send(text * 100)
                quiet = 0
            except BlockingIOError:
                quiet += 1
                time.sleep(0.2)
        for _ in range(20):
            quick.ask("raise", event="session-start", target="line-0101")
        resident = [line for line in pathlib.Path(f"/proc/{server.process.pid}/status").read_text().splitlines() if "VmRSS" in line]
        assert int(resident[0].split()[1]) < 200_000, resident
        slow.socket.setblocking(True)
        slow.socket.shutdown(socket.SHUT_WR)
        answers = 0
        while slow.read_line() is not None:
            answers += 1
        assert answers >= sent // len(text), (answers, sent)


# ---- Sockets, signals and the log ----


def the_socket_is_for_its_owner_alone():
    before = os.umask(0)
    try:
        with Server() as server:
            mode = os.stat(server.path).st_mode
            assert stat.S_ISSOCK(mode) and stat.S_IMODE(mode) == 0o600, oct(mode)
    finally:
        os.umask(before)


def only_a_dead_socket_is_replaced():
    with tempfile.TemporaryDirectory() as directory:
        path = os.path.join(directory, "zar.socket")

        def refused(words):
            done = subprocess.run([ZAR, "serve", "--socket", path], capture_output=True, text=True, timeout=HUNG)
            assert done.returncode == 70 and words in done.stderr and path in done.stderr, done
        pathlib.Path(path).write_text("mine")
        refused("no socket")
        assert pathlib.Path(path).read_text() == "mine"
        os.remove(path)
        os.mkdir(path)
        refused("no socket")
        os.rmdir(path)
        os.symlink("/nowhere", path)
        refused("no socket")
        os.remove(path)
        dead = socket.socket(socket.AF_UNIX)
        dead.bind(path)
        dead.close()
        server = SocketServer(ZAR, path)

        def is_replaced():
            try:
                server.connect().close()
                return True
            except OSError:
                return False
        wait_until(is_replaced, "the dead socket is not replaced")
        server.connect().ask("version")
        refused("listens there already")
        server.connect().ask("version")
        # A file that somebody else has put there in the meantime stays.
        os.remove(path)
        pathlib.Path(path).write_text("other")
        assert server.end() == 0
        assert os.listdir(directory) == ["zar.socket"] and pathlib.Path(path).read_text() == "other"
    done = subprocess.run([ZAR, "serve", "--socket", "x" * 200], capture_output=True, text=True, timeout=HUNG)
    assert done.returncode == 70 and "bytes" in done.stderr, done
    done = subprocess.run([ZAR, "serve", "--socket", "/nowhere/zar"], capture_output=True, text=True, timeout=HUNG)
    assert done.returncode == 70 and "/nowhere/zar" in done.stderr, done


def signals_end_everything():
    for with_signal in (signal.SIGTERM, signal.SIGINT):
        with Server(BROADBAND) as server:
            made = [server.connect() for _ in range(3)]
            made[0].start("check", path=fifo())
            made[1].ask("version")
            made[2].start("load", path=fifo())
            wait_until(lambda: len(descendants_of(server.process.pid)) >= 4, "the work has not begun")
            left = descendants_of(server.process.pid)
            assert server.end(with_signal) == 0, server.errors
            assert not [process for process in left if is_running(process)], left
            assert os.listdir(server.directory.name) == []
            assert made[1].read() is None
            server.process = subprocess.Popen(["sleep", "60"], stderr=subprocess.PIPE)
            server.process.kill()
            server.process.wait()
            server.end = lambda: setattr(server, "errors", "") or 0
    made = client(BROADBAND)
    made.ask("version")
    made.process.send_signal(signal.SIGTERM)
    assert made.process.wait(HUNG) == 0


def sessions_end_with_a_server_that_is_killed():
    with tempfile.TemporaryDirectory() as directory:
        server = SocketServer(ZAR, os.path.join(directory, "zar.socket"), BROADBAND)
        made = server.connect()
        made.ask("version")
        made.start("check", path=fifo())
        wait_until(lambda: len(descendants_of(server.process.pid)) == 2, "the work has not begun")
        left = descendants_of(server.process.pid)
        server.end(signal.SIGKILL)
        wait_until(lambda: not [process for process in left if is_running(process)], "a process is left")


def one_connection_too_many_is_turned_away():
    with Server("--connections", "2") as server:
        made = [server.connect() for _ in range(2)]
        for each in made:
            each.ask("version")
        third = server.connect()
        answer = third.read()
        VALIDATOR("response").validate(answer)
        assert answer["error"]["code"] == TOO_MANY and answer["id"] is None, answer
        assert third.read() is None
        made[0].close()
        wait_until(lambda: made[1].ask("stats")["connections"] == 1, "the connection is kept")
        server.connect().ask("version")


def everything_is_in_the_log():
    with tempfile.TemporaryDirectory() as directory:
        path = os.path.join(directory, "log.jsonl")
        with Server("--log", path, "--connections", "1") as server:
            made = server.connect()
            made.ask("version")
            made.refused("nothing")
            made.notify("version")
            made.send_bytes(b"{\n")
            made.read()
            made.start("x" * 5000)
            made.read()
            server.connect().read()
            process, = server.children()
            os.kill(process, signal.SIGKILL)
            number = made.start("version")
            made.response(number)
            made.close()
            wait_until(lambda: "closed" in pathlib.Path(path).read_text(), "the end is not in the log")
        assert stat.S_IMODE(os.stat(path).st_mode) & 0o077 == 0
        entries = [json.loads(line) for line in pathlib.Path(path).read_text().splitlines()]
        for entry in entries:
            time.strptime(entry["time"], "%Y-%m-%dT%H:%M:%S.%fZ")
        requests = [entry for entry in entries if entry["event"] == "request"]
        assert [(entry["method"] or "")[:10] for entry in requests] == ["version", "nothing", "version", "", "x" * 10, "version"], requests
        assert [entry["error"] for entry in requests[:5]] == [None, METHOD_NOT_FOUND, None, PARSE_ERROR, METHOD_NOT_FOUND]
        assert [entry["id"] for entry in requests[:4]] == [1, 2, None, None]
        assert all(entry["milliseconds"] >= 0 and entry["connection"] == 1 for entry in requests)
        assert len(requests[4]["method"]) == 200
        events = [entry["event"] for entry in entries if entry["event"] != "request"]
        assert sorted(events) == ["closed", "opened", "refused", "session-lost"], events
        done = subprocess.run([ZAR, "serve", "--log", directory], capture_output=True, text=True, stdin=subprocess.DEVNULL)
        assert done.returncode == 70 and directory in done.stderr, done
    made = client("--log", "/dev/full")
    for _ in range(3):
        made.ask("version")
    assert made.wait() == 0
    assert made.errors.count("the log cannot be written") == 1, made.errors


def a_server_without_descriptors_goes_on():
    few = 40
    with Server(BROADBAND, "--connections", "60", preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (few, few))) as server:
        first = server.connect()
        first.ask("version")
        made = [server.connect() for _ in range(few)]
        complaint = server.complaint()
        assert "a connection cannot be accepted" in complaint, complaint
        assert first.ask("stats")["connections"] < few
        error = made[0].refused("version")
        assert error["code"] == INTERNAL, error
        for each in made:
            each.close()
        wait_until(lambda: first.ask("stats")["connections"] == 1, "the connections are kept")
        server.connect().ask("version")
        os.kill(server.process.pid, signal.SIGTERM)
        assert server.process.wait(HUNG) == 0
        server.end = lambda: setattr(server, "errors", "") or 0


GROUPS = {
    "methods": [
        every_method_does_what_its_schema_says, results_are_those_of_the_sub_commands,
        raising_changes_the_session_and_explaining_does_not, a_wrong_request_is_refused_and_the_session_goes_on,
        the_errors_of_a_checked_file_are_a_result, a_load_replaces_what_the_session_had, targets_come_and_go,
        a_file_that_is_wrong_stops_the_server_at_once,
    ],
    "messages": [
        requests_are_answered_in_their_order, lines_may_end_in_any_way, what_is_no_request_gets_an_error,
        notifications_are_done_and_not_answered, a_batch_is_answered_by_one_list, after_a_shutdown_nothing_is_done,
    ],
    "limits": [
        a_request_under_way_is_cancelled, waiting_requests_are_cancelled_in_their_order,
        requests_in_a_batch_are_cancelled_too, a_request_that_takes_too_long_leaves_the_session_as_it_was,
        a_session_that_cannot_be_stopped_is_lost, a_request_that_is_too_large_is_skipped,
    ],
    "sizes": [a_gigabyte_costs_no_memory, a_large_request_is_answered],
    "sessions": [
        sessions_know_nothing_of_each_other, the_crash_of_a_session_touches_no_other, work_that_crashes_costs_only_its_request,
        clients_that_die_leave_nothing, a_client_that_stops_writing_gets_its_answers, a_client_that_does_not_read_waits_alone,
    ],
    "sockets": [
        the_socket_is_for_its_owner_alone, only_a_dead_socket_is_replaced, signals_end_everything,
        sessions_end_with_a_server_that_is_killed, one_connection_too_many_is_turned_away, everything_is_in_the_log,
        a_server_without_descriptors_goes_on,
    ],
}

for test in GROUPS[GROUP]:
    print(test.__name__, flush=True)
    test()
