"""A connection to zar serve: requests and answers, one JSON text a line, with time limits and cancellation.

A call holds the connection until its answer has come, so threads may share one. Another thread may cancel the call. A
call that is given up (its timeout, or an exception such as KeyboardInterrupt) is cancelled at the server; its answer is
skipped when it comes.
"""

from __future__ import annotations

import contextlib
import itertools
import json
import os
import pathlib
import select
import shutil
import socket
import subprocess
import tempfile
import threading
import time
from collections.abc import Callable, Iterator, Mapping, Sequence
from typing import IO, Protocol, TypeVar

from zar._decode import decode
from zar.errors import (
    Cancelled,
    CommandNotFound,
    Disconnected,
    NotLoaded,
    PolicyError,
    ProtocolError,
    Refused,
    ServerFailure,
    SessionLost,
    ShuttingDown,
    TimedOut,
    TooLarge,
    TooManyConnections,
    ZarError,
)
from zar.results import FileErrors

Params = Mapping[str, object]
T = TypeVar("T")

# The server ends a request within about a second of its cancellation; if it has not answered after this many seconds,
# it hangs, and the connection is given up.
GRACE = 5.0

# The system does not end a wait for a signal that came just before the wait, so waits are no longer than these seconds:
# an interrupt takes effect after them at the latest.
SLICE = 0.2


class Connection:
    """Sends requests over a socket and waits for their answers."""

    def __init__(self, stream: socket.socket, server: Server) -> None:
        stream.setblocking(False)
        self._stream = stream
        self.server = server
        self._numbers = itertools.count(1)
        self._calling = threading.Lock()
        self._writing = threading.Lock()
        # What has come and is not read yet; only the last piece may hold the end of a line.
        self._received: list[bytes] = [b""]
        self._under_way: int | None = None
        self._closed = False

    def call(self, method: str, params: Params, timeout: float | None) -> object:
        """The result of a request. Raises what the server answers, or TimedOut."""
        deadline = Deadline(timeout)
        turns: list[bool] = []
        try:
            kept(turns, self._calling.acquire, True, deadline.for_lock())
            if True not in turns:
                raise TimedOut(f"{method}: another call did not end within {timeout} seconds")
            return self._exchange(method, params, deadline)
        finally:
            if True in turns:
                self._calling.release()

    def cancel(self) -> None:
        """Cancels the call that is under way in another thread, if there is one."""
        number = self._under_way
        if number is not None:
            self._notify_cancelled(number)

    def close(self) -> None:
        if not self._closed:
            self._closed = True
            # This wakes another thread that waits for an answer.
            with contextlib.suppress(OSError):
                self._stream.shutdown(socket.SHUT_RDWR)
            self._stream.close()
            self.server.end()

    @property
    def closed(self) -> bool:
        return self._closed

    def _exchange(self, method: str, params: Params, deadline: Deadline) -> object:
        if self._closed:
            raise Disconnected("the connection is closed")
        number = next(self._numbers)
        try:
            self._under_way = number
            self._send({"jsonrpc": "2.0", "id": number, "method": method, "params": params}, deadline)
            answer = self._answer_to(number, deadline)
            if answer is None:
                answer = self._answer_after_cancelling(number, method, deadline)
        except (Disconnected, TimedOut):
            # There is no server any more, or it has already been asked to cancel the call.
            raise
        except BaseException:
            with contextlib.suppress(ZarError):
                self._notify_cancelled(number)
            raise
        finally:
            self._under_way = None
        return result_of(answer, method)

    def _answer_after_cancelling(self, number: int, method: str, deadline: Deadline) -> Params:
        """The timeout has passed. If the server was faster than the cancellation, its answer counts."""
        self._notify_cancelled(number)
        answer = self._answer_to(number, Deadline(GRACE))
        if answer is None:
            self.close()
            raise TimedOut(f"{method}: the server hangs; the connection is closed", session_lost=True)
        if error_code(answer) == CANCELLED:
            raise TimedOut(
                f"{method}: no answer within {deadline.seconds} seconds", session_lost=is_session_lost(answer)
            )
        return answer

    def _notify_cancelled(self, number: int) -> None:
        self._send({"jsonrpc": "2.0", "method": "cancel", "params": {"id": number}}, Deadline(GRACE))

    def _send(self, message: Params, deadline: Deadline) -> None:
        line = memoryview(json.dumps(message, ensure_ascii=False).encode() + b"\n")
        sent: list[int] = []
        with self._writing:
            try:
                while sum(sent) < len(line) and self._send_some(line, sent, deadline):
                    pass
            except BaseException:
                # Half of a line cannot be taken back.
                if 0 < sum(sent) < len(line):
                    self.close()
                raise

    def _send_some(self, line: memoryview, sent: list[int], deadline: Deadline) -> bool:
        """Sends what the stream takes of the rest of a line, or waits until it takes more. False: it has ended."""
        try:
            kept(sent, self._stream.send, line[sum(sent) :])
        except BlockingIOError:
            if not self._is_ready(select.POLLOUT, deadline):
                self.close()
                raise TimedOut("the server does not read", session_lost=True) from None
        except OSError:
            # What the server wrote before it closed the connection says why: the next read finds that.
            return False
        return True

    def _is_ready(self, event: int, deadline: Deadline) -> bool:
        """Whether the stream is ready, or has ended, before the deadline."""
        if self._closed:
            raise Disconnected("the connection is closed")
        poll = select.poll()
        poll.register(self._stream, event)
        while True:
            left = deadline.left()
            if poll.poll((SLICE if left is None else min(left, SLICE)) * 1000):
                return True
            if left is not None and left <= SLICE:
                return False

    def _answer_to(self, number: int, deadline: Deadline) -> Params | None:
        """None: it has not come in time. Answers to calls that were given up are skipped."""
        while True:
            line = self._line(deadline)
            if line is None:
                return None
            answer = parsed(line)
            if answer.get("id") == number:
                return answer
            if answer.get("id") is None:
                # The server could not read the request, and refuses it without its number.
                return answer

    def _line(self, deadline: Deadline) -> bytes | None:
        while b"\n" not in self._received[-1]:
            if not self._is_ready(select.POLLIN, deadline):
                return None
            self._receive()
        line, _, rest = b"".join(self._received).partition(b"\n")
        self._received[:] = [rest]
        return line

    def _receive(self) -> None:
        try:
            kept(self._received, self._stream.recv, 1 << 16)
        except BlockingIOError:
            return
        except OSError as error:
            raise self._lost() from error
        if not self._received[-1]:
            raise self._lost()

    def _lost(self) -> Disconnected:
        self.close()
        reason = self.server.last_words()
        return Disconnected(f"the server has closed the connection{': ' if reason else ''}{reason}")


