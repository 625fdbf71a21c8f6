"""Simulators: a policy, its targets and their attributes, held by a session of zar serve."""

from __future__ import annotations

import os
from collections.abc import Iterable, Mapping, Sequence
from types import TracebackType
from typing import Literal, TypeVar

from zar import _connection, results
from zar._decode import decode
from zar.errors import ZarError

Path = str | os.PathLike[str]
Value = str | int | bool
Result = TypeVar("Result")

# The version of the protocol that this package knows.
PROTOCOL = 1


class Simulator:
    """A session of a server: what is loaded, the targets, and their attributes.

    load() and start() make a simulator with a server of its own, connect() one on a server that several clients share.
    Simulators are independent of each other. One is closed by close(), or at the end of a 'with'.

    Every call takes a timeout in seconds; None is that of the simulator, which may be None: wait. A call that takes
    longer raises TimedOut and leaves the session as it was before. Threads may share a simulator: its calls run one at a
    time.
    """

    def __init__(self, connection: _connection.Connection, timeout: float | None = None) -> None:
        self.timeout = timeout
        self._connection = connection
        self._folder = os.getcwd()

    def __enter__(self) -> Simulator:
        return self

    def __exit__(
        self, kind: type[BaseException] | None, error: BaseException | None, trace: TracebackType | None
    ) -> None:
        self.close()

    def close(self) -> None:
        """Ends the session, and its server if that is its own. Closing twice does no harm."""
        self._connection.close()

    @property
    def closed(self) -> bool:
        return self._connection.closed

    def cancel(self) -> None:
        """From another thread: the call that is under way ends with Cancelled. Does nothing if there is none."""
        self._connection.cancel()

    # ---- What is loaded ----

    def load(self, path: Path, *, timeout: float | None = None) -> results.Loaded:
        """Loads a policy file in place of what the session has. After an error the session is as before.

        PolicyError: the file is wrong.
        """
        return self._ask(results.Loaded, "load", {"path": self._path(path)}, timeout)

    def load_text(self, text: str, name: str | None = None, *, timeout: float | None = None) -> results.Loaded:
        """Like load(), with the text of a policy file; 'name' is shown in places."""
        return self._ask(results.Loaded, "load", _given(text=text, name=name), timeout)

    def check(
        self,
        path: Path | None = None,
        *,
        text: str | None = None,
        name: str | None = None,
        timeout: float | None = None,
    ) -> results.Check:
        """What is wrong with a policy file, a text, or the loaded file. Errors in it are a result, not an exception."""
        return self._ask(results.Check, "check", self._source(path, text, name), timeout)

    # ---- Events ----

    def raise_event(
        self,
        event: str,
        target: str,
        *,
        set: Mapping[str, Value] | None = None,
        clear: Iterable[str] = (),
        level: results.Level = "rules",
        timeout: float | None = None,
    ) -> results.Explanation:
        """Clears and sets attributes of the target, raises the event on it, and returns what that did and why.

        Refused: there is no such target or event.
        """
        return self._event("raise", event, target, set, clear, level, timeout)

    def explain(
        self,
        event: str,
        target: str,
        *,
        set: Mapping[str, Value] | None = None,
        clear: Iterable[str] = (),
        level: results.Level = "rules",
        timeout: float | None = None,
    ) -> results.Explanation:
        """What raise_event() would do and why. The attributes and counters of the session stay as they are."""
        return self._event("explain", event, target, set, clear, level, timeout)

    # ---- Targets ----

    def attributes(self, target: str, *, timeout: float | None = None) -> dict[str, str]:
        """All attributes of a target."""
        return self.set_attributes(target, timeout=timeout)

    def set_attributes(
        self,
        target: str,
        set: Mapping[str, Value] | None = None,
        clear: Iterable[str] = (),
        *,
        timeout: float | None = None,
    ) -> dict[str, str]:
        """Clears and sets attributes of a target, and returns all of them."""
        params = _given(target=target, set=texts(set or {}), clear=_names(clear))
        return dict(self._ask(results.TargetAttributes, "set", params, timeout).attributes)

    def add_target(
        self,
        target: str,
        attributes: Mapping[str, Value] | None = None,
        policies: Iterable[str] = (),
        *,
        client: str | None = None,
        timeout: float | None = None,
    ) -> results.AddedTarget:
        """Adds a target, on which these policy-maps are active in this order: at least one.

        Without a client, the engine adds it. Refused: the name is in use, or there is no such policy-map.
        """
        names = _names(policies)
        params = _given(target=target, attributes=texts(attributes or {}), policies=names, client=client)
        return self._ask(results.AddedTarget, "targets.add", params, timeout)

    def delete_target(self, target: str, *, timeout: float | None = None) -> None:
        """Deletes a target with its attributes. Refused: there is none."""
        self._call("targets.delete", {"target": target}, timeout)

    # ---- What there is, and what is wrong with it ----

    def show(
        self, kind: str | None = None, name: str | None = None, *, timeout: float | None = None
    ) -> results.Inventory:
        """The objects of the repository and what uses them: all, those of a kind, or one; kinds as in zar show."""
        return self._ask(results.Inventory, "show", _given(kind=kind, name=name), timeout)

    def config(self, *, timeout: float | None = None) -> results.Config:
        """The running configuration, from the repository alone."""
        return self._ask(results.Config, "config", {}, timeout)

    def lint(self, effort: int | None = None, *, timeout: float | None = None) -> results.Lint:
        """What is provably wrong with the loaded file; 'effort' limits the computing time in seconds."""
        return self._ask(results.Lint, "lint", _given(effort=effort), timeout)

    def test(self, *, timeout: float | None = None) -> results.TestRun:
        """Runs the tests of the loaded file. They neither see nor change the state of the session."""
        return self._ask(results.TestRun, "test", {}, timeout)

    def diff(
        self,
        path: Path | None = None,
        *,
        text: str | None = None,
        name: str | None = None,
        replay: Path | Literal[True] | None = None,
        timeout: float | None = None,
    ) -> results.Diff:
        """What is different in another version of the loaded file: a path, or a text.

        With 'replay', the events of that policy file's scenario, or of the loaded file's own (True), are raised in both.
        """
        params = self._source(path, text, name)
        if replay is not None:
            params["replay"] = True if replay is True else {"path": self._path(replay)}
        return self._ask(results.Diff, "diff", params, timeout)

    # ---- The server ----

    def stats(self, *, timeout: float | None = None) -> results.Stats:
        """What the server has done since it started, and what this session has."""
        return self._ask(results.Stats, "stats", {}, timeout)

    def version(self, *, timeout: float | None = None) -> results.Version:
        """The versions of the server and of its protocol."""
        return self._ask(results.Version, "version", {}, timeout)

    # ---- Requests ----

    def _event(
        self,
        method: str,
        event: str,
        target: str,
        set: Mapping[str, Value] | None,
        clear: Iterable[str],
        level: results.Level,
        timeout: float | None,
    ) -> results.Explanation:
        params = _given(event=event, target=target, level=level, set=texts(set or {}), clear=_names(clear))
        return self._ask(results.Explanation, method, params, timeout, member="explanation")

    def _ask(
        self, wanted: type[Result], method: str, params: Mapping[str, object], timeout: float | None, member: str = ""
    ) -> Result:
        found = self._call(method, params, timeout)
        if member and isinstance(found, dict):
            found = found.get(member)
        return decode(wanted, found, method)

    def _call(self, method: str, params: Mapping[str, object], timeout: float | None) -> object:
        return self._connection.call(method, params, self.timeout if timeout is None else timeout)

    def _source(self, path: Path | None, text: str | None, name: str | None) -> dict[str, object]:
        if path is not None and text is not None:
            raise ValueError("give a path or a text, not both")
        return _given(path=None if path is None else self._path(path), text=text, name=name)

    def _path(self, path: Path) -> str:
        """A path that the server understands, as short as it was given if both are in the same folder."""
        same = isinstance(self._connection.server, _connection.OwnServer) and os.getcwd() == self._folder
        return os.fspath(path) if same else os.path.abspath(path)


