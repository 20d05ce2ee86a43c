# The monitoring views against Debian's Prometheus: the alert rules and their
# unit tests with promtool, the example inventories' metrics under promtool's
# linter, and the end-to-end run with node_exporter and Prometheus. Their
# programs are test dependencies (scripts/install-deps.sh); a tree without
# them skips these tests, saying so.
if(TARGET pitool)
  find_program(PI_PROMTOOL promtool)
  find_program(PI_PROMETHEUS prometheus)
  find_program(PI_NODE_EXPORTER prometheus-node-exporter)
  find_program(PI_MONITORING_PYTHON3 NAMES python3 PATHS /usr/bin NO_DEFAULT_PATH)
  set(rules ${PROJECT_SOURCE_DIR}/examples/prometheus)
  if(PI_PROMTOOL AND PI_MONITORING_PYTHON3)
    add_test(NAME monitoring.rules_check
      COMMAND ${PI_PROMTOOL} check rules ${rules}/pi-alerts.yml)
    add_test(NAME monitoring.rules_unit_tests
      COMMAND ${PI_PROMTOOL} test rules pi-alerts.test.yml
      WORKING_DIRECTORY ${rules})
    add_test(NAME monitoring.example_metrics
      COMMAND ${PI_MONITORING_PYTHON3} ${CMAKE_CURRENT_LIST_DIR}/check_metrics.py
              $<TARGET_FILE:pitool> ${PI_PROMTOOL} ${PROJECT_SOURCE_DIR}/examples)
    set_tests_properties(monitoring.rules_check monitoring.rules_unit_tests
      monitoring.example_metrics PROPERTIES TIMEOUT 60)
  else()
    message(STATUS "promtool not found: the alert rule tests are left out")
  endif()
  if(PI_PROMETHEUS AND PI_NODE_EXPORTER AND PI_MONITORING_PYTHON3)
    add_test(NAME monitoring.end_to_end
      COMMAND ${PI_MONITORING_PYTHON3} ${CMAKE_CURRENT_LIST_DIR}/end_to_end.py
              $<TARGET_FILE:pitool> ${PROJECT_SOURCE_DIR}/examples)
    set_tests_properties(monitoring.end_to_end PROPERTIES TIMEOUT 90)
  else()
    message(STATUS "prometheus or prometheus-node-exporter not found: the end-to-end "
                   "monitoring test is left out")
  endif()
endif()
