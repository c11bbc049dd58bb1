# The packages of tools, samples and tests, and the platform that the library uses.
find_package(Threads REQUIRED)

if(NOT WIN32)
  find_package(CLI11 REQUIRED)
  find_package(fmt 9.1 REQUIRED)
  find_package(nlohmann_json 3.11 REQUIRED)
  if(ZV_BUILD_TESTS)
    find_package(GTest REQUIRED)
  endif()
  add_subdirectory(Platform)
  return()
endif()

# A build for Windows can use Debian's header-only packages, but must not search /usr/include as a
# whole. Links to the folders of those packages keep the rest out.
set(headers ${CMAKE_BINARY_DIR}/debian-headers)
file(MAKE_DIRECTORY ${headers})
foreach(folder CLI fmt nlohmann)
  if(NOT EXISTS /usr/include/${folder})
    message(FATAL_ERROR "/usr/include/${folder} is missing")
  endif()
  file(CREATE_LINK /usr/include/${folder} ${headers}/${folder} SYMBOLIC)
endforeach()
foreach(package CLI11::CLI11 fmt::fmt nlohmann_json::nlohmann_json)
  add_library(${package} INTERFACE IMPORTED GLOBAL)
  target_include_directories(${package} SYSTEM INTERFACE ${headers})
endforeach()
target_compile_definitions(fmt::fmt INTERFACE FMT_HEADER_ONLY)

# Windows itself replaces the stand-in.
add_library(ZVPlatform INTERFACE)
target_link_libraries(ZVPlatform INTERFACE setupapi cfgmgr32 advapi32 user32 ntdll)

if(ZV_BUILD_TESTS)
  set(INSTALL_GTEST OFF)
  set(BUILD_GMOCK OFF)
  add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
endif()
