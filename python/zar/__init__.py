"""Policies of the simulator zar, from Python.

    import zar

    with zar.load("examples/broadband.yaml") as simulator:
        answer = simulator.raise_event("session-start", "line-0101", set={"unpaid-months": 4})
        print(answer.verdict, answer.decided_by, answer.changed())

Results are frozen dataclasses (zar.results), errors are exceptions below ZarError (zar.errors). Everything is asked of
the command: zar serve, which the package zar-tools contains.
"""

from zar._version import VERSION as __version__
from zar.errors import (
    Cancelled,
    CommandNotFound,
    Disconnected,
    Interrupted,
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
from zar.results import Check, Config, Diff, Explanation, Inventory, Lint, Stats, TestRun
from zar.simulator import Simulator, connect, load, load_text, start

__all__ = [
    "Cancelled",
    "Check",
    "CommandNotFound",
    "Config",
    "Diff",
    "Disconnected",
    "Explanation",
    "Interrupted",
    "Inventory",
    "Lint",
    "NotLoaded",
    "PolicyError",
    "ProtocolError",
    "Refused",
    "ServerFailure",
    "SessionLost",
    "ShuttingDown",
    "Simulator",
    "Stats",
    "TestRun",
    "TimedOut",
    "TooLarge",
    "TooManyConnections",
    "ZarError",
    "__version__",
    "connect",
    "load",
    "load_text",
    "start",
]
