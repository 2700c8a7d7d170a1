find_package(GTest REQUIRED)
include(GoogleTest)
pkg_check_modules(SNDFILE REQUIRED IMPORTED_TARGET sndfile)

# GoogleTest's header takes as long to read as an average test: it is read once for all test programs. A program of its
# own, because programs and libraries are compiled differently.
file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/orv_test_header.cpp CONTENT "int main() {}\n")
add_executable(orv_test_header ${PROJECT_BINARY_DIR}/orv_test_header.cpp)
target_link_libraries(orv_test_header PRIVATE orv_compile_options orv_static GTest::gtest)
target_precompile_headers(orv_test_header PRIVATE <gtest/gtest.h>)

# Builds what runs under the thread sanitizer and no more.
add_custom_target(orv_concurrent_tests)

# orv_add_tests(NAME SOURCES file… [LABELS label…] [REAL_TIME])
# One test program, its tests listed one by one in ctest, labelled "unit" unless labels are given. The label "concurrent"
# marks what also runs under the thread sanitizer. With REAL_TIME a test fails when a device's cycle does what real-time
# code must not do.
function(orv_add_tests name)
  cmake_parse_arguments(arg "REAL_TIME" "" "SOURCES;LABELS" ${ARGN})
  if(NOT arg_LABELS)
    set(arg_LABELS unit)
  endif()
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE
    orv_compile_options orv_static orv_test_support GTest::gtest_main)
  target_precompile_headers(${name} REUSE_FROM orv_test_header)
  if(arg_REAL_TIME)
    target_link_libraries(${name} PRIVATE orv_real_time_interposer)
    set_target_properties(${name} PROPERTIES ENABLE_EXPORTS ON)  # names in its reports
  endif()
  if(concurrent IN_LIST arg_LABELS)
    add_dependencies(orv_concurrent_tests ${name})
  endif()
  gtest_discover_tests(${name}
    DISCOVERY_TIMEOUT 60
    PROPERTIES LABELS "${arg_LABELS}" TIMEOUT 300)
endfunction()
