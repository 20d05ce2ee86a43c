"""Plain Python values that the pi module hands out and takes back."""
from typing import List, NamedTuple, Optional

from ._identifiers import Severity


class Range(NamedTuple):
    """A number with its bounds and step (ValueType.RANGE)."""

    value: int
    minimum: int
    maximum: int
    step: int


class Selection(NamedTuple):
    """A number with a list of numbers (ValueType.INT_LIST), such as a
    current choice and the choices offered."""

    value: int
    items: List[int]


class XmlText(str):
    """The document text of an XML value (ValueType.XML). Assigning an
    XmlText to CProperty.value stores XML; a plain str stores a string."""

    __slots__ = ()

    def __repr__(self) -> str:
        return f"XmlText({str.__repr__(self)})"


class SenseData(NamedTuple):
    """A decoded raw sense buffer with the texts of its key and codes."""

    response_code: int
    descriptor: bool
    deferred: bool
    key: int
    asc: int
    ascq: int
    information: Optional[int]
    key_text: str
    severity: Severity
    asc_text: Optional[str]


def record_repr(record) -> str:
    """ClassName(Field=value, ...) over the fields the class lists."""
    fields = ", ".join(f"{name}={getattr(record, name)!r}" for name in type(record)._fields)
    return f"{type(record).__name__}({fields})"
