"""CProperty: typed values in Python's terms, their encodings and errors."""
import copy
import json
import struct

import pytest

import pi


def prop(value=None):
    p = pi.CProperty(pi.PropertyID.ADAPTER_NAME)
    if value is not None:
        p.value = value
    return p


@pytest.mark.parametrize(
    "value, kind",
    [
        ("text", pi.ValueType.STRING),
        (True, pi.ValueType.BOOL),
        (2**64 - 1, pi.ValueType.UINT64),
        (0.5, pi.ValueType.FLOAT),
        (pi.Range(5, 0, 10, 1), pi.ValueType.RANGE),
        (pi.Selection(2, [1, 2, 3]), pi.ValueType.INT_LIST),
        (([1, -2], [3]), pi.ValueType.INT_LIST_PAIR),
        ([1, 2**64 - 1], pi.ValueType.UINT64_LIST),
        (["a", "bc"], pi.ValueType.STRING_LIST),
        (pi.XmlText("<a x='1'/>"), pi.ValueType.XML),
    ],
)
def test_round_trip_by_python_type(value, kind):
    p = prop(value)
    assert p.Type is kind and p.value == value and type(p.value) is type(value)
    assert getattr(p, "get_" + kind.name.lower())() == value
    assert copy.copy(p) == p and copy.deepcopy(p).value == value


def test_data_empty_lists_and_blocks_that_do_not_read():
    p = prop(["a", "bc"])
    assert p.data == struct.pack("<II", 2, 3) + b"a\0bc\0"
    p.value = []  # an empty list keeps a string list a string list
    assert p.Type is pi.ValueType.STRING_LIST and p.value == []
    p.set_uint64_list([])
    assert p.value == [] and prop([]).Type is pi.ValueType.UINT64_LIST
    p.set_int_list_pair([], [])
    assert (p.value, p.DataSize, p.data) == (([], []), 0, None)
    broken = pi.from_json(json.dumps({"Version": 1, "CProperty": {
        "PropertyID": 23067, "Type": 5, "Raw": None, "DataSize": 8}}))
    with pytest.raises(pi.InvalidDataError) as raised:
        broken.value
    assert raised.value.code == pi.ExceptionCode.INVALID_DATA
    assert "value=<InvalidDataError" in repr(broken)  # repr never raises


def test_refusals_copies_and_repr():
    p = prop(pi.Selection(1, [4, 5]))
    with pytest.raises(pi.EmptyListError) as raised:
        p.set_int_list(7, [])
    assert raised.value.code == pi.Result.EMPTY_LIST
    assert p.value == pi.Selection(1, [4, 5])
    with pytest.raises(pi.WrongKindError) as raised:
        prop("text").get_uint64()
    # The message's wording is the README session's.
    assert raised.value.code == pi.ExceptionCode.WRONG_TYPE and isinstance(raised.value, TypeError)
    with pytest.raises(pi.Error):
        pi.CProperty().get_string()
    # copies are deep and repr names kind and value
    a = prop([1, 2])
    b = copy.copy(a)
    b.value = [3]
    assert a.value == [1, 2]
    text = repr(prop("hello"))
    assert text.startswith("CProperty(PropertyID=<PropertyID.ADAPTER_NAME")
    assert "value='hello'" in text and "ValueType.STRING" in text
