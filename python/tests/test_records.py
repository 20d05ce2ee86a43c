"""The value records: fields, lists as sequences, ==, copies and repr."""
import collections.abc
import copy

import pytest

import pi

RECORDS = [pi.CObject, pi.CTask, pi.CDrive, pi.CContainer, pi.CLogicalDrive, pi.CLevel,
           pi.CMigration, pi.CPartition, pi.CPassThrough, pi.CEvent, pi.COperation]


@pytest.mark.parametrize("cls", RECORDS)
def test_every_record_copies_compares_and_reprs(cls):
    a = cls()
    assert a == cls() or cls is pi.CTask  # tasks differ by creation time
    b = copy.deepcopy(a)
    assert b == a and b is not a
    assert copy.copy(a) == a
    text = repr(a)
    assert text.startswith(cls.__name__ + "(") and all(f"{f}=" in text for f in cls._fields)
    with pytest.raises(TypeError):
        hash(a)


def test_lists_and_fields_take_python_values():
    obj = pi.CObject(7, pi.ObjectType.ADAPTER_1)
    kids = obj.Children
    assert isinstance(kids, collections.abc.MutableSequence)
    kids.append(1)
    kids.extend([2, 3])
    kids.insert(0, 0)
    kids.insert(100, 4)  # past the end appends, as list.insert does
    assert list(kids) == [0, 1, 2, 3, 4] and len(kids) == 5
    assert kids[-1] == 4 and kids[1:3] == [1, 2]
    assert 3 in kids and 9 not in kids
    del kids[0]
    assert kids.pop() == 4 and kids.pop(0) == 1
    kids[0] = 2**64 - 1
    assert obj.Children == [2**64 - 1, 3]
    kids.clear()
    assert obj.Children == [] and len(obj.Children) == 0
    for bad in (lambda: kids[0], lambda: kids[-1], lambda: kids[2**100], kids.pop):
        with pytest.raises(IndexError):
            bad()
    with pytest.raises(TypeError):
        kids["0"]
    # assigning any iterable replaces the list
    level = pi.CLevel()
    level.StripeSizes = range(3)
    assert level.StripeSizes == [0, 1, 2]
    level.StripeSizes = level.StripeSizes[1:]
    assert level.StripeSizes == [1, 2]
    with pytest.raises(TypeError):
        level.StripeSizes = "12"
    with pytest.raises(TypeError):
        level.Properties = [pi.CEvent()]
    assert level.StripeSizes == [1, 2]  # a refused assignment changes nothing


def test_events_compare_by_scalars_and_keep_placeholders():
    pi.set_language_string(904321, "Rebuild")
    e = pi.CEvent()
    e.set_placeholder(1, "text")
    e.set_placeholder(2, 904321)
    assert e.PlaceHolders[:2] == ("T:text", "I:904321")
    assert e.get_placeholder(1) == "text" and e.get_placeholder(2) == "Rebuild"
    e.PlaceHolders = ["I:x", "", "", "", "", ""]
    with pytest.raises(pi.Error):
        e.get_placeholder(1)  # a stored id that is no number
    with pytest.raises(ValueError):
        e.get_placeholder(7)
    with pytest.raises(ValueError):
        e.PlaceHolders = ["T:a"]


def test_logical_drive_document_and_enum_fields(examples):
    with open(f"{examples}/ld-raid5.xml") as f:
        ld = pi.CLogicalDrive(f.read())
    assert [d.ObjectID for d in ld.Containers[0].Drives] == [5001, 5002, 5003]
    with pytest.raises(pi.Error):
        pi.CLogicalDrive('<LogicalDriveConfiguration Size="x" Units="1"/>')
    # enum fields give members and take any 32-bit number
    obj = pi.CObject(1, pi.ObjectType.TASK)
    assert obj.ObjectType is pi.ObjectType.TASK
    obj.ObjectType = 12345  # no such member: stays a plain number
    assert obj.ObjectType == 12345 and not isinstance(obj.ObjectType, pi.ObjectType)
    with pytest.raises(ValueError):
        obj.ObjectType = 2**31
