# Derives the version header and the version resource from the project's version.
configure_file(SrvcMain/Inc/ZVVersion.h.in ${PROJECT_BINARY_DIR}/Inc/ZVVersion.h @ONLY)
set(ZV_VERSION_RESOURCE ${PROJECT_BINARY_DIR}/ZVUWPSrvcLib.rc)
configure_file(SrvcMain/ZVUWPSrvcLib.rc.in ${ZV_VERSION_RESOURCE} @ONLY)

set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS CHANGES.md)
file(STRINGS CHANGES.md releases REGEX "^## \\[[0-9]")
list(GET releases 0 latest)
if(NOT latest MATCHES "^## \\[${PROJECT_VERSION}\\] - ([0-9]+-[0-9]+-[0-9]+)$")
  message(FATAL_ERROR "CHANGES.md begins with \"${latest}\", but the project has version ${PROJECT_VERSION}")
endif()
set(ZV_RELEASE_DATE ${CMAKE_MATCH_1})
