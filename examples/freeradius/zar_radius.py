"""A module of FreeRADIUS (rlm_python3) that asks a zar policy: see raddb/mods-available/zar for its settings."""

from __future__ import annotations

import threading
from collections.abc import Callable, Mapping

import radiusd
from radius_events import Events, Line, Packet, Unusable, reply_of

import zar

# What a function of such a module returns: a code, and changes of lists of attributes.
Outcome = tuple[int, dict[str, tuple[tuple[str, ...], ...]]]
Lists = Mapping[str, Packet | None]


class Policy:
    """The policy, and the targets of the packets so far."""

    def __init__(self, settings: Mapping[str, str]) -> None:
        self._settings = settings
        # FreeRADIUS calls from many threads. The targets and the simulator have to see packets in the same order.
        self._lock = threading.Lock()
        self._simulator = self._connected()
        limit = int(settings.get("limit", "10000"))
        self._events = Events(
            self._simulator.config(), settings.get("policies", "").split(), settings.get("target", "User-Name"), limit
        )

    def close(self) -> None:
        self._simulator.close()

    def ask(self, packet: Packet) -> zar.Explanation | None:
        """What the policy says about a packet; None: it does not handle such packets."""
        with self._lock:
            try:
                return self._play(packet)
            except (zar.Disconnected, zar.SessionLost, zar.NotLoaded) as error:
                log(radiusd.L_ERR, f"the policy starts anew, without its targets: {error}")
                self._start_anew()
                return self._play(packet)

    def _play(self, packet: Packet) -> zar.Explanation | None:
        answers = [self._play_line(line) for line in self._events.lines_of(packet)]
        return next((answer for answer in answers if answer), None)

    def _play_line(self, line: Line) -> zar.Explanation | None:
        match line:
            case {"add-target": str(target), "policies": list(policies)}:
                self._simulator.add_target(target, policies=policies)
            case {"delete-target": str(target)}:
                self._simulator.delete_target(target)
            case {"event": str(event), "target": str(target), "set": dict(values), "clear": list(names)}:
                return self._simulator.raise_event(event, target, set=values, clear=names, level="decision")
        return None

    def _connected(self) -> zar.Simulator:
        timeout = float(self._settings.get("timeout", "2"))
        if socket := self._settings.get("socket"):
            simulator = zar.connect(socket, timeout=timeout)
            simulator.load(self._settings["policy"])
            return simulator
        return zar.load(self._settings["policy"], command=self._settings.get("command") or None, timeout=timeout)

    def _start_anew(self) -> None:
        self._simulator.close()
        self._events.forget_all()
        self._simulator = self._connected()


policy: Policy | None = None


def log(level: int, text: str) -> None:
    radiusd.radlog(level, f"zar: {text}")


def instantiate(_lists: object) -> int:
    global policy
    try:
        policy = Policy(radiusd.config)
    except (zar.ZarError, KeyError, ValueError) as error:
        log(radiusd.L_ERR, f"cannot start: {error!r}" if isinstance(error, KeyError) else f"cannot start: {error}")
        return -1
    return 0


def detach(_lists: object = None) -> int:
    if policy:
        policy.close()
    return radiusd.RLM_MODULE_OK


def authorize(lists: Lists) -> Outcome:
    """A permit is OK, everything else a rejection, with the attributes that the policy set."""

    def decided(answer: zar.Explanation | None) -> Outcome:
        if answer is None:
            return radiusd.RLM_MODULE_NOOP, {}
        if not answer.permitted:
            return radiusd.RLM_MODULE_REJECT, {"reply": reply_of(answer)}
        accepts = radiusd.config.get("accept") == "yes"
        return radiusd.RLM_MODULE_OK, {
            "reply": reply_of(answer),
            "config": (("Auth-Type", ":=", "Accept"),) if accepts else (),
        }

    return asked(lists, decided)


def accounting(lists: Lists) -> Outcome:
    return asked(lists, lambda answer: (radiusd.RLM_MODULE_NOOP if answer is None else radiusd.RLM_MODULE_OK, {}))


def asked(lists: Lists, decided: Callable[[zar.Explanation | None], Outcome]) -> Outcome:
    """What the policy says, as FreeRADIUS understands it. Whatever goes wrong fails the request, with a message."""
    assert policy
    try:
        answer = policy.ask(lists["request"] or ())
    except Unusable as error:
        log(radiusd.L_WARN, str(error))
        return radiusd.RLM_MODULE_INVALID, {}
    except zar.ZarError as error:
        log(radiusd.L_ERR, str(error))
        return radiusd.RLM_MODULE_FAIL, {}
    for text in answer.log if answer else ():
        log(radiusd.L_INFO, f"{answer.target}: {text}" if answer else text)
    return decided(answer)
