include(GoogleTest)

# Test programs are compiled once and run once: what they test is optimised, hardened, and watched for
# undefined behaviour, they need not be.
function(wkagent_test_defaults target)
  target_compile_definitions(${target} PRIVATE
    WKAGENT_SOURCE_DIR="${PROJECT_SOURCE_DIR}" WKAGENT_BINARY_DIR="${PROJECT_BINARY_DIR}")
  wkagent_target_defaults(${target})
  target_compile_options(${target} PRIVATE -O0 -U_FORTIFY_SOURCE)
  if(WKAGENT_SANITIZE MATCHES undefined)
    target_compile_options(${target} PRIVATE -fno-sanitize=undefined)
  endif()
endfunction()

# What nearly every test includes, compiled once for all of them, as programs are.
file(CONFIGURE OUTPUT test_headers.cpp CONTENT "")
add_library(wkagent_test_headers OBJECT "${CMAKE_CURRENT_BINARY_DIR}/test_headers.cpp")
target_link_libraries(wkagent_test_headers PRIVATE GTest::gmock)
target_precompile_headers(wkagent_test_headers PRIVATE
  <algorithm> <filesystem> <fstream> <optional> <string> <thread> <vector>
  <gmock/gmock.h> <gtest/gtest.h>)
target_compile_options(wkagent_test_headers PRIVATE -fPIE)
wkagent_test_defaults(wkagent_test_headers)

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
  wkagent_test_defaults(${name})
  target_precompile_headers(${name} REUSE_FROM wkagent_test_headers)
  gtest_discover_tests(${name}
    TEST_PREFIX "${arg_PREFIX}" PROPERTIES TIMEOUT 300 DISCOVERY_TIMEOUT 60)
endfunction()
