"""The exceptions of the pi module.

Every failure that the library reports, as an exception or as a failure
code, arrives as pi.Error or one of its subclasses, with ``.code`` (the
library's number) and ``.text`` (its message).
"""

from ._identifiers import ExceptionCode, Result


class Error(Exception):
    """A failure reported by the library."""

    def __init__(self, code: int, text: str):
        super().__init__(code, text)
        self.code = code
        self.text = text

    def __str__(self) -> str:
        return f"{self.text} (code {self.code}, {self.code:#x})"


class IndexOutOfRangeError(Error, IndexError):
    """A list index not below the count (0x21130001)."""


class InvalidDataError(Error, ValueError):
    """A property without a value block or with a malformed one (0x21130003)."""


class WrongKindError(Error, TypeError):
    """A property read as a kind it does not hold (0x21130004)."""


class EmptyListError(Error, ValueError):
    """An argument list that must not be empty was (20006)."""


class OutOfMemoryError(Error, MemoryError):
    """The library could not obtain memory (20007)."""


class NotFoundError(Error, LookupError):
    """A lookup or a configuration write that found nothing or failed (20000)."""


class ConfigRefusedError(Error):
    """A configuration write refused by a rule of the store. ``.rule`` names the
    rule ("read-only", "not a regular file", "more than one link", "too large",
    "untrusted symlink", "owner or group cannot be kept"); the text says why."""

    def __init__(self, code: int, text: str, rule: str = ""):
        super().__init__(code, text)
        self.rule = rule


class SenseDataError(Error, ValueError):
    """A raw sense buffer that cannot be decoded; .code is a SenseDecode value."""


class FileError(Error, OSError):
    """The operating system refused a file operation; .code is the errno."""


class ClosedError(Error, ValueError):
    """An operation on a closed object."""


class InterchangeError(Error, ValueError):
    """A record or change list document that cannot be read or written
    (codes 20100 to 20107). ``.pointer`` is the JSON Pointer of the first
    offending element ("" for the whole input), ``.offset`` its byte offset.
    """

    def __init__(self, code: int, text: str, pointer: str = "", offset: int = 0):
        super().__init__(code, text)
        self.pointer = pointer
        self.offset = offset


class PatchError(InterchangeError):
    """A change list that does not apply to the record: a path that names no
    element (20110), an old value that is not the record's (20111), or two
    changes of one element (20112). The record is left as it was.
    """


_BY_CODE = {
    ExceptionCode.INDEX_OUT_OF_RANGE: IndexOutOfRangeError,
    ExceptionCode.INVALID_DATA: InvalidDataError,
    ExceptionCode.WRONG_TYPE: WrongKindError,
    Result.EMPTY_LIST: EmptyListError,
    Result.OUT_OF_MEMORY: OutOfMemoryError,
    Result.NOT_FOUND: NotFoundError,
}


def error_class(code: int) -> type:
    """The exception class that stands for a library code."""
    return _BY_CODE.get(code, Error)


class StaleViewError(ReferenceError):
    """A view of a record held in another record (op.Objects[0], a property of
    it, a task's Object) whose element was removed, or whose list was changed
    or replaced, after the view was taken. Read the element again."""
