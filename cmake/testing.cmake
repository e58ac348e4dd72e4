include(GoogleTest)

# wkagent_test(NAME SOURCES... [PRIVATE] [PREFIX TEXT] [LIBRARIES...]): one test program, each of its
# cases a test of ctest in a process of its own, TEXT before its name. With PRIVATE it is made of the
# library's objects, so that it reaches private helpers; else it links the shared library as any
# host does.
function(wkagent_test name)
  cmake_parse_arguments(arg "PRIVATE" "PREFIX" "SOURCES;LIBRARIES" ${ARGN})
  add_executable(${name} ${arg_SOURCES})
  target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}" "${PROJECT_SOURCE_DIR}/tests")
  if(arg_PRIVATE)
    target_include_directories(${name} PRIVATE "${PROJECT_SOURCE_DIR}/include")
    target_link_libraries(${name} PRIVATE wkagent_objects ${wkagent_dependencies})
  else()
    target_link_libraries(${name} PRIVATE wkagent::wkagent)
  endif()
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} LibXml2::LibXml2 GTest::gmock_main)
  target_compile_definitions(${name} PRIVATE
    WKAGENT_SOURCE_DIR="${PROJECT_SOURCE_DIR}" WKAGENT_BINARY_DIR="${PROJECT_BINARY_DIR}")
  wkagent_target_defaults(${name})
  # Tests are compiled once and run once: what they test is optimised, they need not be.
  target_compile_options(${name} PRIVATE
    $<$<CONFIG:Release>:-O1> $<$<CONFIG:RelWithDebInfo>:-O0>)
  gtest_discover_tests(${name}
    TEST_PREFIX "${arg_PREFIX}" PROPERTIES TIMEOUT 300 DISCOVERY_TIMEOUT 60)
endfunction()
