// pitool metrics: an inventory record as Prometheus text metrics, printed or
// written whole for node_exporter's textfile collector.
#include "Commands.h"
#include "RecordFile.h"

#include <PI/Metrics.h>

#include <CLI/CLI.hpp>

#include <memory>

namespace pitool {

// The operation of a record document; any other record class is refused.
PI::COperation ReadInventory(const std::string& path) {
    PI::AnyRecord record = ReadRecordFile(path);
    if (auto* operation = std::get_if<PI::COperation>(&record))
        return std::move(*operation);
    Fail(std::string("the record is a ") + PI::RecordClassName(PI::RecordClassOf(record)) +
         ", not the COperation of an inventory");
}

void AddMetricsCommand(CLI::App& app, Invocation& call) {
    struct Args {
        std::string file, output;
    };
    auto args = std::make_shared<Args>();
    CLI::App* sub = AddSubcommand(
        app, call, "metrics", "An inventory as Prometheus text metrics",
        "FILE is a COperation record document (JSON or MessagePack); - reads standard input. "
        "The metrics are in the Prometheus text format 0.0.4 (docs/metrics.md). With -o PATH "
        "they replace PATH whole: a temporary file beside it, then a rename, so that "
        "node_exporter's textfile collector never reads half a file (give PATH a .prom name).");
    sub->add_option("file", args->file, "Inventory record document")->required();
    sub->add_option("-o,--output", args->output, "Write to this file (whole or not at all)");
    sub->callback([&call, args] {
        call.run = [args] {
            Result result;
            result.raw = PI::GetMetrics(ReadInventory(args->file));
            if (!args->output.empty()) {
                WriteFileAtomically(args->output, result.raw);
                result.raw.clear();
            }
            return result;
        };
    });
}

} // namespace pitool
