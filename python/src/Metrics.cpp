// The monitoring views from Python: pi.get_metrics gives an inventory's
// Prometheus text metrics, pi.check the check plugin's judgement.
#include "Binding.h"

#include <PI/Metrics.h>

#include <pybind11/stl.h>

#include <map>
#include <string>

namespace pibind {

void RegisterMetrics(py::module_& m) {
    m.def(
        "get_metrics",
        [](const PI::COperation& operation) { return ToPy(PI::GetMetrics(operation)); },
        py::arg("operation"),
        "The inventory's metrics in the Prometheus text format 0.0.4 (docs/metrics.md).");
    m.def(
        "check",
        [](const PI::COperation& operation, const std::map<std::string, std::string>& warning,
           const std::map<std::string, std::string>& critical) {
            PI::CCheckOptions options;
            options.Warning = warning;
            options.Critical = critical;
            const PI::CCheckResult result = PI::CheckOperation(operation, options);
            py::list details;
            for (const std::string& line : result.Details)
                details.append(ToPy(line));
            return py::make_tuple(static_cast<int>(result.Status), ToPy(result.Line), details);
        },
        py::arg("operation"), py::arg("warning") = std::map<std::string, std::string>(),
        py::arg("critical") = std::map<std::string, std::string>(),
        "The check plugin's judgement: (status 0-3, the status line, a line for every object "
        "that is not OK). warning and critical map measure names to ranges.");
}

} // namespace pibind
