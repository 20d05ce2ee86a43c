// Whole records: an inventory operation copied and compared, and a logical
// drive read from its XML document against pugixml parsing the same text.
#include "Compare.h"
#include "Inventory.h"

#include <PI/Identifiers.h>
#include <PI/LogicalDrive.h>
#include <PI/Object.h>
#include <PI/Operation.h>
#include <PI/Property.h>
#include <PI/ScanHook.h>
#include <RVX/Markup.h>

#include <benchmark/benchmark.h>
#include <pugixml.hpp>

#include <cstdlib>
#include <string>
#include <vector>

namespace {

using namespace bench; // the inventory and the record classes it names

void InventoryCounters(benchmark::State& state, const Inventory& inv) {
    const double properties = static_cast<double>(inv.properties);
    state.counters["properties/s"] =
        benchmark::Counter(properties, benchmark::Counter::kIsIterationInvariantRate);
    state.counters["properties"] = properties;
    state.counters["block bytes/property"] = static_cast<double>(inv.blockBytes) / properties;
    state.counters["bytes/property"] =
        static_cast<double>(inv.blockBytes + inv.properties * sizeof(CProperty)) / properties;
}

void InventoryCopy(benchmark::State& state) {
    const Inventory& inv = TheInventory();
    for (auto _ : state) {
        COperation copy(inv.operation);
        benchmark::DoNotOptimize(&copy);
        benchmark::ClobberMemory();
    }
    InventoryCounters(state, inv);
}

void InventoryCompare(benchmark::State& state) {
    const Inventory& inv = TheInventory();
    const COperation copy(inv.operation);
    bool equal = true;
    for (auto _ : state) {
        equal = inv.operation == copy;
        benchmark::DoNotOptimize(equal);
    }
    if (!equal)
        state.SkipWithError("the copy of the inventory does not compare equal");
    InventoryCounters(state, inv);
}

BENCHMARK(InventoryCopy)->Name("inventory/copy")->Unit(benchmark::kMicrosecond);
BENCHMARK(InventoryCompare)
    ->Name("inventory/compare")

