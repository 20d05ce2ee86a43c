"""CConfigFile: scopes, fallback, listing, failures and closing."""
import os
import pathlib

import pytest

import pi


@pytest.fixture
def config(tmp_path):
    with pi.CConfigFile(tmp_path / "pi.ini") as cfg:
        yield cfg


def test_scopes_are_separate_sections(config):
    config.set("Mode", "common")
    config.set("Mode", "adapter", adapter=1)
    config.set("Mode", "unit", adapter=1, unit=2)
    config.set("Mode", "named", name="a=b")
    config.set("Raw", "x", section="Custom")
    assert config.sections() == ["DefaultConfig", "Config.1", "Config.1.2", "Config.a_b", "Custom"]
    assert config.get("Mode") == "common"
    assert config.get("Mode", adapter=1) == "adapter"
    assert config.get("Mode", adapter=1, unit=2) == "unit"
    assert config.get("Mode", name="a=b") == "named"
    assert config.get("Raw", section="Custom") == "x"


def test_reads_fall_back_to_default_config(config):
    config.set("Rate", "30")
    assert config.get("Rate", adapter=9) == "30"
    assert config.get("Rate", name="other") == "30"
    assert config.get("Missing", adapter=9) is None
    assert config.get("Missing", default="none") == "none"


def test_delete_and_clear(config):
    config.set("A", "1", name="n")
    config.set("B", "2", name="n")
    config.delete("A", name="n")
    config.delete("A", name="n")  # a missing key is no error
    assert config.items("Config.n") == [("B", "2")]
    config.clear(name="n")
    assert "Config.n" not in config.sections()
    assert config.items("Config.n") == []


def test_values_round_trip_byte_for_byte(config):
    tricky = [" lead", "trail ", "a=b", "; not a comment", "# nor this", "[x]", '"q"',
              "two\nlines", "caf\u00e9", "bad \udcff byte"]
    for i, value in enumerate(tricky):
        config.set(f"k{i}", value)
    assert [config.get(f"k{i}") for i in range(len(tricky))] == tricky
    assert config.read_all()["DefaultConfig"] == [(f"k{i}", v) for i, v in enumerate(tricky)]


def test_file_is_shared_between_objects(tmp_path):
    path = tmp_path / "shared.ini"
    with pi.CConfigFile(path) as a, pi.CConfigFile(str(path)) as b:
        a.set("K", "1", adapter=0)
        assert b.get("K", adapter=0) == "1"
        assert b.path == str(path)


def test_missing_or_unreadable_file_reads_nothing(tmp_path):
    cfg = pi.CConfigFile(tmp_path / "absent.ini")
    assert cfg.get("K") is None
    assert cfg.sections() == [] and cfg.read_all() == {}
    cfg.delete("K")
    assert not (tmp_path / "absent.ini").exists()


def test_failed_write_raises_and_leaves_the_file(tmp_path):
    cfg = pi.CConfigFile(tmp_path / "no" / "such" / "dir.ini")
    with pytest.raises(pi.FileError) as raised:
        cfg.set("K", "v")
    assert raised.value.code == raised.value.errno == 2  # no such directory
    assert isinstance(raised.value, OSError) and "dir.ini" in raised.value.text
    if os.geteuid() != 0:  # root may write anywhere
        ro = tmp_path / "ro"
        ro.mkdir()
        (ro / "pi.ini").write_text("[DefaultConfig]\nK=old\n")
        ro.chmod(0o500)
        (ro / "pi.ini").chmod(0o400)
        with pytest.raises(pi.Error):
            pi.CConfigFile(ro / "pi.ini").set("K", "new")
        assert (ro / "pi.ini").read_text() == "[DefaultConfig]\nK=old\n"


def test_scope_arguments_are_checked(config):
    with pytest.raises(ValueError):
        config.get("K", adapter=1, name="x")
    with pytest.raises(ValueError):
        config.get("K", unit=1)
    with pytest.raises(ValueError):
        config.set("", "v")
    with pytest.raises(ValueError):
        config.get("K", adapter=-1)
    with pytest.raises(TypeError):
        config.set("K", 5)
    with pytest.raises(TypeError):
        config.get("K", name=b"x")


def test_closed_file_refuses_every_call(tmp_path):
    cfg = pi.CConfigFile(pathlib.Path(tmp_path, "c.ini"))
    cfg.set("K", "v")
    cfg.close()
    assert cfg.closed
    assert "closed" in repr(cfg)
    for call in (lambda: cfg.get("K"), lambda: cfg.set("K", "w"), lambda: cfg.delete("K"),
                 lambda: cfg.clear(), cfg.sections, cfg.read_all, lambda: cfg.items(),
                 lambda: cfg.path, lambda: cfg.__enter__()):
        with pytest.raises(pi.ClosedError):
            call()
    cfg.close()  # closing twice is harmless
    assert pi.CConfigFile(tmp_path / "c.ini").get("K") == "v"
