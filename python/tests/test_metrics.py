"""pi.get_metrics and pi.check: the library's text and status as Python values."""
import pi


def test_metrics_and_check_of_the_failed_drive(examples):
    after = pi.load(f"{examples}/inventory-after.json")
    assert 'serial="ZC100019",health="critical"} 1\n' in pi.get_metrics(after)
    status, line, details = pi.check(after, critical={"drives_failed": ""})
    assert status == 1 and line.startswith("PI WARNING - 1 logical drive degraded")
    drive = "physical drive 4098 (slot 2, serial ZC100019): critical, state PD_STATE_FAILED"
    assert drive in details
