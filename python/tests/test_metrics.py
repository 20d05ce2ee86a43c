"""pi.get_metrics and pi.check on the example inventories."""
import os

import pi

EXAMPLES = os.path.join(os.path.dirname(__file__), "..", "..", "examples")


def inventory(name):
    with open(os.path.join(EXAMPLES, name), "rb") as f:
        return pi.COperation.from_json(f.read())


def test_metrics_and_check_of_the_failed_drive():
    after = inventory("inventory-after.json")
    metrics = pi.get_metrics(after)
    assert ('pi_health{type="OBJECT_TYPE_PHYSICAL_DRIVE",adapter="1",id="4098",slot="2",'
            'serial="ZC100019",health="critical"} 1\n') in metrics
    status, line, details = pi.check(after, critical={"drives_failed": ""})
    assert status == 1 and line.startswith("PI WARNING - 1 logical drive degraded")
    assert "physical drive 4098 (slot 2, serial ZC100019): critical, state PD_STATE_FAILED" in details
    assert pi.check(inventory("inventory-before.json"))[0] == 0
    assert pi.check(after, warning={"heat": "1"})[0] == 3
