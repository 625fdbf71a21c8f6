"""Calls, time limits and cancellation, with a server that does what a test says; and with servers that are not there."""

import contextlib
import json
import os
import random
import signal
import threading
import time

import pytest
from support import BROADBAND, HUNG, ScriptedServer, error, result

import zar
from zar import _connection

STATS = {"uptime_seconds": 3, "requests": 1, "errors": 0, "connections": 1, "connections_total": 1, "sessions_lost": 0,
         "session": {"requests": 1, "events": 0, "targets": 0, "file": None}}


@pytest.fixture
def serve(tmp_path):
    """serve(answer) gives a simulator on a server that answers so, and the server."""
    opened = []

    def start(answer, timeout=None):
        server = ScriptedServer(tmp_path / f"socket{len(opened)}", answer)
        simulator = zar.connect(server.path, timeout=timeout)
        opened.extend([server, simulator])
        return simulator, server

    yield start
    for thing in opened:
        thing.close()


def test_a_number_without_a_fraction_is_a_number_too(serve):
    simulator, _ = serve(lambda request: [result(request, STATS)])
    assert simulator.stats().uptime_seconds == 3.0


def test_members_that_a_newer_server_adds_are_ignored(serve):
    simulator, _ = serve(lambda request: [result(request, {**STATS, "more": [1, 2]})])
    assert simulator.stats().requests == 1


@pytest.mark.parametrize("wrong, complaint", [
    ({}, "stats has no member 'uptime_seconds'"),
    ([], "stats is [], not an object"),
    ({**STATS, "requests": "1"}, "stats.requests is '1', not of type int"),
    ({**STATS, "errors": True}, "stats.errors is True, not of type int"),
    ({**STATS, "session": None}, "stats.session is None, not an object"),
])
def test_an_answer_of_another_form_says_where_it_differs(serve, wrong, complaint):
    simulator, _ = serve(lambda request: [result(request, wrong)])
    with pytest.raises(zar.ProtocolError) as caught:
        simulator.stats()
    assert complaint in str(caught.value)


@pytest.mark.parametrize("junk", [b"hello\n", b"[1]\n", b"\xff\n", b'{"id": 2}\n'])
def test_an_answer_that_is_none_is_an_error_of_the_protocol(serve, junk):
    simulator, _ = serve(lambda request: [junk])
    with pytest.raises(zar.ProtocolError):
        simulator.stats()


@pytest.mark.parametrize("code, expected", [
    (3, zar.NotLoaded), (4, zar.Cancelled), (5, zar.TimedOut), (6, zar.TooLarge), (7, zar.SessionLost), (8, zar.ShuttingDown),
    (9, zar.TooManyConnections), (-32603, zar.ServerFailure), (-32602, zar.ProtocolError), (99, zar.ProtocolError),
])
def test_each_error_has_its_exception(serve, code, expected):
    simulator, _ = serve(lambda request: [error(request, code, "because")])
    with pytest.raises(expected, match="stats: because"):
        simulator.stats()


def test_a_request_that_the_server_could_not_read_fails(serve):
    simulator, _ = serve(lambda request: [{"id": None, "error": {"code": 6, "message": "too large"}}])
    with pytest.raises(zar.TooLarge):
        simulator.stats()


def test_an_interruption_says_whether_the_session_is_lost(serve):
    simulator, _ = serve(lambda request: [error(request, 4, session_lost=True)])
    with pytest.raises(zar.Cancelled) as caught:
        simulator.stats()
    assert caught.value.session_lost


def test_an_answer_may_come_in_pieces(serve):
    def piecewise(request):
        text = zar_answer(request)
        return [text[:10], text[10:-1], text[-1:]]

    simulator, _ = serve(piecewise)
    assert simulator.stats().requests == 1


def zar_answer(request):
    return json.dumps(result(request, STATS)).encode() + b"\n"


# ---- Time limits and cancellation ----


def answers_once_cancelled(request):
    """A server that works until its request is cancelled."""
    if request["method"] == "cancel":
        return [{"id": request["params"]["id"], "error": {"code": 4, "message": "cancelled"}}]
    return []


def test_a_call_that_takes_too_long_is_cancelled_at_the_server(serve):
    simulator, server = serve(answers_once_cancelled)
    with pytest.raises(zar.TimedOut, match="no answer within 0.05 seconds") as caught:
        simulator.stats(timeout=0.05)
    assert isinstance(caught.value, TimeoutError) and not caught.value.session_lost
    server.answer = lambda request: [result(request, STATS)]
    assert simulator.stats().requests == 1
    assert [request["method"] for request in server.requests] == ["version", "stats", "cancel", "stats"]
    assert server.requests[2] == {"jsonrpc": "2.0", "method": "cancel", "params": {"id": server.requests[1]["id"]}}


def test_the_time_limit_of_a_simulator_is_that_of_its_calls(serve):
    simulator, _ = serve(answers_once_cancelled)
    simulator.timeout = 0.05
    with pytest.raises(zar.TimedOut):
        simulator.stats()


def test_an_answer_that_is_faster_than_its_cancellation_counts(serve):
    late = []

    def answer(request):
        if request["method"] == "cancel":
            return [result(late[0], STATS)]
        late.append(request)
        return []

    simulator, _ = serve(answer)
    assert simulator.stats(timeout=0.05).requests == 1


