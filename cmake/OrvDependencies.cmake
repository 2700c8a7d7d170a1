find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)
pkg_check_modules(SOXR REQUIRED IMPORTED_TARGET soxr)
pkg_check_modules(HWY REQUIRED IMPORTED_TARGET libhwy)
find_package(nlohmann_json 3.11 REQUIRED)

set(ORV_WITH_SNDFILE AUTO CACHE STRING
  "Read FLAC, Ogg, MP3 and other programs' files through libsndfile: ON, OFF, or AUTO, which is ON where it is installed")
set_property(CACHE ORV_WITH_SNDFILE PROPERTY STRINGS AUTO ON OFF)
set(ORV_HAS_SNDFILE OFF)
if(ORV_WITH_SNDFILE STREQUAL "AUTO")
  pkg_check_modules(SNDFILE IMPORTED_TARGET sndfile>=1.1)
  set(ORV_HAS_SNDFILE ${SNDFILE_FOUND})
elseif(ORV_WITH_SNDFILE)
  pkg_check_modules(SNDFILE REQUIRED IMPORTED_TARGET sndfile>=1.1)
  set(ORV_HAS_SNDFILE ON)
endif()

set(ORV_WITH_PIPEWIRE AUTO CACHE STRING
  "Use the machine's audio devices through PipeWire: ON, OFF, or AUTO, which is ON where its library is installed")
set_property(CACHE ORV_WITH_PIPEWIRE PROPERTY STRINGS AUTO ON OFF)
set(ORV_HAS_PIPEWIRE OFF)
if(ORV_WITH_PIPEWIRE STREQUAL "AUTO")
  pkg_check_modules(PIPEWIRE IMPORTED_TARGET libpipewire-0.3>=0.3.65)
  set(ORV_HAS_PIPEWIRE ${PIPEWIRE_FOUND})
elseif(ORV_WITH_PIPEWIRE)
  pkg_check_modules(PIPEWIRE REQUIRED IMPORTED_TARGET libpipewire-0.3>=0.3.65)
  set(ORV_HAS_PIPEWIRE ON)
endif()
if(ORV_HAS_PIPEWIRE)
  # All that is left of them is _REENTRANT, which the C library has not needed for long, and which would keep precompiled
  # headers from being shared.
  set_property(TARGET PkgConfig::PIPEWIRE PROPERTY INTERFACE_COMPILE_OPTIONS)
endif()
