// Helper lookups: sense texts and whole sense buffers against the SCSI
// utility library, help paths, icon files and drive status icons against a
// plain assignment of the text.
#include "Compare.h"

#include <PI/Helpers.h>
#include <PI/Identifiers.h>
#include <PI/SenseData.h>
#include <PI/Tables.h>
#include <RVX/Strings.h>

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

extern "C" {
#include <scsi/sg_lib.h>
}

namespace {

// A small fixed-seed generator, so that every run uses the same inputs.
struct Lcg {
    std::uint64_t state;
    std::uint32_t Next() {
        state = state * 6364136223846793005ull + 1442695040888963407ull;
        return static_cast<std::uint32_t>(state >> 33);
    }
};

// ---- sense ----

constexpr size_t kSensePairs = 10000;

// Half the pairs from the table, half drawn over the whole byte range (of
// which most are unknown), in a shuffled order.
const std::vector<std::pair<int, int>>& SensePairs() {
    static const std::vector<std::pair<int, int>> pairs = [] {
        size_t count = 0;
        const PI::SenseRow* rows = PI::SenseRows(count);
        Lcg random{42};
        std::vector<std::pair<int, int>> out;
        out.reserve(kSensePairs);
        for (size_t i = 0; i < kSensePairs; ++i) {
            if (i % 2 == 0) {
                const PI::SenseRow& row = rows[random.Next() % count];
                out.emplace_back(row.asc, row.ascq);
            } else {
                out.emplace_back(random.Next() % 256, random.Next() % 256);
            }
        }
        return out;
    }();
    return pairs;
}

void SenseOurs(benchmark::State& state) {
    const auto& pairs = SensePairs();
    std::string text;
    size_t known = 0;
    for (auto _ : state) {
        known = 0;
        for (const auto& pair : pairs) {
            known += PI::TranslateSenseASC(static_cast<unsigned char>(pair.first),
                                           static_cast<unsigned char>(pair.second), text) == 0;
            benchmark::DoNotOptimize(text.data());
        }
    }
    state.counters["known"] = static_cast<double>(known);
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * pairs.size()));
}

void SensePeer(benchmark::State& state) {
    const auto& pairs = SensePairs();
    char buffer[128];
    for (auto _ : state) {
        for (const auto& pair : pairs) {
            sg_get_asc_ascq_str(pair.first, pair.second, sizeof buffer, buffer);
            benchmark::DoNotOptimize(buffer);
        }
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * pairs.size()));
}

BENCHMARK(SenseOurs)->Name("sense/asc/ours");
BENCHMARK(SensePeer)->Name("sense/asc/sg_get_asc_ascq_str");
[[maybe_unused]] const int kSenseRow =
    bench::AddComparison({"sense", "ASC/ASCQ text, 10 000 pairs (half unknown)", "sense/asc/ours",
                          "sense/asc/sg_get_asc_ascq_str", 0.1});
[[maybe_unused]] const int kSenseKnown = bench::AddMetric(
    {"sense", "pairs of the 10 000 with a text (ours)", "sense/asc/ours", "known", "", 0, false});

// ---- whole sense buffers ----

// 10 000 buffers in the mix a controller log holds: fixed format with
// sense-key specific bytes, descriptor format with two to four descriptors
// of the decoded types, cut-off buffers, and sense codes over random bytes.
const std::vector<std::vector<unsigned char>>& SenseBuffers() {
    static const std::vector<std::vector<unsigned char>> buffers = [] {
        static const unsigned char types[][2] = {{0x00, 0x0A}, {0x01, 0x0A}, {0x02, 0x06},
                                                 {0x03, 0x02}, {0x04, 0x02}, {0x05, 0x02},
                                                 {0x09, 0x0C}, {0x0A, 0x06}, {0x0D, 0x16}};
        Lcg random{7};
        auto byte = [&random] { return static_cast<unsigned char>(random.Next()); };
        std::vector<std::vector<unsigned char>> out;
        out.reserve(kSensePairs);
        for (size_t i = 0; i < kSensePairs; ++i) {
            std::vector<unsigned char> b;
            if (i % 4 == 0 || i % 4 == 3) {
                const unsigned char fixed[18] = {0xF0,
                                                 0,
                                                 static_cast<unsigned char>(random.Next() % 16),
                                                 0,
                                                 0,
                                                 byte(),
                                                 byte(),
                                                 10,
                                                 0,
                                                 0,
                                                 0,
                                                 0,
                                                 static_cast<unsigned char>(random.Next() % 0x40),
                                                 0,
                                                 0,
                                                 static_cast<unsigned char>(0x80 | byte()),
                                                 byte(),
                                                 byte()};
                b.assign(fixed, fixed + sizeof fixed);
            } else {
                b.resize(8, 0);
                b[0] = 0x72;
                b[1] = static_cast<unsigned char>(random.Next() % 16);
                b[2] = static_cast<unsigned char>(random.Next() % 0x40);
                for (unsigned n = 2 + random.Next() % 3; n > 0; --n) {
                    const auto& type = types[random.Next() % 9];
                    b.push_back(type[0]);
                    b.push_back(type[1]);
                    for (unsigned k = 0; k < type[1]; ++k)
                        b.push_back(k == 0 || k == 2 ? static_cast<unsigned char>(0x80 | byte())
                                                     : byte());
                }
                b[7] = static_cast<unsigned char>(b.size() - 8);
            }
            if (i % 4 == 3) // cut off
                b.resize(14 + random.Next() % 4);
            if (i % 10 == 9) // random bytes behind the codes
                for (size_t k = 4; k < b.size(); ++k)
                    b[k] = byte();
            out.push_back(std::move(b));
        }
        return out;
    }();
    return buffers;
}

