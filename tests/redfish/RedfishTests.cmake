# The Redfish view: its resources against DMTF's schemas (python3-jsonschema),
# the service against redfishtool, and the service against hostile clients.
# The schemas sit in ../shared/data beside the checkout unless told otherwise.
set(PI_REDFISH_SCHEMA_DIR "${PROJECT_SOURCE_DIR}/../shared/data/redfish-schema" CACHE PATH
  "DMTF Redfish JSON schemas for the Redfish view's tests")

add_executable(redfish_random_inventory ${CMAKE_CURRENT_LIST_DIR}/RandomInventory.cpp)
target_link_libraries(redfish_random_inventory PRIVATE pi_test_support pi_test_options)

if(TARGET pitool AND PI_SYSTEM_PYTHON3)
  add_test(NAME redfish.schemas
    COMMAND ${PI_SYSTEM_PYTHON3} ${CMAKE_CURRENT_LIST_DIR}/check_schemas.py
            ${PI_REDFISH_SCHEMA_DIR} $<TARGET_FILE:pitool>
            $<TARGET_FILE:redfish_random_inventory> ${PROJECT_SOURCE_DIR}/examples 8)
  set_tests_properties(redfish.schemas PROPERTIES TIMEOUT 120 SKIP_RETURN_CODE 77)
endif()

if(TARGET pitool AND PI_SYSTEM_PYTHON3)
  foreach(mode redfishtool hostile)
    add_test(NAME redfish.service_${mode}
      COMMAND ${PI_SYSTEM_PYTHON3} ${CMAKE_CURRENT_LIST_DIR}/check_service.py
              $<TARGET_FILE:pitool> ${PROJECT_SOURCE_DIR}/examples ${mode})
    set_tests_properties(redfish.service_${mode} PROPERTIES TIMEOUT 120 SKIP_RETURN_CODE 77)
  endforeach()
endif()