    ->Unit(benchmark::kMicrosecond);

[[maybe_unused]] const int kInventoryRows[] = {
    bench::AddMetric({"inventory", "properties in the inventory operation", "inventory/copy",
                      "properties", "", 0, false}),
    bench::AddMetric({"inventory", "copy of the whole operation", "inventory/copy", "properties/s",
                      "prop/s", 0, false}),
    bench::AddMetric({"inventory", "comparison of the whole operation (equal)", "inventory/compare",
                      "properties/s", "prop/s", 0, false}),
    bench::AddMetric({"inventory", "value block bytes per property", "inventory/copy",
                      "block bytes/property", "B", 0, false}),
    bench::AddMetric({"inventory", "bytes per property (record + value block)", "inventory/copy",
                      "bytes/property", "B", 0, false}),
};

// ---- CLogicalDrive from its document ----

// 64 containers of 16 drives, with global and dedicated hot spares and
// associated logical drives beside the root element.
const std::string& LogicalDriveDocument() {
    static const std::string text = [] {
        std::string xml = "<LogicalDriveConfiguration Size=\"32006903808000\" Units=\"21024\">"
                          "<Containers>";
        unsigned long long id = 0x1000;
        for (int c = 0; c < 64; ++c) {
            xml += "<Container>";
            for (int d = 0; d < 16; ++d, ++id)
                xml += "<Drive ObjectID=\"" + std::to_string(id) +
                       "\" StartAddress=\"0\" UsedSize=\"500107862016\"/>";
            xml += "</Container>";
        }
        xml += "</Containers></LogicalDriveConfiguration>";
        xml += "<GlobalHotSpares>";
        for (int i = 0; i < 4; ++i)
            xml += "<Drive ObjectID=\"" + std::to_string(id++) + "\"/>";
        xml += "</GlobalHotSpares><DedicatedHotSpares>";
        for (int i = 0; i < 4; ++i)
            xml += "<Drive ObjectID=\"" + std::to_string(id++) + "\"/>";
        xml += "</DedicatedHotSpares><AssociatedLogicalDrives>";
        for (int i = 0; i < 2; ++i)
            xml += "<LogicalDrive ObjectID=\"" + std::to_string(0x20000 + i) + "\"/>";
        xml += "</AssociatedLogicalDrives>";
        return xml;
    }();
    return text;
}

void LogicalDriveOurs(benchmark::State& state) {
    const std::string& text = LogicalDriveDocument();
    size_t drives = 0;
    for (auto _ : state) {
        CLogicalDrive ld(text);
        drives =
            ld.GetContainerCount() * (ld.Containers.empty() ? 0 : ld.Containers[0].Drives.size());
        benchmark::DoNotOptimize(&ld);
    }
    if (drives != 64 * 16)
        state.SkipWithError("the document did not give 64 x 16 drives");
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

// The same document read through the markup parser, as a document outside
// the usual shape is read (the tests' hook turns the direct reading off).
void LogicalDriveThroughParser(benchmark::State& state) {
    if (!PI::Test::SetLogicalDriveScan(false)) {
        state.SkipWithError("the library has no test hooks");
        return;
    }
    LogicalDriveOurs(state);
    PI::Test::SetLogicalDriveScan(true);
}

void LogicalDrivePugixml(benchmark::State& state) {
    const std::string& text = LogicalDriveDocument();
    for (auto _ : state) {
        pugi::xml_document document;
        const pugi::xml_parse_result result =
            document.load_buffer(text.data(), text.size(),
                                 pugi::parse_default | pugi::parse_fragment, pugi::encoding_utf8);
        benchmark::DoNotOptimize(result.status);
        benchmark::DoNotOptimize(&document);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

// The markup reader's part of the work: taking the text and parsing it,
// with a kept copy of the text (SetDoc) and without (ReadDoc, which the
// logical drive reader uses).
template <bool Keep> void LogicalDriveLoad(benchmark::State& state) {
    const std::string& text = LogicalDriveDocument();
    for (auto _ : state) {
        RVX::XML::CMarkup markup;
        const bool parsed = Keep ? markup.SetDoc(text) : markup.ReadDoc(text);
        benchmark::DoNotOptimize(parsed);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

// pugixml parsing and then reading the same numbers out of its tree by hand:
// what a reader written directly on pugixml would cost.
void LogicalDrivePugixmlWalk(benchmark::State& state) {
    const std::string& text = LogicalDriveDocument();
    for (auto _ : state) {
        pugi::xml_document document;
        document.load_buffer(text.data(), text.size(), pugi::parse_default | pugi::parse_fragment,
                             pugi::encoding_utf8);
        CLogicalDrive ld;
        const pugi::xml_node root = document.child("LogicalDriveConfiguration");
        ld.Size = std::strtoull(root.attribute("Size").value(), nullptr, 10);
        for (const pugi::xml_node container : root.child("Containers").children("Container")) {
            CContainer out;
            for (const pugi::xml_node drive : container.children("Drive")) {
                CDrive piece;
                piece.ObjectID = std::strtoull(drive.attribute("ObjectID").value(), nullptr, 10);
                piece.StartAddress =
                    std::strtoull(drive.attribute("StartAddress").value(), nullptr, 10);
                piece.UsedSize = std::strtoull(drive.attribute("UsedSize").value(), nullptr, 10);
                out.AddDrive(piece);
            }
            ld.AddContainer(out);
        }
        for (const pugi::xml_node drive : document.child("GlobalHotSpares").children("Drive"))
            ld.AddGHS(std::strtoull(drive.attribute("ObjectID").value(), nullptr, 10));
        for (const pugi::xml_node drive : document.child("DedicatedHotSpares").children("Drive"))
            ld.AddDHS(std::strtoull(drive.attribute("ObjectID").value(), nullptr, 10));
        for (const pugi::xml_node drive :
             document.child("AssociatedLogicalDrives").children("LogicalDrive"))
            ld.AddALD(std::strtoull(drive.attribute("ObjectID").value(), nullptr, 10));
        benchmark::DoNotOptimize(&ld);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}

BENCHMARK(LogicalDriveOurs)->Name("ldxml/ours")->Unit(benchmark::kMicrosecond);
BENCHMARK(LogicalDriveThroughParser)
    ->Name("ldxml/ours_through_parser")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(LogicalDrivePugixml)->Name("ldxml/pugixml_parse")->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(LogicalDriveLoad, true)
    ->Name("ldxml/cmarkup_setdoc")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_TEMPLATE(LogicalDriveLoad, false)
    ->Name("ldxml/cmarkup_readdoc")

    ->Unit(benchmark::kMicrosecond);
BENCHMARK(LogicalDrivePugixmlWalk)
    ->Name("ldxml/pugixml_parse_and_walk")

    ->Unit(benchmark::kMicrosecond);

[[maybe_unused]] const int kLogicalDriveRows[] = {
    bench::AddComparison({"logical drive XML",
                          "CLogicalDrive(xml), 64 x 16 drives vs pugixml parse", "ldxml/ours",
                          "ldxml/pugixml_parse", 1.5}),
    bench::AddComparison({"logical drive XML", "same, vs pugixml parse + hand-written walk (info)",
                          "ldxml/ours", "ldxml/pugixml_parse_and_walk", 0}),
    bench::AddComparison({"logical drive XML",
                          "same document through the markup parser vs parse (info)",
                          "ldxml/ours_through_parser", "ldxml/pugixml_parse", 0}),
    bench::AddComparison({"logical drive XML", "its CMarkup::ReadDoc alone vs pugixml parse (info)",
                          "ldxml/cmarkup_readdoc", "ldxml/pugixml_parse", 0}),
    bench::AddComparison({"logical drive XML", "CMarkup::SetDoc (keeps the text) vs parse (info)",
                          "ldxml/cmarkup_setdoc", "ldxml/pugixml_parse", 0}),
};

} // namespace
