// pi._core._testing: the library's allocation hook, so that the tests reach
// the out-of-memory paths from Python. Not part of the public module: built
// only with PI_TEST_HOOKS, as the hook itself.
#include "Binding.h"

#include <PI/AllocHook.h>

namespace pibind {

void RegisterTesting(py::module_& m) {
    py::module_ t = m.def_submodule("_testing", "Test hooks of the library (for the test suite).");
    t.def("available", &PI::Test::AllocHooksAvailable);
    t.def(
        "fail_allocations",
        [](Int skip, Int count) {
            PI::Test::ResetAllocHook();
            PI::Test::FailAllocations(
                static_cast<unsigned int>(IntArg(skip, 0, 1000000, "skip")),
                static_cast<unsigned int>(IntArg(count, 0, 1000000, "count")));
        },
        py::arg("skip"), py::arg("count") = 1,
        "Lets skip value-block allocations of this thread succeed, then fails count.");
    t.def("reset", &PI::Test::ResetAllocHook, "Ends every setting of this thread.");
    t.def("arm", &PI::Test::ArmAllocHook);
    t.def("disarm", &PI::Test::DisarmAllocHook);
    t.def("live_blocks", &PI::Test::LiveBlockCount,
          "Blocks obtained less blocks released while the hook was armed.");
}

} // namespace pibind
