"""Change lists: what pi.diff gives and pi.patch applies."""
from typing import Iterable, Optional, Union


class ChangeList(list):
    """A list of pi.Change that knows the record class it was made for
    (``record_class``, e.g. "COperation"), so that it can be written as the
    change list JSON document and read back.
    """

    def __init__(self, changes: Iterable = (), record_class: Optional[str] = None):
        super().__init__(changes)
        self.record_class = record_class

    def to_json(self) -> str:
        """The list as a change list document {"Version": 1, "Class": ..., "Changes": [...]}."""
        from . import _core

        if self.record_class is None:
            raise ValueError("a change list needs its record_class to be written")
        return _core._write_change_list(self, self.record_class)

    @classmethod
    def from_json(cls, data: Union[str, bytes]) -> "ChangeList":
        """Reads a change list document; pi.InterchangeError when it is not one."""
        from . import _core

        return _core._read_change_list(data)

    def __repr__(self) -> str:
        return f"ChangeList({list.__repr__(self)}, record_class={self.record_class!r})"

    def __eq__(self, other: object) -> bool:
        if isinstance(other, ChangeList) and self.record_class != other.record_class:
            return False
        return list.__eq__(self, other)

    __hash__ = None  # type: ignore[assignment]
