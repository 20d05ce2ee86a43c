"""The identifier vocabulary as IntEnums, checked against the library."""
import pi


def test_every_property_name_is_its_help_anchor():
    names = list(pi.PropertyID.__members__)
    assert len(names) > 400
    for name in names:
        page = "actions.htm" if name.startswith("OP_") else "properties.htm"
        assert pi.get_help_path(pi.PropertyID[name]) == f"{page}#{name}", name


def test_library_results_come_back_as_members():
    p = pi.CProperty(pi.PropertyID.ADAPTER_NAME)
    assert p.PropertyID is pi.PropertyID.ADAPTER_NAME
    assert p.Type is pi.ValueType.NONE
    p.PropertyID = 1  # no such identifier: stays a plain number
    assert p.PropertyID == 1 and not isinstance(p.PropertyID, pi.PropertyID)
    assert pi.CLogicalDrive().Units is pi.Units.LOGICAL_DRIVE_DEFAULT