// Decoding and the text a log shows: key and ASC/ASCQ in words and every
// other field in a line each (FormatSenseData).
void SenseDataOurs(benchmark::State& state) {
    const auto& buffers = SenseBuffers();
    PI::CSenseData sense;
    std::string error, keyText, ascText, text;
    for (auto _ : state) {
        for (const auto& buffer : buffers) {
            text.clear();
            if (PI::DecodeSenseData(buffer.data(), buffer.size(), sense, error) == PI::SENSE_OK) {
                PI::_SEVERITY severity = PI::SEVERITY_INFORMATIONAL;
                PI::TranslateSenseKey(sense.Key, keyText, severity);
                PI::TranslateSenseASC(sense.ASC, sense.ASCQ, ascText);
                text += keyText;
                text += '\n';
                text += ascText;
                text += '\n';
                PI::FormatSenseData(sense, text);
            } else {
                text = error;
            }
            benchmark::DoNotOptimize(text.data());
        }
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * buffers.size()));
}

// What sg_decode_sense prints, into its 2048-byte buffer.
void SenseDataPeer(benchmark::State& state) {
    const auto& buffers = SenseBuffers();
    char text[2048];
    for (auto _ : state) {
        for (const auto& buffer : buffers) {
            sg_get_sense_str(nullptr, buffer.data(), static_cast<int>(buffer.size()), false,
                             sizeof text, text);
            benchmark::DoNotOptimize(text);
        }
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * buffers.size()));
}

BENCHMARK(SenseDataOurs)->Name("sense/data/ours");
BENCHMARK(SenseDataPeer)->Name("sense/data/sg_get_sense_str");
[[maybe_unused]] const int kSenseDataRow =
    bench::AddComparison({"sense", "decode + text, 10 000 mixed buffers", "sense/data/ours",
                          "sense/data/sg_get_sense_str", 0.25});

// ---- help paths and icon files ----

// Every id of a table, shuffled, with its text.
template <class Row>
std::vector<std::pair<int, const char*>> Shuffled(const Row* rows, size_t count,
                                                  const char* Row::*text) {
    std::vector<std::pair<int, const char*>> out;
    for (size_t i = 0; i < count; ++i)
        out.emplace_back(rows[i].id, rows[i].*text);
    Lcg random{7};
    for (size_t i = out.size(); i > 1; --i)
        std::swap(out[i - 1], out[random.Next() % i]);
    return out;
}

const std::vector<std::pair<int, const char*>>& HelpIds() {
    static const auto ids = [] {
        size_t count = 0;
        const PI::HelpRow* rows = PI::HelpRows(count);
        return Shuffled(rows, count, &PI::HelpRow::path);
    }();
    return ids;
}

const std::vector<std::pair<int, const char*>>& IconIds() {
    static const auto ids = [] {
        size_t count = 0;
        const PI::IconRow* rows = PI::IconRows(count);
        return Shuffled(rows, count, &PI::IconRow::file);
    }();
    return ids;
}

void HelpOurs(benchmark::State& state) {
    RVX::Strings::CStringVar path;
    for (auto _ : state)
        for (const auto& id : HelpIds()) {
            PI::GetHelpPath(id.first, path);
            benchmark::DoNotOptimize(path.c_str());
        }
}

void HelpAssign(benchmark::State& state) {
    RVX::Strings::CStringVar path;
    for (auto _ : state)
        for (const auto& id : HelpIds()) {
            path = id.second;
            benchmark::DoNotOptimize(path.c_str());
        }
}

void IconOurs(benchmark::State& state) {
    RVX::Strings::CStringVar file;
    for (auto _ : state)
        for (const auto& id : IconIds()) {
            PI::GetIconPath(id.first, file);
            benchmark::DoNotOptimize(file.c_str());
        }
}

