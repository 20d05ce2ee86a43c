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


class TestValueKinds:
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
    def test_round_trip_by_python_type(self, value, kind):
        p = prop(value)
        assert p.Type is kind
        assert p.value == value
        assert type(p.value) is type(value)

    def test_empty_lists_read_as_empty_and_repr_never_raises(self):
        p = prop()
        p.set_uint64_list([])
        assert p.value == []
        p.set_int_list_pair([], [])
        assert p.value == ([], [])
        op = pi.COperation()
        op.Properties.append(p)
        assert "value=([], [])" in repr(op)
        # A block that does not fit its kind cannot be read, but is shown.
        broken = pi.from_json(json.dumps({"Version": 1, "CProperty": {
            "PropertyID": 23067, "Type": 5, "Raw": None, "DataSize": 8}}))
        with pytest.raises(pi.Error):
            broken.value
        assert "value=<InvalidDataError" in repr(broken)

    def test_data_is_the_block_as_bytes(self):
        p = prop(["a", "bc"])
        assert p.data == struct.pack("<II", 2, 3) + b"a\0bc\0"
        p.set_int_list_pair([], [])
        assert (p.DataSize, p.data) == (0, None)

    def test_empty_int_list_is_refused_and_keeps_the_old_value(self):
        p = prop(pi.Selection(1, [4, 5]))
        with pytest.raises(pi.EmptyListError) as raised:
            p.set_int_list(7, [])
        assert raised.value.code == pi.Result.EMPTY_LIST
        assert p.value == pi.Selection(1, [4, 5])

    def test_empty_list_keeps_a_string_list_a_string_list(self):
        p = prop(["a"])
        p.value = []
        assert p.Type is pi.ValueType.STRING_LIST and p.value == []
        q = prop()
        q.value = []
        assert q.Type is pi.ValueType.UINT64_LIST

class TestReadersAndErrors:
    def test_wrong_kind_raises_library_code(self):
        p = prop("text")
        with pytest.raises(pi.WrongKindError) as raised:
            p.get_uint64()
        assert raised.value.code == pi.ExceptionCode.WRONG_TYPE == 0x21130004
        assert raised.value.text == (
            "property ADAPTER_NAME (23067) holds a STRING value, not UINT64 (exception 0x21130004)")
        assert isinstance(raised.value, TypeError)

    def test_typed_getters(self):
        assert prop(True).get_bool() is True
        assert prop(9).get_uint64() == 9
        assert prop(["x", "y"]).get_string_list() == ["x", "y"]
        assert prop(pi.XmlText("<r/>")).get_xml() == "<r/>"
        assert prop(pi.Range(1, 0, 2, 1)).get_range() == (1, 0, 2, 1)

    def test_no_value_reads_raise(self):
        with pytest.raises(pi.Error):
            pi.CProperty().get_string()


class TestValueSemantics:
    def test_copies_are_deep(self):
        a = prop([1, 2])
        for b in (copy.copy(a), copy.deepcopy(a)):
            assert b == a
            b.value = [3]
            assert a.value == [1, 2]

    def test_repr_names_kind_and_value(self):
        text = repr(prop("hello"))
        assert text.startswith("CProperty(PropertyID=<PropertyID.ADAPTER_NAME")
        assert "value='hello'" in text and "ValueType.STRING" in text
