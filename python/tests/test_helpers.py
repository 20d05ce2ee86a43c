"""The stateless helpers through the binding: every input type they take,
None for what the library does not know, and the library's errors as the
right exception classes. Their tables are the library suites' business."""
import pytest

import pi


def test_helpers_take_any_input_type_and_map_refusals(examples):
    with open(f"{examples}/sense-not-ready-descriptor.hex") as f:
        text = " ".join(line for line in f if not line.startswith("#"))
    data = pi.decode_sense(bytearray.fromhex(text))
    assert data.descriptor and (data.key, data.asc, data.ascq) == (2, 0x04, 0x07)
    assert data.information is None and data.severity is pi.Severity.ERROR
    fixed = pi.decode_sense(memoryview(bytes.fromhex("70 00 02 00 00 00 00 0A 00 00 00 00 04 04 00 80 80 00")))
    assert fixed.key_specific.progress == 0x8000 and fixed.descriptors == []
    assert pi.translate_sense_key(0xF6) == ("unit attention", pi.Severity.ERROR)
    assert pi.translate_sense_asc(0x80, 0x0D) is None
    with pytest.raises(pi.SenseDataError) as raised:
        pi.decode_sense(bytes([0x70]) + bytes(12))
    assert raised.value.code == pi.SenseDecode.TOO_SHORT and isinstance(raised.value, ValueError)
    # identity, help anchors, icons and formatting
    assert pi.split_sata_model_name("WDC WD3000HLFS-01G6U0") == ("WDC", "WD3000HLFS-01G6U0")
    assert pi.get_sata_rpm("WDC", "WD3000HLFS-01G6U0") == 10000
    with pytest.raises(pi.Error):
        pi.get_sata_rpm("HGST", "HD")  # a short product is the library's failure
    assert pi.get_help_path(-1) is None and pi.get_icon_path(23999) is None
    assert pi.get_pd_status_icon(pi.PDState.REBUILD_WARNING_1, pi.MediaType.SSD, True, False,
                                 pi.PowerState.NORMAL) == 24212
    assert pi.convert_bytes_to_other_unit(2**64 - 1)[1] is pi.Units.PETABYTES
    data = bytes([0x00, 0x0F, 0xAB, 0xFF])
    assert pi.hex_dump(data, 1, 3) == "0F AB" and pi.hex_dump(data, 4) == ""
    for first, end in ((0, 5), (3, 2)):  # past the end, end before first
        with pytest.raises(ValueError):
            pi.hex_dump(data, first, end)
    pi.set_language_string(901234, "Logical Drive")
    assert pi.match_nls("logical drive", 901234) and not pi.match_nls("LogicalDrive", 901234)
    assert pi.match_nls("LOGICALDRIVE", 901234, True)
    # The identifier enumerations are generated at build time; the library's
    # help anchors carry its own names.
    for name, member in pi.PropertyID.__members__.items():
        page = "actions.htm" if name.startswith("OP_") else "properties.htm"
        assert pi.get_help_path(member) == f"{page}#{name}", name
