# The objects are compiled once and feed two libraries: the shared one that is installed, and a static one
# whose hidden symbols the tests, fuzzers and benchmarks can reach.
add_library(OrvCoreAudio SHARED)
add_library(OrvCoreAudio::OrvCoreAudio ALIAS OrvCoreAudio)
# Until 1.0 a new minor version may change the binary interface, so it gets a new name for the loader.
if(PROJECT_VERSION_MAJOR EQUAL 0)
  set(orv_soversion ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
else()
  set(orv_soversion ${PROJECT_VERSION_MAJOR})
endif()
set(orv_symbol_map ${CMAKE_CURRENT_LIST_DIR}/OrvCoreAudio.map)
set_target_properties(OrvCoreAudio PROPERTIES
  VERSION ${PROJECT_VERSION}
  SOVERSION ${orv_soversion}
  LINK_DEPENDS ${orv_symbol_map})
target_link_options(OrvCoreAudio PRIVATE LINKER:--version-script=${orv_symbol_map})
if(NOT ORV_SANITIZE)  # whose symbols are in the program, not in the library
  target_link_options(OrvCoreAudio PRIVATE LINKER:--no-undefined)
endif()

add_library(orv_static STATIC EXCLUDE_FROM_ALL)

foreach(library OrvCoreAudio orv_static)
  target_compile_features(${library} PUBLIC cxx_std_20)
  target_include_directories(${library} PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/coreaudio/include>
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/platform/include>)
  target_link_libraries(${library}
    PRIVATE $<BUILD_INTERFACE:orv_compile_options> orv_platform orv_coreaudio)
endforeach()
target_include_directories(OrvCoreAudio PUBLIC $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
target_include_directories(orv_static INTERFACE
  ${PROJECT_SOURCE_DIR}/coreaudio/src
  ${PROJECT_SOURCE_DIR}/platform/src)
