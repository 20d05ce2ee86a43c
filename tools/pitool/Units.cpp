// pitool units: a byte count in the largest unit that keeps it at 1 or more.
#include "Units.h"

#include "Commands.h"
#include "Names.h"

#include <PI/Helpers.h>

#include <CLI/CLI.hpp>

#include <cstdio>
#include <memory>

namespace pitool {

std::string UnitSymbol(int unit) {
    switch (unit) {
    case PI::UNITS_BYTES:
        return "B";
    case PI::UNITS_KILOBYTES:
        return "KB";
    case PI::UNITS_MEGABYTES:
        return "MB";
    case PI::UNITS_GIGABYTES:
        return "GB";
    case PI::UNITS_TERABYTES:
        return "TB";
    case PI::UNITS_PETABYTES:
        return "PB";
    default:
        return "";
    }
}

std::string UnitName(int unit) {
    const NamedValue* row = FindByValue("_UNITS", "", unit);
    return row ? row->name : "";
}

namespace {

Result RunUnits(const std::string& bytesText) {
    const unsigned long long bytes = ParseUnsigned(bytesText, "byte count");
    float value = 0;
    PI::_UNITS unit = PI::UNITS_BYTES;
    PI::ConvertBytesToOtherUnit(bytes, value, unit);

    char shown[64];
    // Bytes are whole; the larger units get two decimals.
    std::snprintf(shown, sizeof shown, unit == PI::UNITS_BYTES ? "%.0f" : "%.2f",
                  static_cast<double>(value));
    Result result;
    result.text = std::string(shown) + " " + UnitSymbol(unit) + "  (" + std::to_string(bytes) +
                  " bytes; unit " + std::to_string(unit) + " " + UnitName(unit) + ")\n";
    result.json = Json::Object()
                      .Set("bytes", bytes)
                      .Set("value", value)
                      .Set("unit", static_cast<int>(unit))
                      .Set("unit_name", UnitName(unit))
                      .Set("symbol", UnitSymbol(unit));
    return result;
}

} // namespace

void AddUnitsCommand(CLI::App& app, Invocation& call) {
    auto bytes = std::make_shared<std::string>();
    CLI::App* sub = AddSubcommand(app, call, "units", "A byte count in a readable unit",
                                  "Uses the largest unit (KB, MB, GB, TB, PB; factors of 1024) "
                                  "that keeps the value at 1 or more.");
    sub->add_option("bytes", *bytes, "Byte count, decimal or 0x-hexadecimal (up to 2^64-1)")
        ->required();
    sub->callback([&call, bytes] { call.run = [bytes] { return RunUnits(*bytes); }; });
}

} // namespace pitool
