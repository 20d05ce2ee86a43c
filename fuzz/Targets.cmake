# The fuzz targets: every fuzz/fuzz_<name>.cpp is the target <name>. That file
# names its check with PI_FUZZ_TARGET (tests/support/checks/Check.h) and has seed
# inputs in fuzz/corpus/<name>/. fuzz/CMakeLists.txt builds each one,
# scripts/fuzz.sh runs them, and tests/test_fuzz_regressions.cpp replays their
# corpora through the same checks: all three take the list from these files.
file(GLOB PI_FUZZ_SOURCES CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/fuzz_*.cpp)
list(SORT PI_FUZZ_SOURCES)
set(PI_FUZZ_TARGETS)
foreach(src ${PI_FUZZ_SOURCES})
  get_filename_component(name ${src} NAME_WE)
  string(REGEX REPLACE "^fuzz_" "" name ${name})
  list(APPEND PI_FUZZ_TARGETS ${name})
endforeach()
