"""examples/freeradius: a real FreeRADIUS asks a policy, and gives the answers that the command gives.

With ZAR_WRITE_DAY=yes the recorded day of the example is written anew.
"""

import datetime
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys

import jsonschema
import pytest
from radius import EXAMPLE, POLICY, UNPRINTED, Answer, RadiusServer, accounting, free_ports, request, subscriber, whole_day
from support import SOURCE, children_of

import zar
from zar import _connection

sys.path.insert(0, str(EXAMPLE))
from radius_events import Events  # noqa: E402: it is where the example is

HOME = "user-1@home.example.net"
DAY = EXAMPLE / "day.detail"
EVENTS = EXAMPLE / "day.jsonl"


@pytest.fixture
def server(tmp_path):
    with RadiusServer(tmp_path) as found:
        assert found.has_started(), found.output
        yield found


def command(*arguments):
    return subprocess.run([_connection.find_command(None), *arguments], capture_output=True, text=True)


def explained(packet, **more):
    """The answer that zar explain gives to an Access-Request."""
    asked = {"User-Name", "NAS-Port-Id"}
    values = {f"request/{name}": value.strip('"') for name, value in packet if name in asked} | more
    given = [word for name, value in values.items() for word in ("--set", f"{name}={value}")]
    printed = command("explain", str(POLICY), "--event", "session-start@sample@home.example.net", *given, "--json").stdout
    explanation = json.loads(printed)["explanation"]
    return answer_of(explanation["verdict"], explanation["changes"])


def answer_of(verdict, changes):
    attributes = {c["attribute"].removeprefix("reply/"): c["after"] for c in changes if c["attribute"].startswith("reply/")}
    return Answer("Access-Accept" if verdict == "permit" else "Access-Reject", attributes)


def events_of(detail, *options):
    done = subprocess.run([sys.executable, str(EXAMPLE / "detail_to_events"), str(POLICY), str(detail), *options],
                          capture_output=True, text=True)
    return done.returncode, done.stdout, done.stderr


# ---- Answers ----


@pytest.mark.parametrize("number", [0, 1, 3, 5])
def test_an_answer_is_the_one_that_the_command_explains(server, number):
    packet = request(*subscriber(number))
    assert server.send(packet) == explained(packet)


def test_a_permit_is_an_accept_with_what_the_policy_set(server):
    answer = server.send(request(HOME, "olt-1/1/1"))
    assert answer == Answer("Access-Accept", {"Filter-Id": "best-effort", "Session-Timeout": "28800"})


def test_a_denial_is_a_reject_with_what_the_policy_set(server):
    answer = server.send(request(HOME, "olt-9/1/1"))
    assert answer == Answer("Access-Reject", {"Reply-Message": "This line is barred"})
    assert f"zar: {HOME}: the line is barred" in server.output


def test_accounting_changes_what_the_next_request_gets(server):
    line = "olt-1/1/1"
    assert server.send(request(HOME, line)).attributes["Filter-Id"] == "best-effort"
    for status, gigawords in [("Start", 0), ("Interim-Update", 5)]:
        assert server.send(accounting(status, HOME, line, gigawords=gigawords)).kind == "Accounting-Response"
    packet = request(HOME, line)
    assert server.send(packet) == explained(packet, slow="yes")
    assert server.send(accounting("Stop", HOME, line)).kind == "Accounting-Response"
    assert server.send(packet).attributes["Filter-Id"] == "best-effort"


def test_nothing_of_an_earlier_answer_is_left(server):
    server.send(request(HOME, "olt-9/1/1"))
    assert server.send(request(HOME, "olt-1/1/1")).attributes.keys() == {"Filter-Id", "Session-Timeout"}


def test_an_attribute_that_a_packet_lacks_is_not_that_of_an_earlier_one(server):
    assert server.send(request(HOME, "olt-1/1/1")).kind == "Access-Accept"
    assert server.send([("User-Name", f'"{HOME}"')]).kind == "Access-Reject"


def test_a_target_of_the_policy_file_can_be_asked_about(server):
    user = "sample@home.example.net"
    assert server.send(request(user, "olt-1/1/1")).kind == "Access-Accept"
    assert server.send(accounting("Stop", user, "olt-1/1/1")).kind == "Accounting-Response"
    assert server.send(request(user, "olt-1/1/1")).kind == "Access-Accept"


def test_a_request_that_could_not_be_played_leaves_nothing_behind():
    with zar.load(POLICY) as simulator:
        events = Events(simulator.config(), ["access", "volume"])
    packet = [("User-Name", "u"), ("NAS-Port-Id", "olt-1/1/1")]
    assert "add-target" in next(events.lines_of(packet))
    lines = list(events.lines_of(packet))
    assert ["add-target" in line for line in lines] == [True, False]
    next(events.lines_of(packet))
    (last,) = events.lines_of([("User-Name", "u")])
    assert "request/NAS-Port-Id" in last["clear"]


