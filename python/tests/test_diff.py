"""Diff and patch of records, and change lists as JSON documents."""
import copy
import json
import os

import pytest

import pi


def test_diff_patch_and_change_lists_in_python_terms(examples):
    before = pi.load(os.path.join(examples, "inventory-before.json"))
    after = pi.load(os.path.join(examples, "inventory-after.json"))
    kept = copy.deepcopy(before)
    changes = pi.diff(before, after)
    assert isinstance(changes, pi.ChangeList) and changes.record_class == "COperation"
    assert pi.patch(before, changes) == after
    assert before == kept  # patch works on a copy
    assert copy.copy(changes[0]) == changes[0] and copy.copy(changes[0]) is not changes[0]
    text = changes.to_json()
    for copied in (copy.deepcopy(changes), pi.ChangeList.from_json(text)):
        assert copied == changes and copied.record_class == "COperation"
    assert pi.patch(before, pi.ChangeList.from_json(json.dumps(json.loads(text)).encode())) == after
    # Change values are Python values.
    a, b = pi.COperation(), pi.COperation()
    b.Setting1 = 5
    task_a = pi.CTask()
    task_b = copy.copy(task_a)  # a new task is stamped with the time it is made
    task_b.Text1 = "\udcffx"
    old = a.Setting1
    assert pi.diff(a, b) == [pi.Change("changed", "/Setting1", old=old, new=5)]
    (change,) = pi.diff(a, b)
    assert repr(change) == f"Change(kind='changed', path='/Setting1', old={old}, new=5)"
    (text,) = pi.diff(task_a, task_b)
    assert text.path == "/Text1" and isinstance(text.new, dict)  # Base64 form of non-UTF-8
    assert pi.patch(task_a, [text]).Text1 == "\udcffx"


def test_patch_and_diff_refuse_and_leave_records_alone():
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
    op = pi.COperation()
    for bad in (None, 1, "x", [op]):
        with pytest.raises(TypeError):
            pi.diff(bad, op)
        with pytest.raises(TypeError):
            pi.patch(bad, [])
    for bad in ("changes", b"x", None, 5, [None], [op]):
        with pytest.raises(TypeError):
            pi.patch(op, bad)
    for call, error in ((lambda: pi.diff(op, pi.CObject()), TypeError),
                        (lambda: pi.diff(pi.CObject(), pi.CTask()), TypeError),  # no task as object
                        (lambda: pi.Change("renamed", "/x"), ValueError),
                        (lambda: pi.Change("changed", "/x", old=1), ValueError),  # no new value
                        (lambda: pi.Change("added", "/x", new=object()), TypeError),
                        (lambda: pi.Change("added", "/x", new=float("nan")), ValueError)):
        with pytest.raises(error):
            call()
