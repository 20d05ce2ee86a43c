#pragma once

// The read-only Redfish service of `pitool redfish serve`: the view of one
// inventory file over HTTP/1.1, re-read when the file changes.

#include <PI/Redfish.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace pitool {

// The inventory file turned into the view, or ToolError (bad input).
std::vector<PI::CRedfishResource> LoadRedfishView(const std::string& path);

struct ServeOptions {
    std::string file;
    std::string address = "127.0.0.1";
    std::uint16_t port = 8000;
    int readTimeoutSeconds = 10; // for a whole request; then the connection is closed
    size_t maxConnections = 64;  // more get 503 and are closed
};

// The service's limits (docs/redfish.md).
constexpr size_t SERVE_HEADER_LIMIT = 8192;   // request line and headers: 431 beyond
constexpr size_t SERVE_TARGET_LIMIT = 2048;   // request target: 414 beyond
constexpr size_t SERVE_BODY_LIMIT = 4096;     // a body (only ever refused with 405)
constexpr int SERVE_WATCH_MILLISECONDS = 500; // how often the file is looked at

// Serves until SIGTERM or SIGINT; prints "listening on ADDRESS:PORT" on
// standard output once it accepts connections. Throws ToolError when the
// file cannot be read or the address not bound.
void ServeRedfish(const ServeOptions& options);

} // namespace pitool