def test_starts_of_access_servers_are_answered_and_change_nothing(server):
    assert server.send([("Acct-Status-Type", "Accounting-On")]).kind == "Accounting-Response"


@pytest.mark.parametrize("user", ['a b', 'a\\"b', "ä", "+41", "\\\\"])
def test_any_user_name_is_a_target(server, user):
    assert server.send(request(user, "olt-1/1/1")).kind == "Access-Accept"
    assert server.send(accounting("Start", user, "olt-1/1/1")).kind == "Accounting-Response"


@pytest.mark.parametrize("packet, complaint", [
    ([("NAS-Port-Id", '"olt-1/1/1"')], "zar: the packet has no User-Name"),
    (request("u" * 64, "olt-1/1/1"), "is too long to name a target"),
])
def test_a_packet_without_a_usable_name_is_rejected_with_a_message(server, packet, complaint):
    assert server.send(packet).kind == "Access-Reject"
    assert complaint in server.output


# ---- Failures ----


def test_a_policy_that_cannot_be_loaded_keeps_the_server_from_starting(tmp_path):
    policy = tmp_path / "bad.yaml"
    policy.write_text(POLICY.read_text().replace("class: business", "class: busyness"))
    with RadiusServer(tmp_path, policy) as server:
        assert not server.has_started()
    assert f"zar: cannot start: {policy}:" in server.output and "did you mean 'business'?" in server.output
    assert server.process.returncode != 0


def test_a_simulator_that_dies_is_started_anew(server):
    assert server.send(request(HOME, "olt-1/1/1")).kind == "Access-Accept"
    for child in children_of(server.process.pid):
        os.kill(child, signal.SIGKILL)
    assert server.send(request(HOME, "olt-1/1/1")).kind == "Access-Accept"
    assert "zar: the policy starts anew" in server.output


def test_ending_the_server_ends_the_simulator(tmp_path):
    with RadiusServer(tmp_path) as server:
        assert server.has_started(), server.output
        children = children_of(server.process.pid)
        assert children
    assert server.process.returncode == 0
    assert not [child for child in children if os.path.exists(f"/proc/{child}")]


def test_a_limit_on_targets_forgets_the_one_that_was_silent_longest(tmp_path):
    raddb = tmp_path / "raddb"
    shutil.copytree(EXAMPLE / "raddb", raddb)
    settings = raddb / "mods-available" / "zar"
    settings.write_text(settings.read_text().replace('limit = "10000"', 'limit = "2"'))
    with RadiusServer(tmp_path, raddb=raddb) as server:
        assert server.has_started(), server.output
        for user in ("one", "two"):
            server.send(accounting("Interim-Update", user, "olt-1/1/1", gigawords=9))
        server.send(request("one", "olt-1/1/1"))
        server.send(request("three", "olt-1/1/1"))
        assert server.send(request("one", "olt-1/1/1")).attributes["Filter-Id"] == "slow"
        assert server.send(request("two", "olt-1/1/1")).attributes["Filter-Id"] == "best-effort"


# ---- A day, recorded and played again ----


def test_a_day_is_answered_as_its_recording_plays(server, tmp_path):
    packets = whole_day()
    answers = [server.send_once(packet) for packet in packets]
    assert {answer.kind for answer in answers} - {"unprinted"} == {"Access-Accept", "Access-Reject", "Accounting-Response"}
    assert answers.count(UNPRINTED) < len(packets) / 10
    assert "secret" not in server.detail.read_text()

    status, stream, problems = events_of(server.detail)
    assert (status, problems) == (0, "")
    if os.environ.get("ZAR_WRITE_DAY") == "yes":
        DAY.write_text(with_the_times_of_its_packets(server.detail.read_text()))
        EVENTS.write_text(stream)
    assert stream == EVENTS.read_text()

    events = tmp_path / "events.jsonl"
    events.write_text(stream)
    played = command("run", str(POLICY), "--events", str(events), "--jsonl")
    assert played.returncode == 0, played.stderr
    results = [json.loads(line) for line in played.stdout.splitlines()]
    assert len(results) == len(packets)
    for answer, result in zip(answers, results, strict=True):
        if result["event"] == "session-start" and answer != UNPRINTED:
            assert answer == answer_of(result["verdict"], result["changes"])
    assert any(answer.attributes.get("Filter-Id") == "slow" for answer in answers)


def with_the_times_of_its_packets(detail):
    """The recording as it would be if the day had taken a day."""
    found = [recorded_when_sent(packet) for packet in detail.split("\n\n") if packet]
    return "\n\n".join(found) + "\n\n"