def test_a_server_that_hangs_is_given_up(serve, monkeypatch):
    monkeypatch.setattr(_connection, "GRACE", 0.05)
    simulator, _ = serve(lambda request: [])
    with pytest.raises(zar.TimedOut, match="hangs"):
        simulator.stats(timeout=0.05)
    assert simulator.closed
    with pytest.raises(zar.Disconnected):
        simulator.stats()


def test_another_thread_cancels_a_call(serve):
    simulator, server = serve(answers_once_cancelled)
    canceller = threading.Thread(target=cancel_once_it_waits, args=(simulator, server))
    canceller.start()
    with pytest.raises(zar.Cancelled):
        simulator.stats()
    canceller.join(HUNG)


def cancel_once_it_waits(simulator, server):
    while not any(request["method"] == "stats" for request in server.requests):
        time.sleep(0.001)
    simulator.cancel()


def test_cancelling_without_a_call_does_nothing(serve):
    simulator, server = serve(lambda request: [result(request, STATS)])
    simulator.cancel()
    simulator.stats()
    simulator.cancel()
    assert [request["method"] for request in server.requests] == ["version", "stats"]


def test_after_an_interrupt_the_next_call_gets_its_own_answer(serve):
    rounds = 200
    pauses = random.Random(1)

    def answer(request):
        if request["method"] == "cancel":
            return [error({"id": request["params"]["id"]}, 4)]
        if request["method"] == "lint":
            time.sleep(pauses.choice([0, 0.00001, 0.0001]))
            os.kill(os.getpid(), signal.SIGINT)
            return []
        return [result(request, {**STATS, "requests": request["id"]})]

    simulator, server = serve(answer)
    for _ in range(rounds):
        with pytest.raises(KeyboardInterrupt):
            simulator.lint()
        assert simulator.stats().requests == server.requests[-1]["id"]
    assert [request["method"] for request in server.requests] == ["version", *["lint", "cancel", "stats"] * rounds]


def test_an_interrupt_at_any_moment_leaves_a_connection_that_works(serve):
    seen = []
    moments = random.Random(1)

    def answer(request):
        return [] if request["method"] == "cancel" else [result(request, {**STATS, "requests": request["id"]})]

    def interrupt(after):
        time.sleep(after)
        os.kill(os.getpid(), signal.SIGINT)

    simulator, _ = serve(answer)
    for _ in range(300):
        interrupter = threading.Thread(target=interrupt, args=(moments.uniform(0, 0.0005),))
        with contextlib.suppress(KeyboardInterrupt):
            interrupter.start()
            while True:
                seen.append(simulator.stats().requests)
        interrupter.join(HUNG)
        seen.append(simulator.stats().requests)
    assert seen == sorted(set(seen))


def test_threads_take_turns(serve):
    simulator, _ = serve(lambda request: [result(request, {**STATS, "requests": request["id"]})])
    seen = []
    threads = [threading.Thread(target=lambda: seen.extend(simulator.stats().requests for _ in range(50))) for _ in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join(HUNG)
    assert len(seen) == len(set(seen)) == 200


def test_a_call_that_waits_for_another_one_has_its_own_time_limit(serve):
    simulator, server = serve(answers_once_cancelled)
    first = threading.Thread(target=lambda: pytest.raises(zar.Cancelled, simulator.stats))
    first.start()
    while len(server.requests) < 2:
        time.sleep(0.001)
    with pytest.raises(zar.TimedOut, match="another call"):
        simulator.stats(timeout=0.05)
    simulator.cancel()
    first.join(HUNG)
    assert not first.is_alive()


def test_closing_ends_a_call_of_another_thread(serve):
    simulator, server = serve(lambda request: [])
    ended = []

    def call():
        with pytest.raises(zar.Disconnected):
            simulator.stats()
        ended.append(True)

    thread = threading.Thread(target=call)
    thread.start()
    while len(server.requests) < 2:
        time.sleep(0.001)
    simulator.close()
    thread.join(HUNG)
    assert ended


# ---- Servers that are not there, or end ----


def test_a_socket_without_a_server_is_an_error_that_names_it(tmp_path):
    with pytest.raises(zar.Disconnected, match="no server listens on .*nothing"):
        zar.connect(tmp_path / "nothing")


def test_a_server_that_vanishes_ends_the_call(serve):
    simulator, server = serve(lambda request: server.close())
    with pytest.raises(zar.Disconnected, match="closed the connection"):
        simulator.stats()
    assert simulator.closed


def test_another_version_of_the_protocol_is_refused(tmp_path, monkeypatch):
    monkeypatch.setattr("zar.simulator.PROTOCOL", 2)
    with ScriptedServer(tmp_path / "socket", lambda request: []) as server:
        with pytest.raises(zar.ZarError, match="version 1 of the protocol; this package needs 2"):
            zar.connect(server.path)


def test_a_command_that_is_not_there_is_an_error_that_names_it(monkeypatch, tmp_path):
    with pytest.raises(zar.CommandNotFound, match="no command missing-zar;"):
        zar.load(BROADBAND, command="missing-zar")
    monkeypatch.setenv("ZAR_COMMAND", "/missing/zar")
    with pytest.raises(zar.CommandNotFound, match=r"/missing/zar \(from ZAR_COMMAND\)"):
        zar.load(BROADBAND)


def test_a_command_that_is_another_program_says_so():
    with pytest.raises(zar.Disconnected, match="exit status 1"):
        zar.start(command="false")


def test_an_argument_is_stronger_than_the_environment(monkeypatch):
    real = _connection.find_command(None)
    monkeypatch.setenv("ZAR_COMMAND", "/missing/zar")
    assert _connection.find_command(real) == real
