"""The PI library from Python: typed property values, the value records,
the helpers (sense data, drive identity, help paths, icons, units) and the
configuration store.

Errors of the library arrive as pi.Error (or a subclass) with ``.code`` and
``.text``; a wrong Python type gives TypeError.
"""
from ._identifiers import *  # noqa: F401,F403
from ._identifiers import __all__ as _identifier_names
from ._errors import (  # noqa: F401
    ClosedError,
    EmptyListError,
    Error,
    FileError,
    IndexOutOfRangeError,
    InvalidDataError,
    NotFoundError,
    OutOfMemoryError,
    SenseDataError,
    WrongKindError,
)
from ._values import Range, SenseData, Selection, XmlText  # noqa: F401
from ._core import *  # noqa: F401,F403
from . import _core

__all__ = sorted(
    list(_identifier_names)
    + [n for n in dir(_core) if not n.startswith("_")]
    + [
        "ClosedError", "EmptyListError", "Error", "FileError", "IndexOutOfRangeError", "InvalidDataError",
        "NotFoundError", "OutOfMemoryError", "SenseDataError", "WrongKindError",
        "Range", "SenseData", "Selection", "XmlText",
    ]
)
