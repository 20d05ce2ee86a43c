"""Diff and patch of records, and change lists as JSON documents."""
import copy
import json
import os

import pytest

import pi


def inventories(examples):
    return (pi.load(os.path.join(examples, "inventory-before.json")),
            pi.load(os.path.join(examples, "inventory-after.json")))


def op_with_objects(*ids):
    op = pi.COperation()
    for object_id in ids:
        op.Objects.append(pi.CObject(object_id, 19020))
    return op


def test_example_inventories_diff_and_patch(examples):
    before, after = inventories(examples)
    kept = copy.deepcopy(before)
    changes = pi.diff(before, after)
    assert isinstance(changes, pi.ChangeList) and changes.record_class == "COperation"
    assert changes and all(isinstance(c, pi.Change) for c in changes)
    assert {c.kind for c in changes} <= {"added", "removed", "changed", "moved"}
    assert pi.patch(before, changes) == after
    assert before == kept  # patch works on a copy
    assert pi.diff(after, after) == []
    copied = copy.deepcopy(changes)
    assert copied == changes and copied.record_class == "COperation"
    assert copy.copy(changes[0]) == changes[0] and copy.copy(changes[0]) is not changes[0]


def test_change_values_are_python_values():
    a, b = pi.COperation(), pi.COperation()
    b.Setting1 = 5
    task_a = pi.CTask()
    task_b = copy.copy(task_a)  # a new task is stamped with the time it is made
    task_b.Text1 = "\udcffx"
    old = a.Setting1
    assert pi.diff(a, b) == [pi.Change("changed", "/Setting1", old=old, new=5)]
    (change,) = pi.diff(a, b)
    assert (change.kind, change.path, change.old, change.new, change.from_path) == \
        ("changed", "/Setting1", old, 5, None)
    assert repr(change) == f"Change(kind='changed', path='/Setting1', old={old}, new=5)"
    (text,) = pi.diff(task_a, task_b)
    assert text.path == "/Text1" and isinstance(text.new, dict)  # Base64 form of non-UTF-8
    assert pi.patch(task_a, [text]).Text1 == "\udcffx"


def test_identity_matching_and_64_bit_ids():
    # The matching rules are the library's (its own suite pins them); this
    # checks that moves and 64-bit ids come through both ways.
    a = op_with_objects(1, 2, 3)
    b = op_with_objects(2, 1, 3, 2**64 - 1)
    changes = pi.diff(a, b)
    moved = [c for c in changes if c.kind == "moved"]
    assert len(moved) == 1 and moved[0].path != moved[0].from_path
    assert [c.new["ObjectID"] for c in changes if c.kind == "added"] == [2**64 - 1]
    assert pi.patch(a, changes) == b


def test_property_is_one_element_and_property_diff_has_empty_path():
    a = pi.CProperty(pi.PropertyID.ADAPTER_NAME)
    a.value = "x"
    b = copy.copy(a)
    b.value = 7
    (change,) = pi.diff(a, b)
    assert change.path == "" and change.old["Value"] == "x" and change.new["Value"] == 7
    assert pi.patch(a, [change]).value == 7


def test_all_fields_lists_what_equality_leaves_out():
    a, b = pi.CEvent(), pi.CEvent()
    b.Text1 = "only in all"
    assert a == b and pi.diff(a, b) == []
    changes = pi.diff(a, b, all_fields=True)
    assert [c.path for c in changes] == ["/Text1"]
    assert pi.patch(a, changes).Text1 == "only in all"
    with pytest.raises(TypeError):
        pi.diff(a, b, all_fields=1)


def test_change_list_document_round_trip(examples):
    before, after = inventories(examples)
    changes = pi.diff(before, after)
    text = changes.to_json()
    doc = json.loads(text)
    assert doc["Version"] == 1 and doc["Class"] == "COperation"
    assert len(doc["Changes"]) == len(changes)
    back = pi.ChangeList.from_json(text)
    assert back == changes and back.record_class == "COperation"
    assert pi.patch(before, pi.ChangeList.from_json(json.dumps(doc).encode())) == after


