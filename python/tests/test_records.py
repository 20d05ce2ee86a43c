"""The value records: fields, lists as sequences, ==, copies and repr."""
import collections.abc
import copy
import gc

import pytest

import pi

RECORDS = [pi.CObject, pi.CTask, pi.CDrive, pi.CContainer, pi.CLogicalDrive, pi.CLevel,
           pi.CMigration, pi.CPartition, pi.CPassThrough, pi.CEvent, pi.COperation]


def named(value):
    p = pi.CProperty(pi.PropertyID.ADAPTER_NAME)
    p.value = value
    return p


@pytest.mark.parametrize("cls", RECORDS)
def test_every_record_copies_compares_and_reprs(cls):
    a = cls()
    assert a == cls() or cls is pi.CTask  # tasks differ by creation time
    b = copy.deepcopy(a)
    assert b == a and b is not a
    assert copy.copy(a) == a
    text = repr(a)
    assert text.startswith(cls.__name__ + "(")
    for field in cls._fields:
        assert f"{field}=" in text
    with pytest.raises(TypeError):
        hash(a)


def test_field_changes_show_in_equality_and_copies_are_independent():
    op = pi.COperation()
    op.Setting9 = 4
    op.Properties.append(named("a"))
    ld = pi.CLogicalDrive()
    ld.Containers.append(pi.CContainer())
    op.LogicalDrives.append(ld)
    other = copy.deepcopy(op)
    assert other == op
    other.Setting9 = 5
    assert other != op
    other = copy.copy(op)
    other.Properties[0] = named("b")
    assert op.Properties[0].value == "a"


class TestListViews:
    def test_sequence_protocol(self):
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

    def test_index_errors(self):
        ids = pi.CObject().Parents
        with pytest.raises(IndexError):
            ids[0]
        with pytest.raises(IndexError):
            ids[-1]
        with pytest.raises(IndexError):
            ids[2**100]
        with pytest.raises(IndexError):
            ids.pop()
        with pytest.raises(TypeError):
            ids["0"]

    def test_view_keeps_its_record_alive(self):
        op = pi.COperation()
        op.Events.append(pi.CEvent())
        events = op.Events
        del op
        gc.collect()
        assert len(events) == 1
        events.append(pi.CEvent())
        assert len(events) == 2

    def test_items_are_copies(self):
        ld = pi.CLogicalDrive()
        ld.Containers.append(pi.CContainer())
        container = ld.Containers[0]
        container.Drives.append(pi.CDrive())
        assert len(ld.Containers[0].Drives) == 0
        ld.Containers[0] = container  # writing back is how a nested change lands
        assert len(ld.Containers[0].Drives) == 1
        ld.Containers.clear()
        assert len(container.Drives) == 1  # the copy outlives the list

    def test_assigning_any_iterable_replaces_the_list(self):
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

    def test_a_task_in_the_object_list_keeps_its_object_part(self):
        task = pi.CTask()
        task.ObjectID = 42
        op = pi.COperation()
        op.Objects.append(task)
        assert type(op.Objects[0]) is pi.CObject
        assert op.Objects[0].ObjectID == 42


class TestRecordRules:
    def test_drive_pieces_compare_by_drive_and_start(self):
        a, b = pi.CDrive(), pi.CDrive()
        a.ObjectID = b.ObjectID = 5
        b.UsedSize = 99
        assert a == b
        b.StartAddress = 1
        assert a != b and a < b

    def test_events_compare_by_scalars_and_keep_placeholders(self):
        pi.set_language_string(904321, "Rebuild")
        e = pi.CEvent()
        e.set_placeholder(1, "text")
        e.set_placeholder(2, 904321)
        assert e.PlaceHolders[:2] == ("T:text", "I:904321")
        assert e.get_placeholder(1) == "text" and e.get_placeholder(2) == "Rebuild"
        assert e == pi.CEvent()  # only the scalars count
        e.Scalar5 = 1
        assert e != pi.CEvent()
        e.PlaceHolders = ["I:x", "", "", "", "", ""]
        with pytest.raises(pi.Error):
            e.get_placeholder(1)  # a stored id that is no number
        with pytest.raises(ValueError):
            e.get_placeholder(7)
        with pytest.raises(ValueError):
            e.PlaceHolders = ["T:a"]

    def test_logical_drive_from_its_document(self, examples):
        with open(f"{examples}/ld-raid5.xml") as f:
            ld = pi.CLogicalDrive(f.read())
        assert (ld.Size, ld.Units) == (204800, pi.Units.MEGABYTES)
        assert [d.ObjectID for d in ld.Containers[0].Drives] == [5001, 5002, 5003]
        assert pi.CLogicalDrive("not xml") == pi.CLogicalDrive()
        with pytest.raises(pi.Error):
            pi.CLogicalDrive('<LogicalDriveConfiguration Size="x" Units="1"/>')

    def test_enum_fields_take_any_32_bit_number(self):
        obj = pi.CObject()
        obj.ObjectType = pi.ObjectType.TASK
        assert obj.ObjectType is pi.ObjectType.TASK
        obj.ObjectType = 12345
        assert obj.ObjectType == 12345
        with pytest.raises(ValueError):
            obj.ObjectType = 2**31
