"""pi.get_metrics and pi.check on the example inventories."""
import os

import pi

EXAMPLES = os.path.join(os.path.dirname(__file__), "..", "..", "examples")


def test_metrics_and_check_of_the_failed_drive():
    with open(os.path.join(EXAMPLES, "inventory-after.json"), "rb") as f:
        after = pi.COperation.from_json(f.read())
    metrics = pi.get_metrics(after)
    assert ('pi_health{type="OBJECT_TYPE_PHYSICAL_DRIVE",adapter="1",id="4098",slot="2",'
            'serial="ZC100019",health="critical"} 1\n') in metrics
    status, line, details = pi.check(after, critical={"drives_failed": ""})
    assert status == 1 and line.startswith("PI WARNING - 1 logical drive degraded")
    assert "physical drive 4098 (slot 2, serial ZC100019): critical, state PD_STATE_FAILED" in details
