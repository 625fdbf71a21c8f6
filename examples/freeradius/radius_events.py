"""RADIUS packets as lines of a stream of events: what a policy is asked about them.

FreeRADIUS's module (zar_radius.py) plays these lines as packets arrive; detail_to_events writes them from recorded
packets. Both therefore give the same answers.

- The target is named by an attribute of the packet, User-Name by default.
- An Access-Request raises session-start; accounting raises accounting-start, accounting-update and accounting-stop.
  Events that the policy does not handle are left out.
- Attributes of the packet become attributes request/NAME of the target, if any filter of the policy tests them; those
  that the packet lacks are cleared. An attribute that is repeated has its values joined by commas.
- What the policy sets as reply/NAME is cleared before each session-start, so the answer has nothing of an earlier one.
- A target comes with its first packet, unless the policy file has it, and goes after accounting-stop. Beyond a number of
  targets, the one that was silent for longest goes.
"""

from __future__ import annotations

import re
import urllib.parse
from collections import OrderedDict
from collections.abc import Iterator, Mapping, Sequence

import zar

REQUEST = "request/"
REPLY = "reply/"
EVENTS = {
    "Access-Request": "session-start",
    "Start": "accounting-start",
    "Interim-Update": "accounting-update",
    "Alive": "accounting-update",
    "Stop": "accounting-stop",
}
LONGEST_NAME = 63
# As Python stands for such bytes.
NOT_UTF_8 = re.compile("[\udc80-\udcff]")

Packet = Sequence[tuple[str, str]]
Line = Mapping[str, object]


class Unusable(Exception):
    """A packet that nothing can be asked about, with the reason."""


class Events:
    """Turns packets into lines. It knows which targets there are, so it needs all packets, in their order.

    A line is taken for played once the next one is asked for: if it cannot be played, stop there.
    """

    def __init__(
        self, config: zar.Config, policies: Sequence[str], naming: str = "User-Name", limit: int = 10_000
    ) -> None:
        self.policies = list(policies) or [policy.name for policy in config.policy_maps]
        self.naming = naming
        self.limit = limit
        self._handled = {event.name for policy in config.policy_maps for event in policy.events}
        self._tested = {name for name in config.tested_attributes() if name.startswith(REQUEST)}
        self._replies = replies_of(config)
        self._of_the_file = [target.name for target in config.targets]
        self.forget_all()

    def lines_of(self, packet: Packet) -> Iterator[Line]:
        """The lines for a packet. Unusable: its target cannot be named, or it has text that is not UTF-8."""
        event = event_of(packet)
        if event not in self._handled:
            return
        for name, value in packet:
            if NOT_UTF_8.search(value):
                raise Unusable(f"the value of {name} is not UTF-8")
        target = self._name_of(packet)
        yield from self._added(target)
        yield self._raised(event, target, packet)
        if event == "accounting-stop":
            yield from self._deleted(target)

    def forget_all(self) -> None:
        """The session is a new one, in which there are only the targets of the policy file."""
        # The target that was silent for longest comes first.
        self._targets = OrderedDict.fromkeys(self._of_the_file)

    def _name_of(self, packet: Packet) -> str:
        value = dict(packet).get(self.naming)
        if not value:
            raise Unusable(f"the packet has no {self.naming}")
        name = target_name(value)
        if len(name) > LONGEST_NAME:
            raise Unusable(f"{self.naming} '{value}' is too long to name a target")
        return name

    def _added(self, target: str) -> Iterator[Line]:
        if target in self._targets:
            self._targets.move_to_end(target)
            return
        if len(self._targets) >= self.limit:
            yield from self._deleted(next(iter(self._targets)))
        yield {"add-target": target, "policies": self.policies}
        self._targets[target] = None

    def _raised(self, event: str, target: str, packet: Packet) -> Line:
        values = self._attributes_of(packet)
        # All of them, so that nothing depends on whether an earlier packet was played.
        gone = self._tested - set(values)
        if event == "session-start":
            gone |= self._replies
        return {"event": event, "target": target, "set": values, "clear": sorted(gone)}

    def _deleted(self, target: str) -> Iterator[Line]:
        yield {"delete-target": target}
        del self._targets[target]

    def _attributes_of(self, packet: Packet) -> dict[str, str]:
        found: dict[str, list[str]] = {}
        for name, value in packet:
            if REQUEST + name in self._tested:
                found.setdefault(REQUEST + name, []).append(value)
        return {name: ",".join(values) for name, values in found.items()}


def event_of(packet: Packet) -> str | None:
    """The event of a packet; none for answers, and for the starts and ends of whole access servers."""
    values = dict(packet)
    return EVENTS.get(values.get("Acct-Status-Type", values.get("Packet-Type", "Access-Request")))


def target_name(value: str) -> str:
    """A name with the characters that those of targets may have; other bytes, and '+', are a '+' and two digits."""
    return urllib.parse.quote(value, safe="/:@.-_").replace("~", "%7E").replace("%", "+")


def replies_of(config: zar.Config) -> set[str]:
    """The reply/ attributes that any action sets."""
    lists = [rule.actions for policy in config.policy_maps for event in policy.events for rule in event.rules]
    lists += [statement.actions for parameter_map in config.parameter_maps for statement in parameter_map.statements]
    subjects = {action.subject for actions in lists for action in actions if action.kind == "set" and action.subject}
    return {subject for subject in subjects if subject.startswith(REPLY)}


def reply_of(answer: zar.Explanation) -> tuple[tuple[str, str], ...]:
    """The attributes of the answer to a packet."""
    changed = answer.changed().items()
    return tuple(
        (name.removeprefix(REPLY), value) for name, value in changed if name.startswith(REPLY) and value is not None
    )
