"""What needs attention in an inventory, and what changed since an earlier one.

    python3 monitor.py inventory-after.json [inventory-before.json]

Everything is judged from the names of the values and the library's health;
the script holds no identifier numbers of its own.
"""
import sys

import pi

ID = pi.PropertyID


def value(record, prop, default=None):
    found = record.property(prop)
    return default if found is None else found.value


def named(enumeration, number):
    """The member's name when the enumeration names the number."""
    member = enumeration._value2member_map_.get(number)
    return member.name if member is not None else f"unnamed {number}"


def drive_name(op, object_id):
    drive = op.object(object_id)
    return value(drive, ID.PHYSICAL_DRIVE_NAME, f"object {object_id}") if drive else f"object {object_id}"


def attention(op):
    rebuilding = set()
    for drive in op.objects_of_type(pi.ObjectType.PHYSICAL_DRIVE):
        state = named(pi.PDState, value(drive, ID.PHYSICAL_DRIVE_STATUS))
        if state.startswith("REBUILD"):
            rebuilding.add(drive.ObjectID)
        if drive.health() is pi.Health.CRITICAL:
            print(f"failed drive: {value(drive, ID.PHYSICAL_DRIVE_NAME)} (serial "
                  f"{value(drive, ID.PHYSICAL_DRIVE_SERIAL_NUMBER)}, state {state})")
    for ld in op.LogicalDrives:
        health = ld.health()
        if health in (pi.Health.WARNING, pi.Health.CRITICAL):
            print(f"{health.name.lower()} logical drive: {value(ld, ID.LOGICAL_DRIVE_NAME)} "
                  f"({value(ld, ID.LOGICAL_DRIVE_STATUS)})")
    for task in op.objects_of_type(pi.ObjectType.TASK):
        target = value(task, ID.TASK_OBJECT)
        if target in rebuilding:
            # No property of the records carries a rebuild's progress yet.
            print(f"running rebuild: {value(task, ID.TASK_NAME)} of {drive_name(op, target)}, "
                  f"task {value(task, ID.TASK_STATUS)}, progress not reported")


def shown(prop):
    """A property value of a change, by the name of what it holds."""
    if prop["PropertyID"] == ID.PHYSICAL_DRIVE_STATUS:
        return named(pi.PDState, prop["Value"])
    return repr(prop["Value"])


def sentence(before, after, change):
    parts = change.path.strip("/").split("/")
    record = after if change.kind != "removed" else before
    if parts[0] == "Objects" and len(parts) == 4 and change.kind == "changed":
        obj = record.Objects[int(parts[1])]
        who = value(obj, ID.PHYSICAL_DRIVE_NAME, f"object {obj.ObjectID}")
        what = named(pi.PropertyID, change.new["PropertyID"])
        return f"{who}: {what} changed from {shown(change.old)} to {shown(change.new)}."
    if parts[0] == "Objects" and len(parts) == 2:
        item = change.new if change.kind == "added" else change.old
        return (f"{named(pi.ObjectType, item['ObjectType']).lower().replace('_', ' ')} "
                f"{item['ObjectID']} was {change.kind}.")
    if parts[0] == "LogicalDrives":
        ld = value(record.LogicalDrives[int(parts[1])], ID.LOGICAL_DRIVE_NAME)
        if "Drives" in parts:
            item = change.new if change.kind == "added" else change.old
            return f"logical drive {ld}: {drive_name(record, item['ObjectID'])} was {change.kind}."
        if change.kind == "changed":
            what = named(pi.PropertyID, change.new["PropertyID"])
            return f"logical drive {ld}: {what} changed from {shown(change.old)} to {shown(change.new)}."
    if parts[0] == "Events" and change.kind == "added":
        return f"an event was added: {change.new.get('PlaceHolder1', '')[2:]} " \
               f"{change.new.get('PlaceHolder2', '')[2:]}."
    return f"{change.path} was {change.kind}."


def main(argv):
    after = pi.load(argv[1])
    attention(after)
    if len(argv) > 2:
        before = pi.load(argv[2])
        for change in pi.diff(before, after):
            print(sentence(before, after, change))


if __name__ == "__main__":
    main(sys.argv)
