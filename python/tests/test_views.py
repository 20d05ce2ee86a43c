"""Records reached through another record are live views of it: what is
changed through them lands in the record, and a view whose element is gone
raises instead of reaching another element or freed memory."""
import copy
import gc
import os
import subprocess
import sys

import pytest

import pi

NAME, STATUS = pi.PropertyID.PHYSICAL_DRIVE_NAME, pi.PropertyID.PHYSICAL_DRIVE_STATUS


def inventory():
    op = pi.COperation()
    for i in range(3):
        drive = pi.CObject(4096 + i, pi.ObjectType.PHYSICAL_DRIVE)
        name = pi.CProperty(NAME)
        name.value = f"Drive {i}"
        drive.Properties.append(name)
        op.Objects.append(drive)
    return op


def test_changes_through_every_kind_of_access_stick():
    op = inventory()
    op.Objects[0].Flag = True
    op.Objects[0].Properties[0].value = "renamed"
    for drive in op.Objects:
        drive.Value64 = drive.ObjectID
    for drive in op.Objects[1:]:
        drive.Children.append(1)
    op.Objects[-1].Properties.append(pi.CProperty(STATUS))
    op.LogicalDrives = [pi.CLogicalDrive()]
    op.LogicalDrives[0].Containers.append(pi.CContainer())
    op.LogicalDrives[0].Containers[0].Drives.append(pi.CDrive())
    back = pi.from_json(op.to_json())  # the record itself, not the views
    assert back.Objects[0].Flag and back.Objects[0].Properties[0].value == "renamed"
    assert [d.Value64 for d in back.Objects] == [4096, 4097, 4098]
    assert [list(d.Children) for d in back.Objects] == [[], [1], [1]]
    assert [len(d.Properties) for d in back.Objects] == [1, 1, 2]
    assert len(back.LogicalDrives[0].Containers[0].Drives) == 1
    # Copies only when asked for.
    kept = copy.copy(op.Objects[0])
    kept.Flag = False
    assert op.Objects[0].Flag and not kept.Flag
    # a task's object part is reachable
    task = pi.CTask()
    before = copy.copy(task)
    task.Object.Flag = True  # the task's own Flag hides the object part's
    task.Object.Properties.append(pi.CProperty(STATUS))
    assert not task.Flag and task.Object.Flag and len(task.Properties) == 1
    assert [c.path for c in pi.diff(before, task)] == ["/Object/Flag", "/Object/Properties/0"]
    task.Object = pi.CObject(7, pi.ObjectType.TASK)
    assert (task.ObjectID, task.Object.Flag, len(task.Properties)) == (7, False, 0)


@pytest.mark.parametrize("change", [
    lambda op: op.Objects.pop(0),
    lambda op: op.Objects.clear(),
    lambda op: op.Objects.extend([pi.CObject()] * 100),  # the list moves in memory
    lambda op: op.Objects.insert(0, pi.CObject()),
    lambda op: op.Objects.__delitem__(slice(0, 1)),
    lambda op: op.Objects.__setitem__(0, pi.CObject()),
    lambda op: setattr(op, "Objects", []),
], ids=["pop", "clear", "grow", "insert", "del-slice", "replace", "assign"])
def test_a_view_whose_element_is_gone_raises(change):
    op = inventory()
    drive, name, names = op.Objects[0], op.Objects[0].Properties[0], op.Objects[0].Properties
    change(op)
    del op
    gc.collect()  # the views keep the record, and still refuse
    for use in (lambda: drive.Flag, lambda: setattr(drive, "Flag", True), lambda: name.value,
                lambda: names.append(pi.CProperty()), lambda: copy.copy(drive),
                lambda: drive.health(), lambda: drive.to_json(), lambda: len(names)):
        with pytest.raises(pi.StaleViewError, match=r"Objects\[0\]"):
            use()
    assert "stale" in repr(drive)  # repr never raises


def test_lookups_give_views_or_the_default():
    op = inventory()
    drive = op.object(4097)
    assert op.object(1) is None and drive.property(STATUS) is None
    name = drive.property(NAME)
    op.Objects[0].Properties.clear()  # views of other lists survive a change
    op.Events.append(pi.CEvent())
    name.value = "found"
    assert op.Objects[1].Properties[0].value == "found"
    assert drive.property(NAME, secondary=NAME) is not None
    assert drive.Properties.get(NAME, secondary=NAME + 1) is None
    op.objects_of_type(pi.ObjectType.PHYSICAL_DRIVE)[2].Flag = True
    assert [d.Flag for d in op.Objects] == [False, False, True]
    assert op.objects_of_type(pi.ObjectType.TASK) == []
    with pytest.raises(TypeError, match="property"):
        drive.Properties[NAME]  # not the 23259th element


def test_health_is_the_librarys_and_its_words_can_be_replaced():
    ld = pi.CLogicalDrive()
    ld.Properties.append(pi.CProperty(pi.PropertyID.LOGICAL_DRIVE_STATUS))
    ld.Properties[0].value = " degraded "
    assert ld.health() is pi.health(ld) is pi.health(ld.Properties[0]) is pi.Health.WARNING
    try:
        pi.set_health_words({"Degraded": pi.Health.CRITICAL, "Fine": pi.Health.OK})
        assert ld.health() is pi.Health.CRITICAL
        with pytest.raises(ValueError):
            pi.set_health_words([("Degraded", pi.Health.OK), ("x", pi.Health.UNKNOWN)])
        assert pi.get_health_words() == [("Degraded", pi.Health.CRITICAL), ("Fine", pi.Health.OK)]
    finally:
        pi.reset_health_words()
    assert ld.health() is pi.Health.WARNING
    with pytest.raises(TypeError):
        pi.health(pi.CEvent())


def test_monitoring_script(examples):
    lines = subprocess.run(
        [sys.executable, os.path.join(examples, "monitor.py"),
         os.path.join(examples, "inventory-after.json"),
         os.path.join(examples, "inventory-before.json")],
        capture_output=True, text=True, timeout=60, check=True).stdout.splitlines()
    assert lines[0] == "failed drive: Drive 2 (serial ZC100019, state FAILED)"
    assert "Drive 2: PHYSICAL_DRIVE_STATUS changed from OK to FAILED." in lines
