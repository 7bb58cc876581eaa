# The system libraries, found once for the whole tree. tools/install-deps.sh
# installs each of them on Debian.
find_package(PkgConfig REQUIRED)
find_package(Qt6 REQUIRED COMPONENTS Core)
if(QL_BUILD_GUI)
  find_package(Qt6 REQUIRED COMPONENTS Gui Widgets)
endif()

# Compound files: the workbook writer and the module reader.
pkg_check_modules(QL_GSF REQUIRED IMPORTED_TARGET GLOBAL libgsf-1)

if(QL_BUILD_TESTS)
  find_package(GTest REQUIRED)
  # mdbtools' library, an independent oracle for some tests; optional.
  pkg_check_modules(QL_LIBMDB IMPORTED_TARGET GLOBAL libmdb)
endif()