def kept(results: list[T], function: Callable[..., T], *arguments: object) -> None:
    """Calls a built-in function and appends its result to the results, so that no result can get lost.

    An exception that a signal handler raises, such as KeyboardInterrupt, may come after any call of Python code, also
    between a call and the assignment of its result. This list takes the result over before such a handler can run.
    """
    results.extend(map(function, *((argument,) for argument in arguments)))


class Deadline:
    """A moment that may never come."""

    def __init__(self, seconds: float | None) -> None:
        self.seconds = seconds
        self._end = None if seconds is None else time.monotonic() + seconds

    def left(self) -> float | None:
        return None if self._end is None else max(0.0, self._end - time.monotonic())

    def for_lock(self) -> float:
        left = self.left()
        return -1 if left is None else left


# ---- Answers ----

CANCELLED = 4


def parsed(line: bytes) -> Params:
    try:
        found = json.loads(line)
    except ValueError as error:
        raise ProtocolError(f"the server does not answer in JSON: {line[:60]!r}") from error
    if not isinstance(found, dict):
        raise ProtocolError(f"the server does not answer with an object: {line[:60]!r}")
    return found


def error_of(answer: Params) -> Params | None:
    error = answer.get("error")
    return error if isinstance(error, dict) else None


def error_code(answer: Params) -> int | None:
    error = error_of(answer)
    code = error.get("code") if error else None
    return code if isinstance(code, int) else None


def data_of(answer: Params) -> Params:
    error = error_of(answer)
    data = error.get("data") if error else None
    return data if isinstance(data, dict) else {}


def is_session_lost(answer: Params) -> bool:
    return data_of(answer).get("session_lost") is True


def result_of(answer: Params, method: str) -> object:
    error = error_of(answer)
    if error is None:
        if "result" not in answer:
            raise ProtocolError(f"{method}: the answer has neither a result nor an error")
        return answer["result"]
    raise exception_for(answer, error_code(answer), f"{method}: {error.get('message')}")


