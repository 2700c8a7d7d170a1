# What `cmake --install` puts where: the library, its public headers, the orv command, and what lets another project
# find them with find_package or pkg-config. Three components, which are also the packages: runtime, development, tools.
include(CMakePackageConfigHelpers)

install(TARGETS OrvCoreAudio EXPORT OrvCoreAudioTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development)
install(DIRECTORY
  ${PROJECT_SOURCE_DIR}/coreaudio/include/OrvCoreAudio
  ${PROJECT_SOURCE_DIR}/platform/include/OrvPlatform
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  COMPONENT development
  FILES_MATCHING PATTERN *.h)

set(orv_package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/OrvCoreAudio)
install(EXPORT OrvCoreAudioTargets NAMESPACE OrvCoreAudio:: DESTINATION ${orv_package_dir}
  COMPONENT development)
configure_package_config_file(
  ${PROJECT_SOURCE_DIR}/packaging/OrvCoreAudioConfig.cmake.in
  ${PROJECT_BINARY_DIR}/OrvCoreAudioConfig.cmake
  INSTALL_DESTINATION ${orv_package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/OrvCoreAudioConfigVersion.cmake
  COMPATIBILITY SameMinorVersion)
install(FILES
  ${PROJECT_BINARY_DIR}/OrvCoreAudioConfig.cmake
  ${PROJECT_BINARY_DIR}/OrvCoreAudioConfigVersion.cmake
  DESTINATION ${orv_package_dir}
  COMPONENT development)

# The file finds its prefix from where it lies, so that an installed tree can be moved.
file(RELATIVE_PATH orv_pc_prefix /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
string(REGEX REPLACE "/$" "" orv_pc_prefix ${orv_pc_prefix})
configure_file(${PROJECT_SOURCE_DIR}/packaging/orvcoreaudio.pc.in ${PROJECT_BINARY_DIR}/orvcoreaudio.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/orvcoreaudio.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
  COMPONENT development)

if(TARGET orv)
  file(RELATIVE_PATH orv_bin_to_lib /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
  set_target_properties(orv PROPERTIES INSTALL_RPATH $ORIGIN/${orv_bin_to_lib})
  install(TARGETS orv RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
endif()
