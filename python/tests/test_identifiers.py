"""The identifier vocabulary as IntEnums, checked against the library."""
import enum

import pi


def test_enumerations_are_int_enums_with_names():
    for cls in (pi.PropertyID, pi.ObjectType, pi.Units, pi.Severity, pi.ValueType, pi.Result,
                pi.ExceptionCode, pi.PDState, pi.MediaType, pi.PowerState, pi.SubType,
                pi.SenseDecode):
        assert issubclass(cls, enum.IntEnum), cls
        assert len(cls) > 0
    assert pi.Units.GIGABYTES == 21021 and pi.Units(21002) is pi.Units.MEGABYTES
    assert pi.ObjectType.TASK == 19005
    assert pi.Severity.ERROR == 3
    assert pi.ValueType.STRING_LIST == 11
    assert pi.ExceptionCode.INDEX_OUT_OF_RANGE == 0x21130001
    assert pi.Result.CONFIG_NOT_READ == 20014
    assert pi.PDState.MISSING == 40023 and pi.MediaType.SSD == 40293
    assert pi.TASK_ATTRIBUTE_DEFAULT == pi.CTask().Attribute6


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

