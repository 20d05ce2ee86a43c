// The interchange form of the inventory operation: JSON and MessagePack
// encode and decode, each beside the bare work of the library underneath
// (its floor) and beside what a user would write instead (nlohmann-json's
// DOM), all on the same document in the same run.
#include "Compare.h"
#include "Inventory.h"

#include <PI/Interchange.h>
#include <PI/Metrics.h>

#include <benchmark/benchmark.h>
#include <msgpack.hpp>
#include <nlohmann/json.hpp>
#include <rapidjson/document.h>
#include <rapidjson/reader.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <simdjson.h>

#include <cstdint>
#include <string>
#include <vector>

namespace {

struct Documents {
    std::string json;
    std::vector<std::uint8_t> packed;
};

const Documents& TheDocuments() {
    static const Documents documents = [] {
        Documents d;
        PI::WriteJsonDocument(bench::TheInventory().operation, d.json);
        PI::WriteMsgPackDocument(bench::TheInventory().operation, d.packed);
        return d;
    }();
    return documents;
}

void Counters(benchmark::State& state, size_t bytes) {
    state.counters["bytes/s"] = benchmark::Counter(static_cast<double>(bytes),
                                                   benchmark::Counter::kIsIterationInvariantRate);
    state.counters["properties/s"] =
        benchmark::Counter(static_cast<double>(bench::TheInventory().properties),
                           benchmark::Counter::kIsIterationInvariantRate);
    state.counters["bytes"] = static_cast<double>(bytes);
}

// ---- Prometheus metrics of the same inventory ----

void MetricsPage(benchmark::State& state) {
    const PI::COperation& operation = bench::TheInventory().operation;
    std::string out;
    for (auto _ : state) {
        out.clear();
        PI::WriteMetrics(operation, out);
        benchmark::DoNotOptimize(out.data());
    }
    Counters(state, out.size());
}

// ---- JSON ----

void JsonEncode(benchmark::State& state) {
    const PI::COperation& operation = bench::TheInventory().operation;
    std::string out;
    for (auto _ : state) {
        out.clear();
        PI::WriteJsonDocument(operation, out);
        benchmark::DoNotOptimize(out.data());
    }
    Counters(state, TheDocuments().json.size());
}

// The floor: RapidJSON's writer writing the same values, replayed from a DOM.
void JsonEncodeWriterAlone(benchmark::State& state) {
    rapidjson::Document document;
    document.Parse<rapidjson::kParseFullPrecisionFlag>(TheDocuments().json.c_str());
    rapidjson::StringBuffer buffer;
    for (auto _ : state) {
        buffer.Clear();
        rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
        document.Accept(writer);
        benchmark::DoNotOptimize(buffer.GetString());
    }
}

void JsonEncodeNlohmann(benchmark::State& state) {
    const nlohmann::json document = nlohmann::json::parse(TheDocuments().json);
    for (auto _ : state) {
        std::string out = document.dump();
        benchmark::DoNotOptimize(out.data());
    }
}

void JsonDecode(benchmark::State& state) {
    const std::string& json = TheDocuments().json;
    for (auto _ : state) {
        PI::COperation operation;
        if (PI::ReadJsonDocument(json, operation) != 0)
            state.SkipWithError("decode failed");
        benchmark::DoNotOptimize(operation.Objects.data());
    }
    Counters(state, json.size());
}

// The floor: RapidJSON's SAX reader with the same checks and no handler work
// (numbers as text, as the decoder reads them, converting them itself).
void JsonDecodeBareParse(benchmark::State& state) {
    const std::string& json = TheDocuments().json;
    constexpr unsigned flags = rapidjson::kParseValidateEncodingFlag |
                               rapidjson::kParseIterativeFlag |
                               rapidjson::kParseNumbersAsStringsFlag;
    for (auto _ : state) {
        rapidjson::Reader reader;
        rapidjson::StringStream stream(json.c_str());
        rapidjson::BaseReaderHandler<> handler;
        if (reader.Parse<flags>(stream, handler).IsError())
            state.SkipWithError("parse failed");
    }
}

void JsonDecodeSimdjson(benchmark::State& state) {
    const simdjson::padded_string json(TheDocuments().json);
    simdjson::dom::parser parser;
    for (auto _ : state) {
        simdjson::dom::element root;
        if (parser.parse(json).get(root) != simdjson::SUCCESS)
            state.SkipWithError("parse failed");
        benchmark::DoNotOptimize(root);
    }
}

void JsonDecodeNlohmann(benchmark::State& state) {
    const std::string& json = TheDocuments().json;
    for (auto _ : state) {
        nlohmann::json document = nlohmann::json::parse(json);
        benchmark::DoNotOptimize(document.size());
    }
}

// ---- MessagePack ----

void PackEncode(benchmark::State& state) {
    const PI::COperation& operation = bench::TheInventory().operation;
    std::vector<std::uint8_t> out;
    for (auto _ : state) {
        out.clear();
        PI::WriteMsgPackDocument(operation, out);
        benchmark::DoNotOptimize(out.data());
    }
    Counters(state, TheDocuments().packed.size());
}

// The floor: msgpack-cxx's packer writing the same values from its objects.
void PackEncodePackerAlone(benchmark::State& state) {
    const std::vector<std::uint8_t>& packed = TheDocuments().packed;
    const msgpack::object_handle handle =
        msgpack::unpack(reinterpret_cast<const char*>(packed.data()), packed.size());
    msgpack::sbuffer buffer(packed.size());
    for (auto _ : state) {
        buffer.clear();
        msgpack::pack(buffer, handle.get());
        benchmark::DoNotOptimize(buffer.data());
    }
}

void PackEncodeNlohmann(benchmark::State& state) {
    const nlohmann::json document =
        nlohmann::json::from_msgpack(TheDocuments().packed.begin(), TheDocuments().packed.end());
    for (auto _ : state) {
        std::vector<std::uint8_t> out = nlohmann::json::to_msgpack(document);
        benchmark::DoNotOptimize(out.data());
    }
}

void PackDecode(benchmark::State& state) {
    const std::vector<std::uint8_t>& packed = TheDocuments().packed;
    for (auto _ : state) {
        PI::COperation operation;
        if (PI::ReadMsgPackDocument(packed, operation) != 0)
            state.SkipWithError("decode failed");
        benchmark::DoNotOptimize(operation.Objects.data());
    }
    Counters(state, packed.size());
}

// The floor: msgpack-cxx's parser with a visitor that does nothing.
void PackDecodeBareParse(benchmark::State& state) {
    const std::vector<std::uint8_t>& packed = TheDocuments().packed;
    for (auto _ : state) {
        msgpack::null_visitor visitor;
        std::size_t offset = 0;
        if (!msgpack::parse(reinterpret_cast<const char*>(packed.data()), packed.size(), offset,
                            visitor))
            state.SkipWithError("parse failed");
    }
}

void PackDecodeNlohmann(benchmark::State& state) {
    const std::vector<std::uint8_t>& packed = TheDocuments().packed;
    for (auto _ : state) {
        nlohmann::json document = nlohmann::json::from_msgpack(packed.begin(), packed.end());
        benchmark::DoNotOptimize(document.size());
    }
}

BENCHMARK(JsonEncode)->Name("interchange/json_encode")->Unit(benchmark::kMicrosecond);
BENCHMARK(MetricsPage)->Name("interchange/metrics_page")->Unit(benchmark::kMicrosecond);
BENCHMARK(JsonEncodeWriterAlone)
    ->Name("interchange/json_encode_rapidjson_writer")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(JsonEncodeNlohmann)
    ->Name("interchange/json_encode_nlohmann_dump")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(JsonDecode)->Name("interchange/json_decode")->Unit(benchmark::kMicrosecond);
BENCHMARK(JsonDecodeBareParse)
    ->Name("interchange/json_decode_rapidjson_sax")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(JsonDecodeSimdjson)
    ->Name("interchange/json_decode_simdjson_dom")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(JsonDecodeNlohmann)
    ->Name("interchange/json_decode_nlohmann_parse")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(PackEncode)->Name("interchange/msgpack_encode")->Unit(benchmark::kMicrosecond);
BENCHMARK(PackEncodePackerAlone)
    ->Name("interchange/msgpack_encode_packer")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(PackEncodeNlohmann)
    ->Name("interchange/msgpack_encode_nlohmann")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(PackDecode)->Name("interchange/msgpack_decode")->Unit(benchmark::kMicrosecond);
BENCHMARK(PackDecodeBareParse)
    ->Name("interchange/msgpack_decode_bare_parse")
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(PackDecodeNlohmann)
    ->Name("interchange/msgpack_decode_nlohmann")
    ->Unit(benchmark::kMicrosecond);

[[maybe_unused]] const int kInterchangeRows[] = {
    bench::AddComparison({"interchange", "Prometheus metrics vs JSON encode, same inventory",
                          "interchange/metrics_page", "interchange/json_encode", 1.5}),
    bench::AddComparison({"interchange", "JSON decode vs RapidJSON bare SAX parse",
                          "interchange/json_decode", "interchange/json_decode_rapidjson_sax", 2.0}),
    bench::AddComparison({"interchange", "JSON decode vs nlohmann-json DOM parse",
                          "interchange/json_decode", "interchange/json_decode_nlohmann_parse",
                          0.25}),
    bench::AddComparison({"interchange", "RapidJSON bare SAX parse vs simdjson DOM (info)",
                          "interchange/json_decode_rapidjson_sax",
                          "interchange/json_decode_simdjson_dom", 0}),
    bench::AddComparison({"interchange", "JSON encode vs RapidJSON writer, same values",
                          "interchange/json_encode", "interchange/json_encode_rapidjson_writer",
                          1.5}),
    bench::AddComparison({"interchange", "JSON encode vs nlohmann-json DOM dump",
                          "interchange/json_encode", "interchange/json_encode_nlohmann_dump",
                          0.25}),
    bench::AddComparison({"interchange", "MessagePack decode vs JSON decode",
                          "interchange/msgpack_decode", "interchange/json_decode", 1.0 / 3.0}),
    bench::AddComparison({"interchange", "MessagePack decode vs msgpack-cxx bare parse (info)",
                          "interchange/msgpack_decode", "interchange/msgpack_decode_bare_parse",
                          0}),
    bench::AddComparison({"interchange", "MessagePack decode vs nlohmann from_msgpack (info)",
                          "interchange/msgpack_decode", "interchange/msgpack_decode_nlohmann", 0}),
    bench::AddComparison({"interchange", "MessagePack encode vs msgpack-cxx packer (info)",
                          "interchange/msgpack_encode", "interchange/msgpack_encode_packer", 0}),
    bench::AddComparison({"interchange", "MessagePack encode vs nlohmann to_msgpack (info)",
                          "interchange/msgpack_encode", "interchange/msgpack_encode_nlohmann", 0}),
    bench::AddMetric({"interchange", "JSON document of the inventory", "interchange/json_encode",
                      "bytes", "B", 0, false}),
    bench::AddMetric({"interchange", "MessagePack document of the inventory",
                      "interchange/msgpack_encode", "bytes", "B", 0, false}),
    bench::AddMetric(
        {"interchange", "JSON encode", "interchange/json_encode", "bytes/s", "B/s", 0, false}),
    bench::AddMetric({"interchange", "JSON encode", "interchange/json_encode", "properties/s",
                      "prop/s", 0, false}),
    bench::AddMetric(
        {"interchange", "JSON decode", "interchange/json_decode", "bytes/s", "B/s", 0, false}),
    bench::AddMetric({"interchange", "JSON decode", "interchange/json_decode", "properties/s",
                      "prop/s", 0, false}),
    bench::AddMetric({"interchange", "MessagePack encode", "interchange/msgpack_encode", "bytes/s",
                      "B/s", 0, false}),
    bench::AddMetric({"interchange", "MessagePack encode", "interchange/msgpack_encode",
                      "properties/s", "prop/s", 0, false}),
    bench::AddMetric({"interchange", "MessagePack decode", "interchange/msgpack_decode", "bytes/s",
                      "B/s", 0, false}),
    bench::AddMetric({"interchange", "MessagePack decode", "interchange/msgpack_decode",
                      "properties/s", "prop/s", 0, false}),
};

} // namespace
