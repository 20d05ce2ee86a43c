"""CConfigFile: scopes, fallback, listing, failures and closing."""
import os

import pytest

import pi


@pytest.fixture
def config(tmp_path):
    with pi.CConfigFile(tmp_path / "pi.ini") as cfg:
        yield cfg


def test_scopes_are_separate_sections_and_fall_back_to_the_default(config):
    config.set("Mode", "common")
    config.set("Mode", "adapter", adapter=1)
    config.set("Mode", "unit", adapter=1, unit=2)
    config.set("Mode", "named", name="a=b")
    config.set("Raw", "x", section="Custom")
    assert config.sections() == ["DefaultConfig", "Config.1", "Config.1.2", "Config.a_b", "Custom"]
    assert config.get("Mode", adapter=1) == "adapter"
    assert config.get("Mode", adapter=1, unit=2) == "unit"
    assert config.get("Mode", name="a=b") == "named"
    assert config.get("Raw", section="Custom") == "x"
    assert config.get("Mode", adapter=9) == config.get("Mode", name="other") == "common"
    assert config.get("Missing", default="none") == "none"


@pytest.mark.parametrize("call, error", [
    (lambda c: c.get("K", adapter=1, name="x"), ValueError),
    (lambda c: c.get("K", unit=1), ValueError),
    (lambda c: c.set("", "v"), ValueError),
    (lambda c: c.get("K", adapter=-1), ValueError),
    (lambda c: c.set("K", 5), TypeError),
    (lambda c: c.get("K", name=b"x"), TypeError),
])
def test_scope_arguments_are_checked(config, call, error):
    with pytest.raises(error):
        call(config)


def test_failed_and_refused_writes_raise_their_classes(tmp_path):
    with pytest.raises(pi.FileError) as raised:
        pi.CConfigFile(tmp_path / "no" / "dir.ini").set("K", "v")
    assert raised.value.code == raised.value.errno == 2  # no such directory
    assert isinstance(raised.value, OSError) and "dir.ini" in raised.value.text
    linked, fifo = tmp_path / "linked.ini", tmp_path / "fifo.ini"
    linked.write_text("[DefaultConfig]\nK=old\n")
    os.link(linked, tmp_path / "second-name.ini")
    os.mkfifo(fifo)
    for path, rule in ((linked, "more than one link"), (fifo, "not a regular file")):
        with pytest.raises(pi.ConfigRefusedError) as raised:
            pi.CConfigFile(path).set("K", "new")
        assert raised.value.rule == rule and f"refused ({rule})" in raised.value.text
        assert str(path) in raised.value.text


def test_closed_file_refuses_every_call(tmp_path):
    cfg = pi.CConfigFile(tmp_path / "c.ini")
    cfg.set("K", "v")
    cfg.close()
    assert cfg.closed and "closed" in repr(cfg)
    for call in (lambda: cfg.get("K"), lambda: cfg.set("K", "w"), lambda: cfg.delete("K"),
                 lambda: cfg.clear(), cfg.sections, cfg.read_all, lambda: cfg.items(),
                 lambda: cfg.path, lambda: cfg.__enter__()):
        with pytest.raises(pi.ClosedError):
            call()
    cfg.close()  # closing twice is harmless
    assert pi.CConfigFile(tmp_path / "c.ini").get("K") == "v"