void IconAssign(benchmark::State& state) {
    RVX::Strings::CStringVar file;
    for (auto _ : state)
        for (const auto& id : IconIds()) {
            file = id.second;
            benchmark::DoNotOptimize(file.c_str());
        }
}

BENCHMARK(HelpOurs)->Name("help/path/ours");
BENCHMARK(HelpAssign)->Name("help/path/assign");
BENCHMARK(IconOurs)->Name("help/icon/ours");
BENCHMARK(IconAssign)->Name("help/icon/assign");
[[maybe_unused]] const int kHelpRow =
    bench::AddComparison({"help/icons", "GetHelpPath, all 475 ids vs assigning the text",
                          "help/path/ours", "help/path/assign", 2.0});
[[maybe_unused]] const int kIconRow =
    bench::AddComparison({"help/icons", "GetIconPath, all 206 ids vs assigning the text",
                          "help/icon/ours", "help/icon/assign", 2.0});

// ---- drive status icons ----

struct DriveLook {
    int state;
    int media;
    bool overlay;
    bool foreign;
    int power;
    const char* file; // the image the lookup gives, for the baseline
};

// Every drive state the status icons know, plus one they do not, on both
// media, both power states and all four overlay and foreign marks.
const std::vector<DriveLook>& DriveLooks() {
    static const std::vector<DriveLook> looks = [] {
        const int states[] = {PI::PD_STATE_WARNING,
                              PI::PD_STATE_OPERATION_1,
                              PI::PD_STATE_OPERATION_2,
                              PI::PD_STATE_OPERATION_WARNING_1,
                              PI::PD_STATE_OPERATION_WARNING_2,
                              PI::PD_STATE_FAILED,
                              PI::PD_STATE_OPERATION_FAILED_1,
                              PI::PD_STATE_OPERATION_FAILED_2,
                              PI::PD_STATE_OPERATION_FAILED_3,
                              PI::PD_STATE_OPERATION_FAILED_4,
                              PI::PD_STATE_OPERATION_FAILED_5,
                              PI::PD_STATE_OPERATION_FAILED_6,
                              PI::PD_STATE_REBUILD_1,
                              PI::PD_STATE_REBUILD_2,
                              PI::PD_STATE_REBUILD_3,
                              PI::PD_STATE_REBUILD_4,
                              PI::PD_STATE_REBUILD_5,
                              PI::PD_STATE_REBUILD_WARNING_1,
                              PI::PD_STATE_REBUILD_WARNING_2,
                              PI::PD_STATE_REBUILD_WARNING_3,
                              PI::PD_STATE_GLOBAL_HOTSPARE,
                              PI::PD_STATE_GLOBAL_HOTSPARE_WARNING,
                              PI::PD_STATE_DEDICATED_HOTSPARE,
                              PI::PD_STATE_DEDICATED_HOTSPARE_WARNING,
                              PI::PD_STATE_MISSING,
                              40000};
        std::vector<DriveLook> out;
        for (int state : states)
            for (int media : {0, PI::MEDIA_TYPE_SSD})
                for (int power : {PI::POWER_STATE_NORMAL, PI::POWER_STATE_POWER_SAVE})
                    for (int marks = 0; marks < 4; ++marks) {
                        DriveLook look{state, media,  (marks & 1) != 0, (marks & 2) != 0,
                                       power, nullptr};
                        RVX::Strings::CStringVar file;
                        if (PI::GetIconPath(PI::GetPDStatusIcon(state, media, look.overlay,
                                                                look.foreign, power),
                                            file) != 0)
                            std::abort(); // every status icon has an image
                        look.file = strdup(file.c_str());
                        out.push_back(look);
                    }
        Lcg random{11};
        for (size_t i = out.size(); i > 1; --i)
            std::swap(out[i - 1], out[random.Next() % i]);
        return out;
    }();
    return looks;
}

void StatusOurs(benchmark::State& state) {
    RVX::Strings::CStringVar file;
    for (auto _ : state)
        for (const DriveLook& look : DriveLooks()) {
            PI::GetIconPath(
                PI::GetPDStatusIcon(look.state, look.media, look.overlay, look.foreign, look.power),
                file);
            benchmark::DoNotOptimize(file.c_str());
        }
}

void StatusAssign(benchmark::State& state) {
    RVX::Strings::CStringVar file;
    for (auto _ : state)
        for (const DriveLook& look : DriveLooks()) {
            file = look.file;
            benchmark::DoNotOptimize(file.c_str());
        }
}

BENCHMARK(StatusOurs)->Name("help/status/ours");
BENCHMARK(StatusAssign)->Name("help/status/assign");
[[maybe_unused]] const int kStatusRow =
    bench::AddComparison({"help/icons", "GetPDStatusIcon + GetIconPath, 416 looks vs assign",
                          "help/status/ours", "help/status/assign", 2.0});

} // namespace
