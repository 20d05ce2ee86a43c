#pragma once

// The names of the identifier vocabulary, for label values and metric names:
// the build collects them from the public headers (IdentifierTable.inc,
// written by cmake/GenerateIdentifiers.py), so a name added to a header
// reaches the metrics without being typed again.

#include <vector>

namespace PI {
namespace Monitoring {

struct NamedNumber {
    const char* name;
    int value;
};

// The name of a property or operation id, of an object type, of a
// _SEVERITY; null when the vocabulary has none.
const char* PropertyName(int id) noexcept;
const char* ObjectTypeName(int type) noexcept;
const char* SeverityName(int severity) noexcept;

// The plain constants whose names begin with `prefix` ("PD_STATE_", ...), in
// the order of the header.
std::vector<NamedNumber> ConstantsNamed(const char* prefix);
// The _SEVERITY names.
std::vector<NamedNumber> Severities();

} // namespace Monitoring
} // namespace PI
