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


def test_refused_write_names_the_rule_and_leaves_the_directory(tmp_path):
    linked, fifo = tmp_path / "linked.ini", tmp_path / "fifo.ini"
    linked.write_text("[DefaultConfig]\nK=old\n")
    os.link(linked, tmp_path / "second-name.ini")
    os.mkfifo(fifo)
    before = sorted(os.listdir(tmp_path))
    for path, rule in ((linked, "more than one link"), (fifo, "not a regular file")):
        with pytest.raises(pi.ConfigRefusedError) as raised:
            pi.CConfigFile(path).set("K", "new")
        assert raised.value.rule == rule and f"refused ({rule})" in raised.value.text
        assert str(path) in raised.value.text
    assert linked.read_text() == "[DefaultConfig]\nK=old\n"
    assert sorted(os.listdir(tmp_path)) == before  # no lock file left behind


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
