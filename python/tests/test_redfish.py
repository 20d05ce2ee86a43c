"""The Redfish view of the example inventories: spares, members, the running
rebuild and the failed drive land where Redfish clients look for them."""
import os

import pi

STORAGE = "/redfish/v1/Systems/0/Storage/1"


def test_spare_member_and_rebuild_follow_the_inventory(examples):
    before = pi.redfish_view(pi.load(os.path.join(examples, "inventory-before.json")))
    op = pi.load(os.path.join(examples, "inventory-after.json"))
    after = pi.redfish_view(op)
    assert all(uri == r["@odata.id"] for uri, r in after.items())

    spare = before[STORAGE + "/Drives/4100"]
    assert (spare["HotspareType"], spare["Status"]["State"]) == ("Global", "StandbySpare")
    assert spare["Links"]["Volumes"] == []

    volume = after[STORAGE + "/Volumes/0"]
    members = [d["@odata.id"].rsplit("/", 1)[1] for d in volume["Links"]["Drives"]]
    assert members == ["4096", "4097", "4100", "4099"]
    assert volume["Operations"] == [{"Operation": "Rebuild"}]
    assert (volume["RAIDType"], volume["Status"]["Health"]) == ("RAID5", "Warning")
    rebuilt = after[STORAGE + "/Drives/4100"]
    assert rebuilt["HotspareType"] == "None" and rebuilt["Operations"] == [{"Operation": "Rebuild"}]
    assert rebuilt["Links"]["Volumes"] == [{"@odata.id": STORAGE + "/Volumes/0"}]
    assert after[STORAGE + "/Drives/4098"]["Status"]["Health"] == "Critical"
    assert after[STORAGE]["Status"]["HealthRollup"] == "Critical"
    entries = after["/redfish/v1/Systems/0/LogServices/Events/Entries"]["Members"]
    assert [after[e["@odata.id"]]["Message"] for e in entries] == ["Controller 0: Drive 2 failed"]
    # The progress of a running task in whole percent.
    status = op.object(9001).Properties[2]
    status.set_range(1199, 1000, 1200, 1)  # 99.5 % done: its place in the range, rounded down
    view = pi.redfish_view(op)
    for uri in (STORAGE + "/Volumes/0", STORAGE + "/Drives/4100"):
        assert view[uri]["Operations"] == [{"Operation": "Rebuild", "PercentageComplete": 99}]
