# Read by cpack for each kind of package. The archive has no prefix, so that it can be unpacked anywhere.
if(CPACK_GENERATOR STREQUAL "DEB")
  set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
  set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # Each package has its own.
else()
  set(CPACK_PACKAGING_INSTALL_PREFIX /)
endif()
