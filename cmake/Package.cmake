# Packages: `cpack` in the build folder. Debian packages and a .tar.gz, or a .zip for Windows.
if(NOT PROJECT_IS_TOP_LEVEL)
  return()
endif()
set(CPACK_PACKAGE_NAME zvuwpsrvclib)
set(CPACK_PACKAGE_VENDOR "ZVUWPSrvcLib developers")
set(CPACK_PACKAGE_CONTACT "ZVUWPSrvcLib developers <zvuwpsrvclib@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_CHECKSUM SHA256)
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_CURRENT_LIST_DIR}/PackageOptions.cmake)
if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME ZVUWPSrvcLib-${PROJECT_VERSION}-windows-x86_64)
  set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY ON)
  include(CPack)
  return()
endif()
set(CPACK_GENERATOR DEB TGZ)
set(CPACK_PACKAGE_FILE_NAME ZVUWPSrvcLib-${PROJECT_VERSION}-linux-${CMAKE_SYSTEM_PROCESSOR})
set(CPACK_COMPONENTS_ALL Runtime Development Tools Documentation)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY =)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/bin)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
# Adds the files that Debian requires in each package, and drops search paths, which Debian does without.
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/DebianFiles.cmake)

set(runtime libzvuwpsrvclib${PROJECT_VERSION_MAJOR})
function(zv_debian_package component name section summary text)
  string(TOUPPER ${component} component)
  set(CPACK_DEBIAN_${component}_PACKAGE_NAME ${name} PARENT_SCOPE)
  set(CPACK_DEBIAN_${component}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  set(CPACK_DEBIAN_${component}_DESCRIPTION "${summary}\n${text}" PARENT_SCOPE)
endfunction()
zv_debian_package(Runtime ${runtime} libs "service library for hosts of Zorvane Wi-Fi adapters"
  "Lists adapters, opens them, sends control requests and reports events. This
package has the shared library, the stand-in for the Windows calls that it
uses, and a driver model for simulated machines.
The owner has not chosen a licence yet.")
zv_debian_package(Development libzvuwpsrvclib-dev libdevel "headers and build files of ZVUWPSrvcLib"
  "For the developers of hosts: headers, a CMake package, pkg-config files, and
HostKit, which has helpers for hosts and for their tests.
The owner has not chosen a licence yet.")
zv_debian_package(Tools zvctl utils "command-line host of ZVUWPSrvcLib"
  "Lists and opens Zorvane Wi-Fi adapters, reads and writes driver items, sends
control requests and shows events, on a simulated machine.
The owner has not chosen a licence yet.")
zv_debian_package(Documentation libzvuwpsrvclib-doc doc "guides and samples of ZVUWPSrvcLib"
  "Guides for the developers of hosts, tests and simulated drivers, with sample
hosts and a sample simulated driver.
The owner has not chosen a licence yet.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${runtime} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "${runtime} (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS libzvuwpsrvclib-doc)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_DOCUMENTATION_PACKAGE_SHLIBDEPS OFF)

file(WRITE ${PROJECT_BINARY_DIR}/debian/triggers "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/debian/triggers)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_ZV_RELEASE_DATE "${ZV_RELEASE_DATE}")
include(CPack)
