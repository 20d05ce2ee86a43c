"""Plain Python values that the pi module hands out and takes back."""
from typing import List, NamedTuple, Optional

from ._errors import StaleViewError
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


class SenseKeySpecific(NamedTuple):
    """The three sense-key specific bytes; kind follows the sense key:
    "field_pointer", "retry_count", "progress", "segment_pointer",
    "unit_attention", "undefined" (another key), or "none" where the sense
    data has no such bytes. Members of other kinds stay 0."""

    kind: str
    valid: bool  # SKSV
    bytes: bytes
    command: bool  # field pointer: in the CDB (C/D), not the parameter data
    segment_descriptor: bool  # segment pointer: SD
    bit_pointer: Optional[int]  # None unless BPV
    pointer: int  # byte of the field or segment pointer
    retry_count: int
    progress: int  # in 65536ths
    overflow: bool  # unit attention queue overflow


class AtaStatus(NamedTuple):
    """ATA registers: the ATA status return descriptor, or fixed-format
    sense with ASC/ASCQ 00h/1Dh (low bytes only, with the log index)."""

    extend: bool
    error: int
    status: int
    device: int
    count: int
    lba: int
    count_upper_nonzero: bool
    lba_upper_nonzero: bool
    log_index: int


class SenseDescriptor(NamedTuple):
    """One descriptor of descriptor-format sense data; the members of its
    type are filled in when decoded (see PI::CSenseDescriptor)."""

    type: int
    offset: int
    additional_length: int
    data: bytes  # as far as it lies in the sense data, type byte included
    truncated: bool
    decoded: bool
    valid: bool
    information: int
    command_specific: int
    key_specific: Optional[SenseKeySpecific]
    fru: int
    filemark: bool
    end_of_medium: bool
    incorrect_length: bool
    ata: Optional[AtaStatus]
    key: int
    asc: int
    ascq: int
    progress: int
    forwarded_by_target: bool
    forwarded_source: int
    forwarded_status: int
    forwarded: Optional["SenseData"]


class SenseData(NamedTuple):
    """A decoded raw sense buffer with the texts of its key and codes."""

    response_code: int
    descriptor: bool
    deferred: bool
    key: int
    asc: int
    ascq: int
    information: Optional[int]  # None unless valid
    key_text: str
    severity: Severity
    asc_text: Optional[str]
    information_field: int  # as it stands, valid or not
    additional_length: int
    length: int  # bytes decoded as sense data
    truncated: bool
    remark: Optional[str]  # where decoding stopped, or bytes left alone
    overflow: bool  # SDAT_OVFL
    filemark: bool
    end_of_medium: bool
    incorrect_length: bool
    command_specific: Optional[int]
    fru: int
    key_specific: Optional[SenseKeySpecific]
    ata: Optional[AtaStatus]
    descriptors: List[SenseDescriptor]


def record_repr(record) -> str:
    """ClassName(Field=value, ...) over the fields the class lists; a field
    that cannot be read shows the error instead, so repr never raises."""

    def shown(name):
        try:
            return repr(getattr(record, name))
        except StaleViewError:
            raise
        except Exception as error:  # noqa: BLE001 - repr must not raise
            return f"<{type(error).__name__}: {error}>"

    try:
        fields = ", ".join(f"{name}={shown(name)}" for name in type(record)._fields)
    except StaleViewError as error:  # a view whose element is gone has no fields to show
        return f"<{type(record).__name__}: {error}>"
    return f"{type(record).__name__}({fields})"