def exception_for(answer: Params, code: int | None, message: str) -> ZarError:
    """The exception for an error of the protocol."""
    plain = {
        3: NotLoaded,
        6: TooLarge,
        7: SessionLost,
        8: ShuttingDown,
        9: TooManyConnections,
        -32603: ServerFailure,
    }
    if code == 1:
        return PolicyError(decode(tuple[FileErrors, ...], data_of(answer).get("file_errors"), "file_errors"))
    if code == 2:
        return Refused(message, decode(tuple[str, ...], data_of(answer).get("complaints", []), "complaints"))
    if code == CANCELLED:
        return Cancelled(message, is_session_lost(answer))
    if code == 5:
        return TimedOut(message, is_session_lost(answer))
    if code in plain:
        return plain[code](message)
    return ProtocolError(message, code)


# ---- Servers ----


class Server(Protocol):
    """What is at the other end of a connection."""

    def end(self) -> None:
        ...

    def last_words(self) -> str:
        ...


class RemoteServer:
    """A server that somebody else has started; it goes on without this connection."""

    def end(self) -> None:
        pass

    def last_words(self) -> str:
        return ""


class OwnServer:
    """A process zar serve of our own, which ends with the connection."""

    def __init__(self, process: subprocess.Popen[bytes], messages: IO[bytes]) -> None:
        self._process = process
        self._messages = messages
        self._words = ""

    def end(self) -> None:
        """The process ends by itself once its input has; it is stopped if it does not."""
        if not self._ends_soon():
            self._process.terminate()
            if not self._ends_soon():
                self._process.kill()
                self._process.wait()
        if not self._messages.closed:
            self._words = self._last_messages()
            self._messages.close()

    def last_words(self) -> str:
        """How the process ended, and the end of what it wrote to standard error."""
        return "; ".join(part for part in (f"exit status {self._process.returncode}", self._words) if part)

    def _ends_soon(self) -> bool:
        try:
            self._process.wait(GRACE)
        except subprocess.TimeoutExpired:
            return False
        return True

    def _last_messages(self) -> str:
        size = self._messages.seek(0, os.SEEK_END)
        self._messages.seek(max(0, size - 2000))
        return self._messages.read().decode("utf-8", "replace").strip()


def start_server(command: str | os.PathLike[str] | None, arguments: Sequence[str]) -> Connection:
    """Starts zar serve, and returns a connection with it."""
    ours, theirs = socket.socketpair()
    with closed_on_failure(ours), theirs:
        messages = tempfile.TemporaryFile()
        try:
            line = [find_command(command), "serve", *arguments]
            # A group of its own: Ctrl-C at the terminal is for this process, which cancels its call.
            process = subprocess.Popen(
                line, stdin=theirs.fileno(), stdout=theirs.fileno(), stderr=messages, process_group=0
            )
        except OSError as error:
            messages.close()
            raise CommandNotFound(f"cannot run {error.filename}: {error.strerror}") from error
        except BaseException:
            messages.close()
            raise
        return Connection(ours, OwnServer(process, messages))


def connect_to(path: str | os.PathLike[str], timeout: float | None) -> Connection:
    """A connection with the server that listens on a Unix socket."""
    stream = socket.socket(socket.AF_UNIX)
    with closed_on_failure(stream):
        stream.settimeout(timeout)
        try:
            stream.connect(os.fspath(path))
        except TimeoutError as error:
            raise TimedOut(f"no server accepts connections on {path} within {timeout} seconds") from error
        except OSError as error:
            raise Disconnected(f"no server listens on {path}: {error.strerror or error}") from error
        return Connection(stream, RemoteServer())


@contextlib.contextmanager
def closed_on_failure(stream: socket.socket) -> Iterator[None]:
    try:
        yield
    except BaseException:
        stream.close()
        raise


def find_command(command: str | os.PathLike[str] | None) -> str:
    """The command: the one that is asked for, or that of the environment variable ZAR_COMMAND, or zar in PATH."""
    wanted = os.fspath(command) if command is not None else os.environ.get("ZAR_COMMAND") or "zar"
    found = shutil.which(wanted)
    if found is None:
        origin = "" if command is not None or wanted == "zar" else " (from ZAR_COMMAND)"
        raise CommandNotFound(
            f"there is no command {pathlib.PurePath(wanted)}{origin}; install zar-tools, or set ZAR_COMMAND"
        )
    return found
