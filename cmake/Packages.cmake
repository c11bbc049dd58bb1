# The packages of tools, samples and tests, and the platform that the library uses. The library itself needs no
# package: without nlohmann_json, the stand-in is built without machine files.
include(GNUInstallDirs)
find_package(Threads REQUIRED)
if(MINGW AND ZV_BUILD_SAMPLES)
  enable_language(C) # The test driver is a kernel-mode driver in C.
endif()

if(CMAKE_CROSSCOMPILING AND WIN32)
  include(cmake/CrossPackages.cmake)
else()
  if(ZV_BUILD_TOOLS)
    find_package(CLI11 REQUIRED)
  endif()
  if(ZV_BUILD_TOOLS OR ZV_BUILD_SAMPLES)
    find_package(fmt 9.1 REQUIRED)
    find_package(nlohmann_json 3.11 REQUIRED)
  else()
    find_package(nlohmann_json 3.11 QUIET)
  endif()
  if(ZV_BUILD_TESTS)
    find_package(GTest REQUIRED)
  endif()
endif()

if(NOT WIN32)
  add_subdirectory(Platform)
  return()
endif()
# Windows itself replaces the stand-in.
add_library(ZVPlatform INTERFACE)
target_link_libraries(ZVPlatform INTERFACE setupapi cfgmgr32 advapi32 user32 ntdll)
