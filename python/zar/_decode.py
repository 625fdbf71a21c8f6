"""JSON values as the dataclasses of zar.results, which describe them.

Members that a dataclass does not have are ignored, so that a newer server can say more. A member that is missing, or of
another type, is a ProtocolError that names it.
"""

from __future__ import annotations

import dataclasses
import functools
import types
import typing
from collections.abc import Mapping
from typing import Any, Literal, TypeVar, Union

from zar.errors import ProtocolError

Result = TypeVar("Result")


def decode(wanted: type[Result], value: object, where: str = "result") -> Result:
    """The value as a dataclass."""
    found: Result = _decode(wanted, value, where)
    return found


def _decode(wanted: Any, value: object, where: str) -> Any:
    origin = typing.get_origin(wanted)
    arguments = typing.get_args(wanted)
    if dataclasses.is_dataclass(wanted):
        return _dataclass(wanted, _object(value, where), where)
    if origin is tuple:
        return tuple(
            _decode(arguments[0], item, f"{where}[{number}]") for number, item in enumerate(_list(value, where))
        )
    if origin in (types.UnionType, Union):
        return _optional(arguments, value, where)
    if origin is not None and _is_subclass(origin, Mapping):
        return {key: _decode(arguments[1], item, f"{where}.{key}") for key, item in _object(value, where).items()}
    return _plain(str if origin is Literal else wanted, value, where)


def _is_subclass(found: object, parent: type) -> bool:
    return isinstance(found, type) and issubclass(found, parent)


def _optional(choices: tuple[Any, ...], value: object, where: str) -> Any:
    if value is None and types.NoneType in choices:
        return None
    (wanted,) = (choice for choice in choices if choice is not types.NoneType)
    return _decode(wanted, value, where)


def _plain(wanted: type, value: object, where: str) -> Any:
    if wanted is float and isinstance(value, int) and not isinstance(value, bool):
        return float(value)
    if not isinstance(value, wanted) or (wanted is int and isinstance(value, bool)):
        raise ProtocolError(f"{where} is {_shown(value)}, not of type {wanted.__name__}")
    return value


@functools.cache
def _types_of(wanted: type) -> dict[str, Any]:
    return typing.get_type_hints(wanted)


def _dataclass(wanted: Any, members: Mapping[str, object], where: str) -> Any:
    found: dict[str, Any] = {}
    for part in dataclasses.fields(wanted):
        key = part.metadata.get("key", part.name)
        if key in members:
            found[part.name] = _decode(_type_of(wanted, part, members), members[key], f"{where}.{key}")
        elif part.default is dataclasses.MISSING:
            raise ProtocolError(f"{where} has no member '{key}'")
    return wanted(**found)


def _type_of(wanted: type, part: dataclasses.Field[Any], members: Mapping[str, object]) -> Any:
    """The type of a field. Which of several dataclasses it is, another member says."""
    if "by" in part.metadata:
        return part.metadata["classes"].get(members.get(part.metadata["by"]), object)
    return _types_of(wanted)[part.name]


def _object(value: object, where: str) -> dict[str, object]:
    if not isinstance(value, dict):
        raise ProtocolError(f"{where} is {_shown(value)}, not an object")
    return value


def _list(value: object, where: str) -> list[object]:
    if not isinstance(value, list):
        raise ProtocolError(f"{where} is {_shown(value)}, not an array")
    return value


def _shown(value: object) -> str:
    text = repr(value)
    return text if len(text) <= 60 else f"{text[:57]}..."
