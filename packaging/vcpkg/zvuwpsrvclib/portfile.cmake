# The overlay port builds the checkout that contains it.
get_filename_component(SOURCE_PATH "${CURRENT_PORT_DIR}/../../.." ABSOLUTE)

# The library crosses its interface with objects of the C++ runtime and exists once per process.
vcpkg_check_linkage(ONLY_DYNAMIC_LIBRARY)
vcpkg_cmake_configure(
  SOURCE_PATH "${SOURCE_PATH}"
  OPTIONS
    -DZV_BUILD_TOOLS=OFF
    -DZV_BUILD_SAMPLES=OFF
    -DZV_BUILD_TESTS=OFF
    -DZV_BUILD_BENCHMARKS=OFF
    -DZV_WARNINGS_AS_ERRORS=OFF
)
vcpkg_cmake_install()
vcpkg_cmake_config_fixup(PACKAGE_NAME ZVUWPSrvcLib CONFIG_PATH lib/cmake/ZVUWPSrvcLib)
vcpkg_fixup_pkgconfig()
file(REMOVE_RECURSE "${CURRENT_PACKAGES_DIR}/debug/include" "${CURRENT_PACKAGES_DIR}/debug/share")
file(WRITE "${CURRENT_PACKAGES_DIR}/share/${PORT}/copyright" "The owner has not chosen a licence yet.\n")
