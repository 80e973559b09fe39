# `make package`: a Debian package with the runtime library, the tool, the
# headers, the CMake and pkg-config files, the schema files and the Python
# package.
set(CPACK_GENERATOR "DEB")
set(CPACK_PACKAGE_NAME "gcuschema")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_CONTACT "gcuschema developers <gcuschema@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY
    "Record schema library and tool for GCU, IOC and DCU transmission controller documents")
set(CPACK_PACKAGING_INSTALL_PREFIX "/usr")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION "libs")
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libprotobuf32 (>= 3.21), libsimdjson14 (>= 3.0), libpugixml1v5 (>= 1.13), python3-protobuf")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS OFF)
include(CPack)
