"""The interchange form: JSON and MessagePack documents of every record."""
import os

import pytest

import pi


def fields_of(record):
    return {name: getattr(record, name) for name in record._fields}


def make(cls, *args, **fields):
    record = cls(*args)
    for name, value in fields.items():
        setattr(record, name, value)
    return record


def sample_records():
    """One record of each class, with 64-bit ids, fields that == leaves out
    and texts that are not UTF-8."""
    prop = make(pi.CProperty, pi.PropertyID.ADAPTER_NAME, value="controller \u00e9 0")
    strings = pi.CProperty(pi.PropertyID.ADAPTER_NAME)
    strings.set_string_list(["a", "b\udcff"], 2)
    obj = make(pi.CObject, 2**64 - 1, 19020, Parents=[1, 2**63], Properties=[prop])
    task = make(pi.CTask, Text2="bytes \udcfe\udcff", ObjectID=77)
    drive = make(pi.CDrive, UsedSize=10**12)
    container = make(pi.CContainer, Drives=[drive])
    # GHS is not compared by ==, kept all the same.
    ld = make(pi.CLogicalDrive, Containers=[container], GHS=[4100, 4101])
    level = make(pi.CLevel, StripeSizes=[64, 128, 256])
    migration = make(pi.CMigration, Attribute3=-6)
    partition = make(pi.CPartition, Text1="/dev/sda1")
    passthrough = make(pi.CPassThrough, Value=9)
    event = make(pi.CEvent, Text1="not compared")
    event.set_placeholder(1, "drive 3")
    op = make(pi.COperation, Objects=[obj], LogicalDrives=[ld], Levels=[level],
              Migrations=[migration], Events=[event], PassThroughs=[passthrough],
              Partitions=[partition], Properties=[strings])
    return [prop, strings, obj, task, drive, container, ld, level, migration,
            partition, passthrough, event, op]


@pytest.mark.parametrize("record", sample_records(), ids=lambda r: type(r).__name__)
def test_every_class_round_trips_field_by_field(record):
    cls = type(record)
    for back in (cls.from_json(record.to_json()), cls.from_msgpack(record.to_msgpack()),
                 pi.from_json(record.to_json()), pi.from_msgpack(record.to_msgpack())):
        assert type(back) is cls  # a task stays a task, not an object
        assert back == record
        assert fields_of(back) == fields_of(record)
        if cls is pi.CProperty:
            assert back.value == record.value and back.Type == record.Type


def test_bytes_like_inputs():
    op = sample_records()[-1]
    text, packed = op.to_json().encode(), op.to_msgpack()
    assert isinstance(packed, bytes)
    for buffer in (bytes, bytearray, memoryview):
        assert pi.COperation.from_json(buffer(text)) == op and pi.from_msgpack(buffer(packed)) == op


# Each refusal's code, pointer and offset are the library's (its own suites
# go through every kind); these check that all of them come through, from
# str and from bytes.
@pytest.mark.parametrize("text, code, pointer", [
    ('{"Version": 1, "COperation": {', 20100, None),
    ('{"Version": 1, "COperation": {"Setting1": "x"}}', 20101, "/COperation/Setting1"),
    (b'{"Version": 1, "COperation": {"Partitions": [{"Text1": "\xff"}]}}', 20107, None),
])
def test_bad_documents_name_code_and_place(text, code, pointer):
    with pytest.raises(pi.InterchangeError) as info:
        pi.COperation.from_json(text)
    error = info.value
    assert isinstance(error, pi.Error) and isinstance(error, ValueError)
    assert error.code == code and str(code) in error.text and 0 <= error.offset <= len(text)
    assert pointer is None or (error.pointer == pointer and pointer in error.text)


def test_wrong_types_are_type_errors():
    for bad in (None, 5, 1.5, ["{}"], object()):
        with pytest.raises(TypeError):
            pi.COperation.from_json(bad)
        with pytest.raises(TypeError):
            pi.from_json(bad)
        with pytest.raises(TypeError):
            pi.from_msgpack(bad)
    with pytest.raises(TypeError):
        pi.COperation.to_json(pi.CObject())
    with pytest.raises(UnicodeEncodeError):  # a lone surrogate in a str
        pi.from_json('{"Version": 1, "CTask": {"Text1": "\ud800"}}')


def test_example_files_load(examples, tmp_path):
    before = pi.load(os.path.join(examples, "inventory-before.json"))
    after = pi.load(os.path.join(examples, "inventory-after.json"))
    assert type(before) is pi.COperation and before != after
    packed = tmp_path / "before.msgpack"
    packed.write_bytes(before.to_msgpack())
    assert fields_of(pi.load(packed)) == fields_of(before)
    spaced = tmp_path / "spaced.json"
    spaced.write_text("\n  " + before.to_json())
    assert pi.load(str(spaced)) == before


def test_load_failures(tmp_path):
    with pytest.raises(FileNotFoundError):
        pi.load(tmp_path / "missing.json")
    for content in (b"\x00\x01\x02", b""):
        (tmp_path / "junk").write_bytes(content)
        with pytest.raises(pi.InterchangeError):
            pi.load(tmp_path / "junk")
