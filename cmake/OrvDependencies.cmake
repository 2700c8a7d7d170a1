find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)
pkg_check_modules(SOXR REQUIRED IMPORTED_TARGET soxr)
pkg_check_modules(HWY REQUIRED IMPORTED_TARGET libhwy)
