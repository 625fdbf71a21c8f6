"""Simulators on the real command: what is loaded, events, targets, and all that the command knows about a file."""

import contextlib
import json
import os
import pathlib
import signal
import subprocess
import threading
import time

import pytest
from support import BROADBAND, HUNG, SOURCE, only_child_of

import zar
from zar import _connection

POLICIES = SOURCE / "tests" / "command" / "policies"


@pytest.fixture
def simulator():
    with zar.load(BROADBAND) as found:
        yield found


# ---- Events ----


def test_an_event_has_a_verdict_with_its_reason(simulator):
    answer = simulator.raise_event("session-start", "line-0103")
    assert answer.denied and not answer.permitted
    assert answer.decided_by.rule == "service/session-start/20"
    assert (answer.decided_by.class_map, answer.decided_by.action.action) == ("unauthorised", "deny")
    line = BROADBAND.read_text().splitlines()[answer.decided_by.action.line - 1]
    assert line[answer.decided_by.action.column - 1 :] == "deny"


def test_an_event_changes_attributes_and_logs(simulator):
    answer = simulator.raise_event("session-start", "line-0103")
    assert answer.changed()["downstream-kbps"] == "64"
    assert answer.log == ("the account is barred",)
    assert simulator.attributes("line-0103")["downstream-kbps"] == "64"


def test_an_explanation_changes_nothing(simulator):
    before = simulator.attributes("line-0101")
    answer = simulator.explain("session-start", "line-0101")
    assert answer.permitted and answer.changed()["starts"] == "1"
    assert simulator.attributes("line-0101") == before


def test_events_see_what_earlier_ones_left(simulator):
    for number in ("1", "2", "3"):
        assert simulator.raise_event("session-start", "line-0101").changed()["starts"] == number


def test_attributes_are_cleared_and_set_before_the_event(simulator):
    answer = simulator.raise_event("session-start", "line-0103", set={"unpaid-months": 0}, clear=["account-state"])
    assert answer.permitted
    assert answer.given.set == {"unpaid-months": "0"} and answer.given.clear == ("account-state",)


def test_numbers_and_booleans_stand_for_their_texts(simulator):
    attributes = simulator.set_attributes("line-0101", {"unpaid-months": -7, "access": True, "service": "no ä"})
    assert (attributes["unpaid-months"], attributes["access"], attributes["service"]) == ("-7", "true", "no ä")


def test_other_values_are_refused_before_they_are_sent(simulator):
    with pytest.raises(TypeError, match="the value of x is a float"):
        simulator.set_attributes("line-0101", {"x": 1.5})
    with pytest.raises(TypeError, match="'x' is one name"):
        simulator.set_attributes("line-0101", clear="x")


def test_levels_show_more_or_less_of_the_path(simulator):
    def of(level):
        return simulator.explain("session-start", "line-0101", level=level)

    assert of("decision").policies == ()
    assert of("rules").policies and not any(rule.filters for policy in of("rules").policies for rule in policy.rules)
    assert any(rule.filters for policy in of("filters").policies for rule in policy.rules)


def test_an_explanation_agrees_with_the_command(simulator):
    command = _connection.find_command(None)
    line = [command, "explain", str(BROADBAND), "--event", "session-start@line-0102", "--set", "unpaid-months=9", "--json"]
    printed = json.loads(subprocess.run(line, capture_output=True, check=True).stdout)["explanation"]
    answer = simulator.explain("session-start", "line-0102", set={"unpaid-months": 9})
    assert answer == _connection.decode(zar.Explanation, printed)


# ---- Targets ----


def test_targets_come_and_go(simulator):
    added = simulator.add_target("line-9", {"circuit-id": "olt-1/1/9", "account": "9", "access": "fibre", "service": "flat"},
                                 ["authorisation", "service"])
    assert added.policies == ("authorisation", "service") and added.attributes["account"] == "9"
    assert simulator.raise_event("session-start", "line-9").permitted
    simulator.delete_target("line-9")
    with pytest.raises(zar.Refused, match="line-9"):
        simulator.attributes("line-9")


@pytest.mark.parametrize("call", [
    lambda simulator: simulator.raise_event("session-start", "line-9999"),
    lambda simulator: simulator.raise_event("no-such-event", "line-0101"),
    lambda simulator: simulator.explain("session-start", "line-9999"),
    lambda simulator: simulator.set_attributes("line-9999", {"a": "b"}),
    lambda simulator: simulator.set_attributes("line-0101", {"not a name": "b"}),
    lambda simulator: simulator.add_target("line-0101", {}, ["service"]),
    lambda simulator: simulator.add_target("line-9", {}, ["no-such-policy"]),
    lambda simulator: simulator.add_target("line-9", {}, []),
    lambda simulator: simulator.delete_target("line-9999"),
])
def test_what_the_repository_refuses_comes_with_complaints(simulator, call):
    with pytest.raises(zar.Refused) as caught:
        call(simulator)
    assert caught.value.complaints
    assert simulator.raise_event("session-start", "line-0101").changed()["starts"] == "1"


