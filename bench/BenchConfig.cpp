// The configuration store: reads against libinih parsing the same file, and
// durable writes against an SQLite upsert (WAL, synchronous=FULL) on the same
// disk.
#include "Compare.h"

#include <PI/ConfigFile.h>

#include <benchmark/benchmark.h>
#include <ini.h>
#include <sqlite3.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>

namespace {

constexpr int kAdapters = 10, kUnits = 10, kKeys = 10; // 100 sections x 10 keys

std::string Section(int adapter, int unit) {
    return "Config." + std::to_string(adapter) + "." + std::to_string(unit);
}
std::string Key(int k) {
    return "Setting" + std::to_string(k);
}
std::string Value(int adapter, int unit, int k) {
    return "value " + std::to_string(adapter * 1000 + unit * 10 + k);
}

// The file every benchmark here starts from: 100 sections x 10 keys and a
// DefaultConfig section with the same keys.
std::string WriteConfigFile(const std::string& name) {
    const std::string path = bench::ScratchDirectory() + "/" + name;
    std::ofstream out(path, std::ios::trunc);
    out << "; configuration of the benchmarks\n[DefaultConfig]\n";
    for (int k = 0; k < kKeys; ++k)
        out << Key(k) << "=default " << k << "\n";
    for (int a = 0; a < kAdapters; ++a)
        for (int u = 0; u < kUnits; ++u) {
            out << "\n[" << Section(a, u) << "]\n";
            for (int k = 0; k < kKeys; ++k)
                out << Key(k) << "=" << Value(a, u, k) << "\n";
        }
    return path;
}

// The n-th lookup: spread over all sections and keys.
void Pick(unsigned long long n, int& adapter, int& unit, int& key) {
    const unsigned long long i = (n * 389) % (kAdapters * kUnits * kKeys);
    adapter = static_cast<int>(i / (kUnits * kKeys));
    unit = static_cast<int>(i / kKeys % kUnits);
    key = static_cast<int>(i % kKeys);
}

void ReadOurs(benchmark::State& state) {
    const std::string path = WriteConfigFile("read.ini");
    PI::CConfigFile config;
    config.SetFilePath(path);
    std::string value;
    unsigned long long n = 0, failures = 0;
    for (auto _ : state) {
        int adapter, unit, key;
        Pick(n++, adapter, unit, key);
        failures += config.ReadKeyValue(Key(key), value, adapter, unit) != 0;
        benchmark::DoNotOptimize(value.data());
    }
    if (failures != 0)
        state.SkipWithError("a read did not find its key");
}

struct InihLookup {
    const char* section;
    const char* key;
    std::string* value;
    bool found;
};

int InihHandler(void* user, const char* section, const char* name, const char* value) {
    InihLookup& lookup = *static_cast<InihLookup*>(user);
    if (!lookup.found && std::strcmp(section, lookup.section) == 0 &&
        std::strcmp(name, lookup.key) == 0) {
        *lookup.value = value;
        lookup.found = true;
    }
    return 1;
}

void ReadInih(benchmark::State& state) {
    const std::string path = WriteConfigFile("read-inih.ini");
    std::string value;
    unsigned long long n = 0, failures = 0;
    for (auto _ : state) {
        int adapter, unit, key;
        Pick(n++, adapter, unit, key);
        const std::string section = Section(adapter, unit), name = Key(key);
        value.clear();
        InihLookup lookup{section.c_str(), name.c_str(), &value, false};
        failures += ini_parse(path.c_str(), &InihHandler, &lookup) != 0 || !lookup.found;
        benchmark::DoNotOptimize(value.data());
    }
    if (failures != 0)
        state.SkipWithError("a read did not find its key");
}

BENCHMARK(ReadOurs)->Name("config/read/ours")->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(ReadInih)->Name("config/read/inih")->UseRealTime()->Unit(benchmark::kMicrosecond);

// Every write sets a value the key never had, so that each one changes the
// file (a write of the value already stored costs neither side a sync).
void WriteOurs(benchmark::State& state) {
    const std::string path = WriteConfigFile("write.ini");
    PI::CConfigFile config;
    config.SetFilePath(path);
    unsigned long long n = 0, failures = 0;
    for (auto _ : state) {
        int adapter, unit, key;
        Pick(n, adapter, unit, key);
        const std::string value = Value(adapter, unit, key) + " #" + std::to_string(n++);
        failures += config.WriteKeyValue(Key(key), value, adapter, unit) != 0;
    }
    if (failures != 0)
        state.SkipWithError("a write failed");
}

bool Exec(sqlite3* db, const char* sql) {
    return sqlite3_exec(db, sql, nullptr, nullptr, nullptr) == SQLITE_OK;
}

void WriteSqlite(benchmark::State& state) {
    const std::string path = bench::ScratchDirectory() + "/write.sqlite";
    std::remove(path.c_str());
    std::remove((path + "-wal").c_str());
    std::remove((path + "-shm").c_str());
    sqlite3* db = nullptr;
    if (sqlite3_open(path.c_str(), &db) != SQLITE_OK) {
        state.SkipWithError("cannot open the SQLite database");
        sqlite3_close(db);
        return;
    }
    bool ok = Exec(db, "PRAGMA journal_mode=WAL") && Exec(db, "PRAGMA synchronous=FULL") &&
              Exec(db, "CREATE TABLE config(section TEXT NOT NULL, key TEXT NOT NULL, value TEXT,"
                       " PRIMARY KEY(section, key)) WITHOUT ROWID");
    sqlite3_stmt* upsert = nullptr;
    ok = ok && sqlite3_prepare_v2(db,
                                  "INSERT INTO config(section, key, value) VALUES(?1, ?2, ?3) "
                                  "ON CONFLICT(section, key) DO UPDATE SET value = excluded.value",
                                  -1, &upsert, nullptr) == SQLITE_OK;
    // The same content as the INI file, loaded in one transaction.
    ok = ok && Exec(db, "BEGIN");
    for (int a = 0; ok && a < kAdapters; ++a)
        for (int u = 0; ok && u < kUnits; ++u)
            for (int k = 0; ok && k < kKeys; ++k) {
                const std::string section = Section(a, u), key = Key(k), value = Value(a, u, k);
                sqlite3_bind_text(upsert, 1, section.c_str(), -1, SQLITE_TRANSIENT);
                sqlite3_bind_text(upsert, 2, key.c_str(), -1, SQLITE_TRANSIENT);
                sqlite3_bind_text(upsert, 3, value.c_str(), -1, SQLITE_TRANSIENT);
                ok = sqlite3_step(upsert) == SQLITE_DONE && sqlite3_reset(upsert) == SQLITE_OK;
            }
    ok = ok && Exec(db, "COMMIT");
    if (!ok) {
        state.SkipWithError(sqlite3_errmsg(db));
        sqlite3_finalize(upsert);
        sqlite3_close(db);
        return;
    }
    unsigned long long n = 0, failures = 0;
    for (auto _ : state) {
        int adapter, unit, key;
        Pick(n, adapter, unit, key);
        const std::string section = Section(adapter, unit), name = Key(key);
        const std::string value = Value(adapter, unit, key) + " #" + std::to_string(n++);
        sqlite3_bind_text(upsert, 1, section.c_str(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_text(upsert, 2, name.c_str(), -1, SQLITE_TRANSIENT);
        sqlite3_bind_text(upsert, 3, value.c_str(), -1, SQLITE_TRANSIENT);
        failures += sqlite3_step(upsert) != SQLITE_DONE;
        sqlite3_reset(upsert);
    }
    sqlite3_finalize(upsert);
    sqlite3_close(db);
    if (failures != 0)
        state.SkipWithError("an upsert failed");
}

BENCHMARK(WriteOurs)->Name("config/write/ours")->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(WriteSqlite)
    ->Name("config/write/sqlite_wal_full")
    ->UseRealTime()
    ->Unit(benchmark::kMicrosecond);

[[maybe_unused]] const int kConfigRows[] = {
    bench::AddComparison({"configuration", "ReadKeyValue, 100 sections x 10 keys vs libinih",
                          "config/read/ours", "config/read/inih", 2.0}),
    bench::AddComparison({"configuration",
                          "WriteKeyValue (durable) vs SQLite upsert, WAL, sync=FULL",
                          "config/write/ours", "config/write/sqlite_wal_full", 2.0}),
};

} // namespace
