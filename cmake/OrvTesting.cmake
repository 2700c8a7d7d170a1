find_package(GTest REQUIRED)
include(GoogleTest)
pkg_check_modules(SNDFILE REQUIRED IMPORTED_TARGET sndfile)

# Builds what runs under the thread sanitizer and no more.
add_custom_target(orv_concurrent_tests)

# orv_add_tests(NAME SOURCES file… [LABELS label…])
# One test program, its tests listed one by one in ctest, labelled "unit" unless labels are given. The label "concurrent"
# marks what also runs under the thread sanitizer.
function(orv_add_tests name)
  cmake_parse_arguments(arg "" "" "SOURCES;LABELS" ${ARGN})
  if(NOT arg_LABELS)
    set(arg_LABELS unit)
  endif()
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE
    orv_compile_options orv_static orv_test_support GTest::gtest_main)
  if(concurrent IN_LIST arg_LABELS)
    add_dependencies(orv_concurrent_tests ${name})
  endif()
  gtest_discover_tests(${name}
    DISCOVERY_TIMEOUT 60
    PROPERTIES LABELS "${arg_LABELS}" TIMEOUT 300)
endfunction()
