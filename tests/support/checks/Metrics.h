#pragma once

// The metrics and the check plugin on random inventories: the metrics page
// keeps the exposition rules (ExpositionChecker.h) and the check's output is
// one line of a known status, whatever the records hold.

#include "Check.h"
#include "ExpositionChecker.h"
#include "RecordGenerator.h"

#include <PI/Identifiers.h>
#include <PI/Metrics.h>

#include <iterator>

namespace pi_fuzz {

// Inventories of random records whose object types, property ids and
// parents lean towards the ones the metrics treat specially.
inline PI::COperation RandomInventory(Random& pick) {
    static constexpr int kTypes[] = {19007, 19020, 19019, 19013, 19014, 19015,
                                     19017, 19005, 19004, 19011, 19999, -1};
    static constexpr int kProperties[] = {
        23276, 23274, 23272, 23278, 23257, 23267, 23256, 23218,
        23211, 23150, 23348, 23269, 99999, -5}; // drive status, slot, serial, temperature, media,
                                                // power, errors; logical drive status and number;
                                                // battery status; task object; remaining time; no
                                                // names
    PI::Testing::RecordGenerator generator(pick.Next() * 0x100000000ull + pick.Next());
    generator.MaxRecords = 6;
    PI::COperation operation = generator.Record<PI::COperation>();
    const auto lean = [&pick](std::vector<PI::CProperty>& properties) {
        for (PI::CProperty& p : properties)
            if (pick.Below(2) == 0)
                p.PropertyID =
                    static_cast<PI::_PROPERTY_ID>(kProperties[pick.Below(std::size(kProperties))]);
    };
    for (PI::CObject& object : operation.Objects) {
        if (pick.Below(4) != 0)
            object.ObjectType =
                static_cast<PI::_OBJECT_TYPE>(kTypes[pick.Below(std::size(kTypes))]);
        if (pick.Below(3) == 0 && !operation.Objects.empty())
            object.ObjectID = operation.Objects[pick.Below(operation.Objects.size())].ObjectID;
        if (pick.Below(2) == 0 && !operation.Objects.empty())
            object.Parents.insert(object.Parents.begin(),
                                  operation.Objects[pick.Below(operation.Objects.size())].ObjectID);
        lean(object.Properties);
    }
    for (PI::CLogicalDrive& drive : operation.LogicalDrives)
        lean(drive.Properties);
    return operation;
}

inline void CheckMetrics(const std::uint8_t* data, size_t size) {
    Random pick(data, size);
    const PI::COperation operation = RandomInventory(pick);
    const std::string page = PI::GetMetrics(operation);
    const std::string broken = pi_exposition::Check(page);
    PI_FUZZ_CHECK(broken.empty(), broken);

    // Thresholds from the input: NAME=RANGE fields after the first.
    PI::CCheckOptions options;
    const std::vector<std::string> fields = Fields(data, size, '\n');
    for (size_t i = 1; i < fields.size(); ++i) {
        const size_t equals = fields[i].find('=');
        if (equals != std::string::npos)
            (i % 2 == 0 ? options.Warning : options.Critical)[fields[i].substr(0, equals)] =
                fields[i].substr(equals + 1);
    }
    const PI::CCheckResult result = PI::CheckOperation(operation, options);
    PI_FUZZ_CHECK(result.Status >= PI::CHECK_OK && result.Status <= PI::CHECK_UNKNOWN,
                  std::to_string(result.Status));
    PI_FUZZ_CHECK(result.Line.rfind("PI ", 0) == 0 && result.Line.find('\n') == std::string::npos &&
                      pi_exposition::IsUtf8(result.Line),
                  Printable(result.Line));
    for (const std::string& line : result.Details)
        PI_FUZZ_CHECK(line.find('\n') == std::string::npos && pi_exposition::IsUtf8(line),
                      Printable(line));
}

} // namespace pi_fuzz
