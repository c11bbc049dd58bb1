# Control requests to a device: of the kernel-mode test driver on Windows, of the machine elsewhere.
target_sources(ConformanceTests PRIVATE IoTests.cpp
  $<IF:$<PLATFORM_ID:Windows>,IoDeviceWindows.cpp,IoDeviceStandIn.cpp>)
target_include_directories(ConformanceTests PRIVATE ${PROJECT_SOURCE_DIR}/Samples/KernelDriver)
