// pitool redfish: the Redfish view of an inventory file, written as a
// mockup tree (DIR/redfish/v1/.../index.json) or served read-only.
#include "Commands.h"
#include "RedfishServer.h"

#include <CLI/CLI.hpp>

#include <boost/filesystem.hpp>

#include <fstream>
#include <memory>

namespace pitool {

namespace {

struct RedfishArgs {
    std::string file;
    std::string directory;
    std::string listen = "127.0.0.1:8000";
    int readTimeout = 10;
    size_t maxConnections = 64;
};

Result WriteMockup(const RedfishArgs& args) {
    if (args.directory.empty())
        Fail("say where the mockup goes with -o DIR");
    const std::vector<PI::CRedfishResource> view = LoadRedfishView(args.file);
    const boost::filesystem::path top(args.directory);
    for (const PI::CRedfishResource& r : view) {
        const boost::filesystem::path path = top / PI::RedfishMockupPath(r.Uri);
        boost::system::error_code ec;
        boost::filesystem::create_directories(path.parent_path(), ec);
        std::ofstream out(path.string(), std::ios::binary | std::ios::trunc);
        out << r.Body << '\n';
        out.close();
        if (ec || !out)
            Fail("cannot write '" + path.string() + "'");
    }
    Result result;
    result.text = "wrote " + std::to_string(view.size()) + " resources under " +
                  (top / "redfish" / "v1").string() + "\n";
    result.json = Json::Object()
                      .Set("resources", static_cast<unsigned long long>(view.size()))
                      .Set("directory", args.directory);
    return result;
}

// "ADDRESS:PORT", the address maybe in brackets ("[::1]:8000").
void ParseListen(const std::string& text, ServeOptions& options) {
    const size_t colon = text.rfind(':');
    if (colon == std::string::npos || colon == 0)
        Fail("--listen wants ADDRESS:PORT, not '" + text + "'");
    std::string address = text.substr(0, colon);
    if (address.size() > 2 && address.front() == '[' && address.back() == ']')
        address = address.substr(1, address.size() - 2);
    options.address = address;
    options.port = static_cast<std::uint16_t>(ParseUnsigned(text.substr(colon + 1), "port", 65535));
}

} // namespace

void AddRedfishCommand(CLI::App& app, Invocation& call) {
    auto args = std::make_shared<RedfishArgs>();
    CLI::App* sub = AddSubcommand(
        app, call, "redfish", "the Redfish view of an inventory: a mockup tree or a service",
        "Writes the DMTF Redfish resources of an inventory record file (JSON or MessagePack)\n"
        "as a mockup tree, DIR/redfish/v1/.../index.json:\n"
        "  pitool redfish examples/inventory-after.json -o /tmp/mockup\n"
        "or serves them read-only over HTTP/1.1 (GET and HEAD), re-reading the file when it\n"
        "changes, until SIGTERM:\n"
        "  pitool redfish serve examples/inventory-after.json --listen 127.0.0.1:8000\n"
        "There is no authentication: keep the service on loopback. See docs/redfish.md.");
    sub->add_option("file", args->file, "Inventory record file");
    sub->add_option("-o,--output", args->directory, "Directory of the mockup tree");

    CLI::App* serve = sub->add_subcommand("serve", "serve the view read-only over HTTP/1.1");
    serve->add_option("file", args->file, "Inventory record file")->required();
    serve->add_option("--listen", args->listen, "ADDRESS:PORT (port 0: any free one)")
        ->capture_default_str();
    serve->add_option("--read-timeout", args->readTimeout, "Seconds a client has for a request")
        ->check(CLI::Range(1, 3600))
        ->capture_default_str();
    serve
        ->add_option("--max-connections", args->maxConnections,
                     "Connections served at once; more are answered 503")
        ->check(CLI::Range(1, 10000))
        ->capture_default_str();
    serve->preparse_callback([&call](size_t) { call.command = "redfish serve"; });
    serve->callback([&call, args] {
        call.run = [args] {
            ServeOptions options;
            options.file = args->file;
            options.readTimeoutSeconds = args->readTimeout;
            options.maxConnections = args->maxConnections;
            ParseListen(args->listen, options);
            ServeRedfish(options);
            return Result{};
        };
    });
    sub->require_subcommand(0, 1);
    // Runs after serve's callback: the mockup is written only without serve.
    sub->callback([&call, args, serve] {
        if (serve->parsed())
            return;
        if (args->file.empty())
            Fail("name the inventory file (see pitool redfish --help)");
        call.run = [args] { return WriteMockup(*args); };
    });
}

} // namespace pitool
