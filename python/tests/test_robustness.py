"""Nothing a script passes may crash the interpreter: wrong types, None,
huge ints, non-UTF-8 bytes and closed objects all end in an exception."""
import copy

import pytest

import pi

HUGE = 2**200
BAD_TEXT = b"\xff\xfe".decode("utf-8", "surrogateescape")  # str holding non-UTF-8 bytes


def prop():
    return pi.CProperty(pi.PropertyID.ADAPTER_NAME)


# One case for each kind of argument check (int, bool, text, buffer, path,
# iterable): the checks are shared, so one call each shows them wired up.
WRONG_TYPES = [
    (lambda: pi.translate_sense_key("5"), TypeError),
    (lambda: pi.translate_sense_key(True), TypeError),
    (lambda: pi.decode_sense("70 00 05"), TypeError),
    (lambda: pi.split_sata_model_name(b"WDC X"), TypeError),
    (lambda: pi.round_rpm(-1), ValueError),
    (lambda: pi.get_pd_status_icon(1, 2, 1, 0, 3), TypeError),  # overlay must be bool
    (lambda: pi.hex_dump(b"ab", None), TypeError),
    (lambda: pi.CObject(None, 1), TypeError),
    (lambda: pi.CConfigFile(5), TypeError),
]

HUGE_INTS = [
    lambda: pi.translate_sense_key(256),
    lambda: pi.translate_sense_asc(0, -HUGE),
    lambda: pi.convert_bytes_to_other_unit(HUGE),
    lambda: pi.CObject(2**64, 1),
    lambda: pi.CObject().Parents.append(-1),
    lambda: prop().set_range(0, 0, 1, -1),
    lambda: prop().set_int_list(0, [HUGE]),
    lambda: prop().set_string_list(["a"], 2**32),
]


@pytest.mark.parametrize("call, error", WRONG_TYPES + [(call, ValueError) for call in HUGE_INTS])
def test_wrong_types_and_out_of_range_ints_raise(call, error):
    with pytest.raises(error):
        call()


def test_refused_property_values_raise_and_keep_the_old_value():
    p = prop()
    p.value = "kept"
    # 1e300 is beyond a 32-bit float, as struct.pack("f") also says.
    for values, error in (([None, b"bytes", {"a": 1}, (1, 2, 3), [1, "a"], ["a", 1], ([1], ["x"])],
                           TypeError), ([2**64, -1, pi.Range(HUGE, 0, 1, 1), 1e300], ValueError)):
        for value in values:
            with pytest.raises(error):
                p.value = value
    with pytest.raises(ValueError):
        p.set_float(10**400)
    assert p.value == "kept"
    p.value = float("-inf")
    assert p.value == float("-inf")


def test_fields_and_lists_check_their_range_and_type():
    for field, value, error in [("Attribute1", -1, ValueError), ("Attribute3", 2**31, ValueError),
                                ("SelectionMask", HUGE, ValueError), ("Flag", 1, TypeError),
                                ("Attribute1", 1.0, TypeError), ("PropertyID", "x", TypeError),
                                ("Type", 1, AttributeError), ("DataSize", 1, AttributeError),
                                ("SplitSize", 1, AttributeError), ("data", 1, AttributeError)]:
        with pytest.raises(error):
            setattr(prop(), field, value)


def test_non_utf8_text_round_trips():
    p = prop()
    p.value = "a" + BAD_TEXT
    assert (p.value, p.data) == ("a" + BAD_TEXT, b"a\xff\xfe\0")
    task = pi.CTask()
    task.Text2 = BAD_TEXT
    assert task.Text2 == BAD_TEXT
    with pytest.raises(UnicodeError):
        p.value = "\ud800"  # a lone surrogate that stands for no byte
    # wrong items in lists
    op = pi.COperation()
    for view, bad in [(op.Properties, pi.CEvent()), (op.Events, None), (op.Objects, 5),
                      (op.LogicalDrives, "ld"), (op.PassThroughs, pi.CProperty())]:
        with pytest.raises(TypeError):
            view.append(bad)
        with pytest.raises(TypeError):
            view.extend([bad])
        assert len(view) == 0
    obj = pi.CObject()
    with pytest.raises(ValueError):
        obj.Parents.extend([1, HUGE])
    assert obj.Parents == []


def test_comparing_and_copying():
    assert pi.COperation() != None  # noqa: E711
    assert pi.CObject() != pi.CTask()
    assert pi.CObject().Parents != 5
    with pytest.raises(TypeError):
        pi.CDrive() < 5
    # deepcopy keeps its memo; a copy of a list view is a list.
    op = pi.COperation()
    assert copy.deepcopy([op, op])[0] == op
    op.Properties.append(prop())
    snapshot = copy.copy(op.Properties)
    assert isinstance(snapshot, list) and snapshot == op.Properties
    op.Properties.clear()
    assert len(snapshot) == 1 and copy.deepcopy(op.Properties) == []
