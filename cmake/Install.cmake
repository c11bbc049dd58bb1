# What `cmake --install` copies. The components match the Debian packages; without --component all are installed:
#   Runtime        the shared libraries and the driver model
#   Development    headers, CMake package, pkg-config files, import library
#   Tools          zvctl; on Windows the test driver too
#   Documentation  guides and samples
# Everything is relocatable.
set(package ${CMAKE_INSTALL_LIBDIR}/cmake/ZVUWPSrvcLib)
set(headers ${CMAKE_INSTALL_INCLUDEDIR}/ZVUWPSrvcLib)
if(WIN32)
  set(shared .)
  set(documents .)
else()
  set(shared ${CMAKE_INSTALL_DATADIR}/zvuwpsrvclib)
  set(documents ${CMAKE_INSTALL_DOCDIR})
endif()

# Libraries
set(libraries ZVUWPSrvcLib ZVPlatform HostKit)
if(TARGET HostKitTesting)
  list(APPEND libraries HostKitTesting)
endif()
install(TARGETS ${libraries} EXPORT ZVUWPSrvcLibTargets
  RUNTIME COMPONENT Runtime
  LIBRARY COMPONENT Runtime NAMELINK_COMPONENT Development
  ARCHIVE COMPONENT Development)
if(TARGET ZVDriverModel)
  # Next to the stand-in, which searches this folder.
  set(drivers ZVDriverModel)
  if(TARGET ZVReplayDriver)
    list(APPEND drivers ZVReplayDriver)
  endif()
  install(TARGETS ${drivers} LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/zvuwpsrvclib COMPONENT Runtime)
endif()

# Headers
install(DIRECTORY SrvcMain/Inc/ ${PROJECT_BINARY_DIR}/Inc/ DESTINATION ${headers} COMPONENT Development
  FILES_MATCHING PATTERN "*.h")
install(DIRECTORY HostKit/Inc/ DESTINATION ${headers} COMPONENT Development)
install(FILES Samples/VirtualDriver/VirtualDriver.h DESTINATION ${headers} COMPONENT Development)
if(NOT WIN32)
  foreach(header AnnotatedLock ControlDevice Machine PlatformExport Quiet ScriptedDevice)
    install(FILES Platform/Inc/${header}.h DESTINATION ${headers}/Platform COMPONENT Development)
  endforeach()
endif()

# CMake package and pkg-config
include(CMakePackageConfigHelpers)
configure_package_config_file(cmake/ZVUWPSrvcLibConfig.cmake.in ${PROJECT_BINARY_DIR}/ZVUWPSrvcLibConfig.cmake
  INSTALL_DESTINATION ${package} NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/ZVUWPSrvcLibConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/ZVUWPSrvcLibConfig.cmake ${PROJECT_BINARY_DIR}/ZVUWPSrvcLibConfigVersion.cmake
  DESTINATION ${package} COMPONENT Development)
install(EXPORT ZVUWPSrvcLibTargets NAMESPACE ZVUWPSrvcLib:: DESTINATION ${package} COMPONENT Development)
if(NOT WIN32)
  cmake_path(SET pkgconfig NORMALIZE "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig")
  cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY ${pkgconfig} OUTPUT_VARIABLE ZV_PREFIX)
  foreach(file zvuwpsrvclib zvuwpsrvclib-testing)
    configure_file(cmake/${file}.pc.in ${PROJECT_BINARY_DIR}/${file}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${file}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT Development)
  endforeach()
endif()

# Tools
if(TARGET zvctl)
  install(TARGETS zvctl RUNTIME COMPONENT Tools)
  set_target_properties(zvctl PROPERTIES INSTALL_RPATH "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
endif()
if(TARGET zvctl_man)
  get_target_property(page zvctl ZV_MAN_PAGE)
  install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT Tools)
  install(FILES Tools/zvctl/Completion/zvctl.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
    RENAME zvctl COMPONENT Tools)
  install(FILES Tools/zvctl/Completion/_zvctl DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions
    COMPONENT Tools)
endif()
if(TARGET zvdriver)
  install(TARGETS zvdriver RUNTIME DESTINATION testdriver COMPONENT Tools)
  install(TARGETS ZVKernelDriver ZVArrivalDriver LIBRARY DESTINATION testdriver COMPONENT Tools)
  install(FILES Samples/KernelDriver/Adapter/ZVArrival.inf Samples/KernelDriver/KernelDriverCodes.h
    DESTINATION testdriver COMPONENT Tools)
  install(FILES docs/TEST-DRIVER.md DESTINATION testdriver RENAME README.md COMPONENT Tools)
endif()

# Documentation and samples
if(WIN32)
  install(FILES docs/WINDOWS-HOSTS.md DESTINATION . RENAME README.md COMPONENT Documentation)
else()
  install(DIRECTORY docs/ DESTINATION ${documents} COMPONENT Documentation FILES_MATCHING PATTERN "*.md"
    PATTERN "*.svg" PATTERN "*.json")
  install(FILES README.md DESTINATION ${documents} COMPONENT Documentation)
  install(DIRECTORY Samples/Machines DESTINATION ${shared} COMPONENT Tools)
endif()
install(FILES CHANGES.md DESTINATION ${documents} COMPONENT Documentation)
install(DIRECTORY Samples/List Samples/Host Samples/VirtualDriver DESTINATION ${documents}/samples
  COMPONENT Documentation)
install(FILES Samples/DriverModel/ItemStore.cpp Samples/DriverModel/ItemStore.h Platform/Inc/AnnotatedLock.h
  DESTINATION ${documents}/samples/VirtualDriver COMPONENT Documentation)
install(FILES cmake/samples/CMakeLists.txt DESTINATION ${documents}/samples COMPONENT Documentation)