def test_change_list_document_errors():
    with pytest.raises(pi.InterchangeError) as info:
        pi.ChangeList.from_json('{"Version": 1, "Class": "COperation", "Changes": [{"Kind": "x"}]}')
    assert info.value.code == 20101 and info.value.pointer.startswith("/Changes/0")
    with pytest.raises(pi.InterchangeError):
        pi.ChangeList.from_json('{"Version": 1, "Class": "CNothing", "Changes": []}')
    with pytest.raises(TypeError):
        pi.ChangeList.from_json(None)
    with pytest.raises(ValueError):
        pi.ChangeList([pi.Change("changed", "/Setting1", old=0, new=1)]).to_json()
    with pytest.raises(ValueError):
        pi.ChangeList([], "CNothing").to_json()


def test_patch_refuses_and_leaves_record_alone():
    a, b = pi.COperation(), pi.COperation()
    b.Setting1 = 5
    changes = pi.diff(a, b)
    with pytest.raises(pi.PatchError) as info:
        pi.patch(b, changes)  # the old value is a's, not b's
    assert info.value.code == 20111 and info.value.pointer == "/Setting1"
    assert isinstance(info.value, pi.InterchangeError) and isinstance(info.value, pi.Error)
    assert b.Setting1 == 5
    with pytest.raises(pi.PatchError):
        pi.patch(a, [pi.Change("changed", "/Setting1", old="zero", new=1)])
    with pytest.raises(ValueError):
        pi.patch(pi.CObject(), changes)  # a list made for operations


def test_hand_built_changes():
    op = op_with_objects(10)
    changed = pi.patch(op, [pi.Change("changed", "/Setting3", old=op.Setting3, new=-7),
                            pi.Change("added", "/Objects/1", new={"ObjectID": 11, "ObjectType": 1})])
    assert changed.Setting3 == -7 and [o.ObjectID for o in changed.Objects] == [10, 11]
    assert pi.patch(op, []) == op
    assert pi.patch(op, iter([])) == op


def test_wrong_arguments():
    op = pi.COperation()
    for bad in (None, 1, "x", [op]):
        with pytest.raises(TypeError):
            pi.diff(bad, op)
        with pytest.raises(TypeError):
            pi.patch(bad, [])
    with pytest.raises(TypeError):
        pi.diff(op, pi.CObject())
    with pytest.raises(TypeError):
        pi.diff(pi.CObject(), pi.CTask())  # a task is not compared as an object
    for bad in ("changes", b"x", None, 5, [None], [op]):
        with pytest.raises(TypeError):
            pi.patch(op, bad)
    with pytest.raises(ValueError):
        pi.Change("renamed", "/x")
    with pytest.raises(ValueError):
        pi.Change("changed", "/x", old=1)  # no new value
    with pytest.raises(ValueError):
        pi.Change("added", "/x", old=1, new=1)
    with pytest.raises(ValueError):
        pi.Change("moved", "/x")
    with pytest.raises(TypeError):
        pi.Change("added", "/x", new=object())
    with pytest.raises(ValueError):
        pi.Change("added", "/x", new=float("nan"))
    with pytest.raises(TypeError):
        pi.Change(None, "/x")
    with pytest.raises(TypeError):
        pi.Change("moved", 5, from_path="/y")


def test_hostile_values_are_refused_not_crashes():
    op = pi.COperation()
    nested = 1
    for _ in range(200):
        nested = [nested]
    for value in (2**200, -2**70, True, "x" * 100000, {"a": 1}, nested):
        with pytest.raises(pi.PatchError) as info:
            pi.patch(op, [pi.Change("changed", "/Setting1", old=op.Setting1, new=value)])
        assert info.value.pointer == "/Setting1"
    with pytest.raises(pi.PatchError) as info:
        pi.patch(op, [pi.Change("added", "/Objects/0", new={"ObjectID": nested})])
    assert info.value.code == 20101 and "nested" in info.value.text
    with pytest.raises(pi.InterchangeError) as info:
        pi.ChangeList.from_json(b"\xff\xfe")
    assert info.value.code == 20100
