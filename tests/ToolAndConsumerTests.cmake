# Tests of what a user runs: pitool from the command line, and a program built
# against the installed package (through CMake and through pkg-config), whose
# tree must hold none of the tests' API.

if(TARGET pitool)
  add_executable(test_pitool ${CMAKE_CURRENT_LIST_DIR}/tool/test_pitool.cpp)
  target_link_libraries(test_pitool PRIVATE pi_test_support GTest::gtest GTest::gtest_main
                                            GTest::gmock Boost::filesystem Threads::Threads
                                            pi_test_options)
  target_compile_definitions(test_pitool PRIVATE
    PITOOL_PATH="$<TARGET_FILE:pitool>"
    PI_EXAMPLES_DIR="${PROJECT_SOURCE_DIR}/examples")
  add_dependencies(test_pitool pitool)
  # RapidJSON's stacks trip UBSan's pointer-overflow check (see Src/CMakeLists.txt).
  if(PI_SANITIZE)
    target_compile_options(test_pitool PRIVATE -fno-sanitize=pointer-overflow)
  endif()
  gtest_discover_tests(test_pitool TEST_PREFIX "test_pitool." DISCOVERY_TIMEOUT 60
                       PROPERTIES TIMEOUT 120)
endif()

# The consumer builds against the installed tree; a sanitizer build hands its
# flags on, since the installed libraries need the sanitizer runtime (which
# also answers the coverage calls of a tree built for fuzzing).
if(NOT PI_TSAN)
  set(PI_CONSUMER_FLAGS "")
  if(PI_SANITIZE OR PI_BUILD_FUZZ)
    set(PI_CONSUMER_FLAGS "-fsanitize=address,undefined -fno-omit-frame-pointer")
  endif()
  foreach(step install cmake pkgconfig testapi)
    add_test(NAME consumer.${step}
      COMMAND ${CMAKE_COMMAND} -E env "CONSUMER_FLAGS=${PI_CONSUMER_FLAGS}"
              bash ${PROJECT_SOURCE_DIR}/scripts/consumer-test.sh
              ${PROJECT_BINARY_DIR} ${PROJECT_BINARY_DIR}/consumer ${step})
    set_tests_properties(consumer.${step} PROPERTIES TIMEOUT 300)
  endforeach()
  set_tests_properties(consumer.install PROPERTIES FIXTURES_SETUP pi_installed)
  set_tests_properties(consumer.cmake consumer.pkgconfig consumer.testapi
    PROPERTIES FIXTURES_REQUIRED pi_installed)
endif()
