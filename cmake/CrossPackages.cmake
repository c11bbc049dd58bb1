# The packages of a build for Windows on Debian. Their headers are usable, but the build must not search
# /usr/include as a whole. Links to the folders of those packages keep the rest out.
set(headers ${PROJECT_BINARY_DIR}/debian-headers)
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

if(ZV_BUILD_TESTS)
  set(INSTALL_GTEST OFF)
  set(BUILD_GMOCK OFF)
  add_subdirectory(/usr/src/googletest ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
  target_compile_options(gtest PRIVATE -O0) # Compiles twice as fast; the tests spend no time in it.
endif()
