// The Redfish view from Python: pi.redfish_view(operation) gives a dict of
// each resource's URI to the resource as json.loads reads it.
#include "Binding.h"

#include <PI/Redfish.h>

#include <pybind11/stl.h>

namespace pibind {

void RegisterRedfish(py::module_& m) {
    m.def(
        "redfish_view",
        [](const PI::COperation& inventory) {
            // The GIL stays held: another thread may be changing the record.
            const std::vector<PI::CRedfishResource> view = PI::MakeRedfishView(inventory);
            py::object loads = py::module_::import("json").attr("loads");
            py::dict out;
            for (const PI::CRedfishResource& r : view)
                out[py::str(r.Uri)] = loads(py::str(r.Body));
            return out;
        },
        py::arg("operation"),
        "The DMTF Redfish resources of an inventory operation, a dict of URI to resource "
        "(docs/redfish.md).");
}

} // namespace pibind