def recorded_when_sent(packet):
    sent = datetime.datetime.strptime(re.search('Event-Timestamp = "(.*) UTC"', packet)[1], "%b %d %Y %H:%M:%S")
    seconds = int(sent.replace(tzinfo=datetime.timezone.utc).timestamp())
    lines = [f"{sent:%a %b} {sent.day:2} {sent:%H:%M:%S %Y}", *packet.splitlines()[1:]]
    return re.sub("\tTimestamp = .*", f"\tTimestamp = {seconds}", "\n".join(lines))


def test_the_recorded_day_becomes_the_stream_of_the_example():
    assert events_of(DAY) == (0, EVENTS.read_text(), "")


def test_the_stream_has_the_form_of_its_schema():
    schema = json.loads((SOURCE / "share" / "schema" / "stream.json").read_text())
    for line in EVENTS.read_text().splitlines():
        jsonschema.validate(json.loads(line), schema)


# ---- Detail files ----


def test_recorded_texts_are_read_with_their_escapes(tmp_path):
    detail = tmp_path / "detail"
    detail.write_text('Thu Jan  1 00:00:00 2026\n\tPacket-Type = Access-Request\n\tUser-Name = "a\\"b\\\\c\\te\\001"\n\tTimestamp = 2\n\n')
    status, stream, _ = events_of(detail)
    assert status == 0
    assert [json.loads(line) for line in stream.splitlines()] == [
        {"add-target": "a+22b+5Cc+09e+01", "policies": ["access", "volume"]},
        {"event": "session-start", "target": "a+22b+5Cc+09e+01", "set": {"request/User-Name": 'a"b\\c\te\x01'},
         "clear": ["reply/Filter-Id", "reply/Reply-Message", "reply/Session-Timeout", "request/Acct-Output-Gigawords",
                   "request/NAS-Port-Id"]},
    ]


def test_several_files_are_merged_by_time(tmp_path):
    for name, times in {"one": (1, 3), "two": (2, 4)}.items():
        text = "".join(f'time\n\tUser-Name = "u{time}"\n\tTimestamp = {time}\n\n' for time in times)
        (tmp_path / name).write_text(text)
    _, stream, _ = events_of(tmp_path / "one", str(tmp_path / "two"))
    assert [json.loads(line)["target"] for line in stream.splitlines() if '"event"' in line] == ["u1", "u2", "u3", "u4"]


def test_answers_in_a_detail_file_are_no_events(tmp_path):
    detail = tmp_path / "detail"
    detail.write_text('time\n\tPacket-Type = Access-Accept\n\tUser-Name = "a"\n\tTimestamp = 1\n\n')
    assert events_of(detail) == (0, "", "")


def test_a_packet_without_a_name_is_reported(tmp_path):
    detail = tmp_path / "detail"
    detail.write_text("time\n\tPacket-Type = Access-Request\n\tTimestamp = 7\n\n")
    assert events_of(detail) == (1, "", "the packet at 7: the packet has no User-Name\n")


def test_a_text_that_is_not_utf_8_is_rejected_and_reported(server):
    assert server.send(request("\\377", "olt-1/1/1")).kind == "Access-Reject"
    status, stream, problems = events_of(server.detail)
    assert (status, stream) == (1, "") and "the value of User-Name is not UTF-8" in problems


def test_the_commands_of_the_readme_work(tmp_path):
    script = "".join(re.findall(r"^```sh\n(.*?)^```$", (EXAMPLE / "README.md").read_text(), re.DOTALL | re.MULTILINE))
    for port, free in zip(("18120", "18130"), free_ports(), strict=True):
        assert port in script
        script = script.replace(port, str(free))
    # The package is not installed here, and FreeRADIUS may ignore PYTHONPATH.
    assert "ZAR_RADIUS_PYTHON=$PWD" in script
    script = script.replace("ZAR_RADIUS_PYTHON=$PWD", f"ZAR_RADIUS_PYTHON=$PWD:{SOURCE / 'python'}")
    zar_command = pathlib.Path(_connection.find_command(None))
    environment = {**os.environ, "TMPDIR": str(tmp_path), "PATH": f"{zar_command.parent}:{os.environ['PATH']}"}
    done = subprocess.run(["sh", "-c", f"{script}\nkill $!; wait"], cwd=EXAMPLE, env=environment, capture_output=True, text=True)
    assert "Received Access-Accept" in done.stdout and "Received Access-Reject" in done.stdout, done.stdout + done.stderr
    assert "2 events, 1 target" in done.stderr, done.stderr
    assert re.search(r"^\d+ of 232 lines differ$", done.stdout, re.MULTILINE), done.stdout


def test_the_tests_of_the_policy_hold():
    done = command("test", str(POLICY))
    assert done.returncode == 0, done.stdout
    assert command("prove", str(POLICY)).returncode == 0
    assert command("fmt", "--check", str(POLICY)).returncode == 0
