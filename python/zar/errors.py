"""What can go wrong. All of it is a ZarError; each class names one thing that a caller can do something about."""

from __future__ import annotations

from collections.abc import Sequence

from zar.results import FileErrors, FileProblem


class ZarError(Exception):
    """Something that was asked of zar did not happen."""


class CommandNotFound(ZarError):
    """There is no command zar: neither the argument, nor ZAR_COMMAND, nor PATH leads to one."""


class Disconnected(ZarError, ConnectionError):
    """The server has ended or closed the connection. The session and its state are gone."""


class ProtocolError(ZarError):
    """The server and this package do not understand each other; their versions may differ."""

    def __init__(self, message: str, code: int | None = None) -> None:
        super().__init__(message)
        self.code = code


class PolicyError(ZarError):
    """A policy file is wrong. The text has a line FILE:LINE:COLUMN: MESSAGE for each error.

    The attributes file, line, column, message, expected and suggestion are those of the first error; line and column
    are None if it is about the file as a whole.
    """

    def __init__(self, files: Sequence[FileErrors]) -> None:
        super().__init__("\n".join(line for file in files for line in file.lines()) or "the policy cannot be loaded")
        self.files = tuple(files)
        first = next(iter(self.problems), FileProblem(message=str(self)))
        self.file = next((file.file for file in self.files), None)
        self.line = first.line
        self.column = first.column
        self.message = first.message
        self.expected = first.expected
        self.suggestion = first.suggestion

    @property
    def problems(self) -> tuple[FileProblem, ...]:
        """The errors of all files."""
        return tuple(problem for file in self.files for problem in file.errors)


class Refused(ZarError):
    """The repository refuses it: an unknown target or event, a name in use, a value that is too long."""

    def __init__(self, message: str, complaints: Sequence[str] = ()) -> None:
        super().__init__("\n".join(complaints) or message)
        self.complaints = tuple(complaints)


class NotLoaded(ZarError):
    """No policy is loaded."""


class Interrupted(ZarError):
    """A call ended early. The session is as it was before, unless session_lost is true: then load again."""

    def __init__(self, message: str, session_lost: bool = False) -> None:
        super().__init__(message)
        self.session_lost = session_lost


class Cancelled(Interrupted):
    """Another thread cancelled the call."""


class TimedOut(Interrupted, TimeoutError):
    """The call took longer than its timeout, or than the time limit of the server."""


class TooLarge(ZarError):
    """The request is larger than the server accepts."""


class SessionLost(ZarError):
    """The process of the session has ended. Its state is gone: load again."""


class ServerFailure(ZarError):
    """An internal error of the server. The session is as it was before."""


class TooManyConnections(ZarError):
    """The server serves as many clients as it may."""


class ShuttingDown(ZarError):
    """The server is ending."""