# ---- Loading ----


def test_several_simulators_are_independent():
    with zar.load(BROADBAND) as one, zar.load(BROADBAND) as other, zar.load(SOURCE / "examples" / "guest-network.yaml") as guests:
        one.raise_event("session-start", "line-0101")
        assert "starts" not in other.attributes("line-0101")
        assert guests.config().policy_maps != one.config().policy_maps


def test_a_text_is_a_policy_too():
    text = BROADBAND.read_text()
    with zar.load_text(text, "mine.yaml") as simulator:
        assert simulator.explain("session-start", "line-0101").file == "mine.yaml"


def test_loading_replaces_what_was_there(simulator):
    simulator.raise_event("session-start", "line-0101")
    loaded = simulator.load(BROADBAND)
    assert loaded.file.endswith("broadband.yaml") and loaded.objects["targets"] == 3
    assert "starts" not in simulator.attributes("line-0101")


BAD = "domains: {s: }\nclass-maps:\n  gold: {}\npolicy-maps:\n  p:\n    events:\n      go:\n        rules:\n          - {number: 1, class: gould, actions: [permit]}\n"


def test_an_error_in_a_policy_has_its_file_line_and_column(tmp_path):
    file = tmp_path / "bad.yaml"
    file.write_text(BAD)
    with pytest.raises(zar.PolicyError) as caught:
        zar.load(file)
    error = caught.value
    assert (error.file, error.line) == (str(file), 9)
    assert BAD.splitlines()[8][error.column - 1 :].startswith("gould")
    assert error.suggestion == "gold"
    assert str(error).startswith(f"{file}:9:{error.column}: ")


def test_after_an_error_the_session_is_as_before(simulator, tmp_path):
    simulator.raise_event("session-start", "line-0101")
    with pytest.raises(zar.PolicyError):
        simulator.load_text(BAD)
    with pytest.raises(zar.PolicyError, match="nothing.yaml"):
        simulator.load(tmp_path / "nothing.yaml")
    assert simulator.attributes("line-0101")["starts"] == "1"


def test_without_a_policy_there_is_nothing_to_ask():
    with zar.start() as simulator:
        with pytest.raises(zar.NotLoaded):
            simulator.explain("go", "t")
        simulator.load(BROADBAND)
        assert simulator.explain("session-start", "line-0101").permitted


def test_a_relative_path_is_one_of_this_process(monkeypatch, tmp_path):
    monkeypatch.chdir(SOURCE / "examples")
    with zar.load("broadband.yaml") as simulator:
        assert simulator.explain("session-start", "line-0101").file == "broadband.yaml"
        monkeypatch.chdir(tmp_path)
        (tmp_path / "mine.yaml").write_text(BROADBAND.read_text())
        assert simulator.load("mine.yaml").file == str(tmp_path / "mine.yaml")


# ---- Checks, lint, tests, differences ----


def test_checking_reports_errors_instead_of_raising_them(simulator):
    good = simulator.check()
    assert good.good and good.files[0].objects.targets == 3
    bad = simulator.check(text=BAD, name="bad.yaml")
    assert not bad.good and bad.files[0].file == "bad.yaml" and bad.files[0].errors[0].suggestion == "gold"
    assert simulator.check(POLICIES / "lint.yaml").good


def test_a_path_and_a_text_are_one_too_many(simulator):
    with pytest.raises(ValueError, match="not both"):
        simulator.check(BROADBAND, text="")


def test_lint_finds_what_is_provably_wrong(simulator):
    simulator.load(POLICIES / "lint.yaml")
    found = simulator.lint(effort=30)
    kinds = {finding.kind for finding in found.findings}
    assert {"shadowed-rule", "unused-class"} <= kinds
    assert all(finding.line >= 1 for finding in found.findings)


def test_the_tests_of_a_file_run(simulator):
    run = simulator.test()
    assert run.failed == 0 and run.passed == len(list(run)) > 5
    assert run.files[0].coverage.percent > 50


def test_a_failed_test_says_why(simulator):
    simulator.load(POLICIES / "failing.yaml")
    failed = [test for test in simulator.test() if not test.passed]
    assert failed and all(test.failures for test in failed)
    text = str(next(test for test in failed if test.explanation))
    assert "expected" in text and "verdict:" in text


def test_differences_between_two_versions(simulator):
    simulator.load(POLICIES / "diff-old.yaml")
    found = simulator.diff(POLICIES / "diff-new.yaml", replay=True)
    assert found.added + found.removed + found.changed + found.renamed == len(found.changes) > 0
    assert found.replay.events > 0
    same = simulator.diff(text=(POLICIES / "diff-old.yaml").read_text(), name="same.yaml")
    assert same.changes == () and same.replay is None


def test_what_is_in_the_repository(simulator):
    (shown,) = simulator.show("target", "line-0101").objects
    assert isinstance(shown.object, zar.results.Target) and shown.object.policies == ("authorisation", "service")
    kinds = {type(shown.object) for shown in simulator.show().objects}
    assert kinds == {zar.results.Target, zar.results.PolicyMap, zar.results.ClassMap, zar.results.ParameterMap}


