"""The stateless helpers and raw sense decoding."""
import pytest

import pi


class TestSense:
    def test_key_uses_low_four_bits_and_grades(self):
        assert pi.translate_sense_key(0xF6) == ("unit attention", pi.Severity.ERROR)
        text, severity = pi.translate_sense_key(7)
        assert text == "data protect"
        assert severity is pi.Severity.INFORMATIONAL

    def test_asc_known_and_unknown(self):
        assert pi.translate_sense_asc(0x80, 0x0C) == "drive killed - unknown status"
        assert pi.translate_sense_asc(0x80, 0x0D) is None
        assert pi.translate_sense_asc(0x5D, 0x1D) is None

    def test_fixed_buffer(self):
        data = pi.decode_sense(bytes.fromhex("F0 00 03 00 00 12 34 0A 00 00 00 00 11 00"))
        assert isinstance(data, pi.SenseData)
        assert (data.response_code, data.descriptor, data.deferred) == (0x70, False, False)
        assert (data.key, data.asc, data.ascq) == (3, 0x11, 0x00)
        assert data.information == 0x1234
        assert data.key_text == "medium error"
        assert data.severity is pi.Severity.ERROR
        assert data.asc_text == "unrecovered read error"

    def test_descriptor_buffer_from_file(self, examples):
        with open(f"{examples}/sense-not-ready-descriptor.hex") as f:
            text = " ".join(line for line in f if not line.startswith("#"))
        data = pi.decode_sense(bytearray.fromhex(text))
        assert data.descriptor and not data.deferred
        assert (data.key, data.asc, data.ascq) == (2, 0x04, 0x07)
        assert data.information is None
        assert data.asc_text == "logical unit not ready - operation in progress"

    def test_every_field_is_an_attribute(self):
        fixed = pi.decode_sense(bytes.fromhex("70 00 02 00 00 00 00 0A 00 00 00 00 04 04 00 80 80 00"))
        assert fixed.key_specific.kind == "progress" and fixed.key_specific.valid
        assert fixed.key_specific.progress == 0x8000
        assert (fixed.command_specific, fixed.fru, fixed.ata, fixed.descriptors) == (0, 0, None, [])
        # ATA status return, then forwarded sense cut off by the buffer.
        data = pi.decode_sense(bytes.fromhex(
            "72 01 00 1D 00 00 00 24 09 0C 01 04 00 01 00 10 00 20 00 30 40 51"
            " 0C 14 00 02 70 00 03 00 00 00 00 06 00 00 00 00 11 00"))
        ata, forwarded = data.descriptors
        assert data.ata == ata.ata and ata.ata.lba == 0x302010 and ata.ata.status == 0x51
        assert forwarded.truncated and forwarded.decoded and forwarded.data[:2] == b"\x0c\x14"
        assert forwarded.forwarded.key == 3 and forwarded.forwarded.asc_text
        assert data.truncated and data.remark.endswith("needs 22 bytes, 18 remain")

    def test_unknown_pair_has_no_text(self):
        data = pi.decode_sense(memoryview(bytes([0x73, 0x04, 0x80, 0x0D])))
        assert data.deferred
        assert data.asc_text is None

    @pytest.mark.parametrize(
        "buffer, code, words",
        [
            # Every refusal's code and text are the library's (its own suite
            # goes through them all); these check that both come through.
            (b"", pi.SenseDecode.EMPTY, "empty"),
            (bytes([0x70]) + bytes(12), pi.SenseDecode.TOO_SHORT, "at least 14 bytes, got 13"),
        ],
    )
    def test_bad_buffers_raise_with_code(self, buffer, code, words):
        with pytest.raises(pi.SenseDataError) as raised:
            pi.decode_sense(buffer)
        assert raised.value.code == code
        assert words in raised.value.text
        assert isinstance(raised.value, pi.Error) and isinstance(raised.value, ValueError)


class TestDriveIdentity:
    def test_split_rpm_serial_round(self):
        vendor, product = pi.split_sata_model_name("WDC WD3000HLFS-01G6U0")
        assert (vendor, product) == ("WDC", "WD3000HLFS-01G6U0")
        assert pi.get_sata_rpm(vendor, product) == 10000
        assert pi.correct_serial_number("WDC", "x", "WD-WCAV12345678") == "WCAV12345678"
        assert pi.round_rpm(7001) == pytest.approx(7.2)

    def test_short_product_is_a_library_error(self):
        with pytest.raises(pi.Error):
            pi.get_sata_rpm("HGST", "HD")


class TestHelpAndIcons:
    def test_help_path(self):
        assert pi.get_help_path(pi.PropertyID.ADAPTER_NAME) == "properties.htm#ADAPTER_NAME"
        assert pi.get_help_path(23098) is None
        assert pi.get_help_path(-1) is None

    def test_icons(self):
        assert pi.get_icon_path(24127) == "task.gif"
        assert pi.get_icon_path(23999) is None
        icon = pi.get_pd_status_icon(
            pi.PDState.REBUILD_WARNING_1, pi.MediaType.SSD, True, False, pi.PowerState.NORMAL
        )
        assert icon == 24212

    def test_adapter_types(self):
        assert all(pi.is_adapter_type(t) for t in pi.ObjectType if t.name.startswith("ADAPTER"))
        assert not pi.is_adapter_type(pi.ObjectType.TASK)


class TestFormatting:
    def test_units(self):
        value, unit = pi.convert_bytes_to_other_unit(3 * 2**30)
        assert (value, unit) == (3.0, pi.Units.GIGABYTES)
        value, unit = pi.convert_bytes_to_other_unit(2**64 - 1)
        assert unit is pi.Units.PETABYTES

    def test_hex_dump_bounds(self):
        data = bytes([0x00, 0x0F, 0xAB, 0xFF])
        assert pi.hex_dump(data) == "00 0F AB FF"
        assert pi.hex_dump(data, 1, 3) == "0F AB"
        assert pi.hex_dump(data, 4) == ""
        assert pi.hex_dump(b"") == ""
        with pytest.raises(ValueError):
            pi.hex_dump(data, 0, 5)  # past the end
        with pytest.raises(ValueError):
            pi.hex_dump(data, 3, 2)  # end before first

    def test_trim_and_conform(self):
        assert pi.trim(" \t a b \n") == "a b"
        assert pi.trim("   ") == ""
        assert pi.gen_xml_node_conformant_string("Logical Drive (#1)") == "LogicalDrive1"

    def test_match_nls(self):
        pi.set_language_string(901234, "Logical Drive")
        assert pi.match_nls("logical drive", 901234)
        assert not pi.match_nls("LogicalDrive", 901234)
        assert pi.match_nls("LOGICALDRIVE", 901234, True)