def load(
    path: Path,
    *,
    command: Path | None = None,
    arguments: Sequence[str] = (),
    timeout: float | None = None,
) -> Simulator:
    """A simulator with a policy file, and a server of its own.

    The server is the command zar: 'command', or that of the environment variable ZAR_COMMAND, or the one in PATH.
    'arguments' are options for zar serve. PolicyError: the file is wrong.
    """
    return _loaded(start(command=command, arguments=arguments, timeout=timeout), path, None, None)


def load_text(
    text: str,
    name: str | None = None,
    *,
    command: Path | None = None,
    arguments: Sequence[str] = (),
    timeout: float | None = None,
) -> Simulator:
    """Like load(), with the text of a policy file; 'name' is shown in places."""
    return _loaded(start(command=command, arguments=arguments, timeout=timeout), None, text, name)


def start(*, command: Path | None = None, arguments: Sequence[str] = (), timeout: float | None = None) -> Simulator:
    """A simulator in which nothing is loaded yet, with a server of its own."""
    return _greeted(Simulator(_connection.start_server(command, arguments), timeout))


def connect(socket_path: Path, *, timeout: float | None = None) -> Simulator:
    """A simulator on a server that runs already: zar serve --socket PATH. It has what that server loads by itself."""
    return _greeted(Simulator(_connection.connect_to(socket_path, timeout), timeout))


def _loaded(simulator: Simulator, path: Path | None, text: str | None, name: str | None) -> Simulator:
    try:
        if path is not None:
            simulator.load(path)
        elif text is not None:
            simulator.load_text(text, name)
    except BaseException:
        simulator.close()
        raise
    return simulator


def _greeted(simulator: Simulator) -> Simulator:
    try:
        found = simulator.version()
        if found.protocol != PROTOCOL:
            raise ZarError(
                f"zar {found.version} has version {found.protocol} of the protocol; this package needs {PROTOCOL}"
            )
    except BaseException:
        simulator.close()
        raise
    return simulator


# ---- Parameters ----


def texts(values: Mapping[str, Value]) -> dict[str, str]:
    """Values as texts, as in policy files: a whole number or a boolean stands for its text."""
    return {name: _text(name, value) for name, value in values.items()}


def _text(name: str, value: object) -> str:
    if isinstance(value, bool):
        return "true" if value else "false"
    if isinstance(value, int):
        return str(value)
    if not isinstance(value, str):
        raise TypeError(
            f"the value of {name} is a {type(value).__name__}; it has to be a text, a whole number or a boolean"
        )
    return value


def _names(names: Iterable[str]) -> list[str]:
    if isinstance(names, str):
        raise TypeError(f"'{names}' is one name; a list of names is needed")
    return list(names)


def _given(**params: object) -> dict[str, object]:
    return {name: value for name, value in params.items() if value is not None}