def test_the_running_configuration_has_what_changed(simulator):
    simulator.set_attributes("line-0101", {"queue": "blue"})
    config = simulator.config()
    target = next(target for target in config.targets if target.name == "line-0101")
    assert target.attributes["queue"] == "blue"
    assert "unpaid-months" in config.tested_attributes() and "queue" not in config.tested_attributes()


# ---- Servers ----


def test_statistics_count_this_session(simulator):
    simulator.raise_event("session-start", "line-0101")
    stats = simulator.stats()
    assert stats.connections == 1 and stats.session.events == 1 and stats.session.targets == 3
    assert simulator.version().version == zar.__version__


def test_closing_ends_the_server():
    simulator = zar.load(BROADBAND)
    process = simulator._connection.server._process
    simulator.close()
    simulator.close()
    assert process.returncode == 0
    with pytest.raises(zar.Disconnected):
        simulator.stats()


def test_a_server_that_is_killed_is_reported(simulator):
    simulator._connection.server._process.kill()
    with pytest.raises(zar.Disconnected, match="exit status -9"):
        simulator.explain("session-start", "line-0101")


def test_ctrl_c_at_the_terminal_spares_the_server(simulator):
    process = simulator._connection.server._process
    assert os.getpgid(process.pid) != os.getpgid(0)


@contextlib.contextmanager
def listening_on(path, *options):
    process = subprocess.Popen([_connection.find_command(None), "serve", "--socket", str(path), *options, str(BROADBAND)])
    deadline = time.monotonic() + HUNG
    while not path.exists() and time.monotonic() < deadline and process.poll() is None:
        time.sleep(0.01)
    yield path
    process.send_signal(signal.SIGTERM)
    assert process.wait(HUNG) == 0


@pytest.fixture
def listening(tmp_path):
    """The socket of a server that several clients share."""
    with listening_on(tmp_path / "socket") as path:
        yield path


def test_clients_of_one_server_have_sessions_of_their_own(listening):
    with zar.connect(listening) as one, zar.connect(listening) as other:
        one.raise_event("session-start", "line-0101")
        assert "starts" not in other.attributes("line-0101")
        assert one.stats().connections == 2
        assert pathlib.PurePath(one.load(BROADBAND).file).is_absolute()


def test_closing_leaves_a_shared_server_alone(listening):
    zar.connect(listening).close()
    with zar.connect(listening) as later:
        assert later.explain("session-start", "line-0101").permitted


def test_a_server_with_as_many_clients_as_it_may_have_says_so(tmp_path):
    with listening_on(tmp_path / "socket", "--connections", "1") as path, zar.connect(path):
        with pytest.raises(zar.TooManyConnections):
            zar.connect(path)


# ---- Limits ----


@pytest.fixture
def endless(tmp_path):
    """A file that nobody writes: reading it never ends."""
    path = tmp_path / "fifo"
    os.mkfifo(path)
    return path


@pytest.mark.parametrize("call", [zar.Simulator.check, zar.Simulator.load, zar.Simulator.diff])
def test_a_call_that_takes_too_long_is_ended_and_the_session_stays(simulator, endless, call):
    simulator.raise_event("session-start", "line-0101")
    with pytest.raises(zar.TimedOut) as caught:
        call(simulator, endless, timeout=0.1)
    assert not caught.value.session_lost
    assert simulator.attributes("line-0101")["starts"] == "1"


def test_the_server_has_a_time_limit_too(endless):
    with zar.load(BROADBAND, arguments=["--time-limit", "1"]) as simulator:
        with pytest.raises(zar.TimedOut, match="1 seconds"):
            simulator.check(endless)
        assert simulator.explain("session-start", "line-0101").permitted


def test_another_thread_cancels_a_real_call(simulator, endless):
    over = threading.Event()
    canceller = threading.Thread(target=cancel_until, args=(simulator, over))
    canceller.start()
    with pytest.raises(zar.Cancelled):
        simulator.check(endless, timeout=HUNG)
    over.set()
    canceller.join(HUNG)
    assert simulator.explain("session-start", "line-0101").permitted


def cancel_until(simulator, over):
    while not over.wait(0.05):
        simulator.cancel()


def test_a_request_that_is_too_large_does_no_harm():
    with zar.load(BROADBAND, arguments=["--size-limit", "1000"]) as simulator:
        with pytest.raises(zar.TooLarge):
            simulator.check(text="#" * 5000)
        assert simulator.explain("session-start", "line-0101").permitted


def test_a_session_that_dies_is_reported_and_the_server_goes_on(simulator):
    os.kill(only_child_of(simulator._connection.server._process.pid), signal.SIGKILL)
    with pytest.raises(zar.SessionLost):
        simulator.config()
    simulator.load(BROADBAND)
    assert simulator.explain("session-start", "line-0101").permitted
