// The `pi` module: the library's records, helpers and configuration store.
#include "Binding.h"

#include "Version.h"

PYBIND11_MODULE(_core, m) {
    m.doc() = "The PI library: typed property values, records, helpers and the "
              "configuration store. Import it as `pi`.";
    m.attr("__version__") = PI_VERSION;
    pibind::RegisterErrors(m);
    pibind::RegisterHelpers(m);
    pibind::RegisterProperty(m);
    pibind::RegisterRecords(m);
    pibind::RegisterConfig(m);
    // Areas that extend the record classes register after them.
    pibind::RegisterInterchange(m);
    pibind::RegisterDiff(m);
    pibind::RegisterQueries(m);
    pibind::RegisterMetrics(m);
    pibind::RegisterRedfish(m);
#if defined(PI_WITH_TEST_HOOKS)
    pibind::RegisterTesting(m); // pi._core._testing, in a build for the tests only
#endif
}
