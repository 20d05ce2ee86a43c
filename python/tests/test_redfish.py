"""pi.redfish_view: the library's resources as nested Python values."""
import os

import pi

STORAGE = "/redfish/v1/Systems/0/Storage/1"


def test_view_is_a_dict_of_resources_by_uri(examples):
    view = pi.redfish_view(pi.load(os.path.join(examples, "inventory-after.json")))
    assert all(uri == r["@odata.id"] for uri, r in view.items())
    volume = view[STORAGE + "/Volumes/0"]
    assert volume["Operations"] == [{"Operation": "Rebuild"}]
    assert volume["Links"]["Drives"][0] == {"@odata.id": STORAGE + "/Drives/4096"}
    entries = view["/redfish/v1/Systems/0/LogServices/Events/Entries"]["Members"]
    assert [view[e["@odata.id"]]["Message"] for e in entries] == ["Controller 0: Drive 2 failed"]
