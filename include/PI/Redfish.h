#pragma once

// The records as the industry's storage model sees them: an inventory
// operation turned into the DMTF Redfish resources of one computer system
// (service root, system, storage per adapter, controllers, drives, volumes,
// batteries, the events as log entries). Each resource is one JSON document
// with its @odata.id, a versioned @odata.type, Id and Name. What maps to
// what is docs/redfish.md.
//
// The view never fails on what an inventory holds: a value of another kind
// than expected, a text that is not UTF-8, a dangling id or a parent cycle
// leave that value out (or replace the bad bytes), never the resource.

#include "PI/Export.h"
#include "PI/Operation.h"

#include <string>
#include <vector>

namespace PI {

struct PI_API CRedfishResource {
    std::string Uri;  // "/redfish/v1/...", no trailing slash
    std::string Body; // the resource's JSON text
};

// Every resource of the inventory, parents before children, each URI once.
// Throws std::bad_alloc only.
PI_API std::vector<CRedfishResource> MakeRedfishView(const COperation& inventory);

// The URI under which the mockup layout stores a resource: "redfish/v1/
// Systems/0" becomes "redfish/v1/Systems/0/index.json". The URIs of the view
// hold only letters, digits and "/", so the path stays under its directory.
PI_API std::string RedfishMockupPath(const std::string& uri);

} // namespace PI
