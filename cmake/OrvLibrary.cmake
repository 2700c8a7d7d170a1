# The objects are compiled once and feed two libraries: the shared one that is installed, and a static one
# whose hidden symbols the tests, fuzzers and benchmarks can reach.
add_library(OrvCoreAudio SHARED)
add_library(OrvCoreAudio::OrvCoreAudio ALIAS OrvCoreAudio)
set_target_properties(OrvCoreAudio PROPERTIES
  VERSION ${PROJECT_VERSION}
  SOVERSION ${PROJECT_VERSION_MAJOR})
add_library(orv_static STATIC EXCLUDE_FROM_ALL)

foreach(library OrvCoreAudio orv_static)
  target_link_libraries(${library}
    PRIVATE $<BUILD_INTERFACE:orv_compile_options> orv_platform orv_coreaudio)
endforeach()
