"""The PI library from Python: typed property values, the value records,
the helpers (sense data, drive identity, help paths, icons, units), the
configuration store, the interchange form (JSON and MessagePack) of the
records, and diff and patch.

Errors of the library arrive as pi.Error (or a subclass) with ``.code`` and
``.text``; a wrong Python type gives TypeError.
"""
from ._identifiers import *  # noqa: F401,F403
from ._identifiers import __all__ as _identifier_names
from ._errors import (  # noqa: F401
    ClosedError,
    ConfigRefusedError,
    EmptyListError,
    Error,
    FileError,
    IndexOutOfRangeError,
    InterchangeError,
    InvalidDataError,
    NotFoundError,
    OutOfMemoryError,
    PatchError,
    SenseDataError,
    StaleViewError,
    WrongKindError,
)
from ._values import (AtaStatus, Range, SenseData, SenseDescriptor, SenseKeySpecific,  # noqa: F401
                      Selection, XmlText)
from ._changes import ChangeList  # noqa: F401
from ._core import *  # noqa: F401,F403
from . import _core

__version__ = _core.__version__

__all__ = sorted(
    list(_identifier_names)
    + [n for n in dir(_core) if not n.startswith("_")]
    + [
        "ChangeList", "ClosedError", "ConfigRefusedError", "EmptyListError", "Error", "FileError", "IndexOutOfRangeError",
        "InterchangeError", "InvalidDataError", "NotFoundError", "OutOfMemoryError", "PatchError",
        "SenseDataError", "StaleViewError", "WrongKindError",
        "AtaStatus", "Range", "SenseData", "SenseDescriptor", "SenseKeySpecific", "Selection",
        "XmlText",
    ]
)
