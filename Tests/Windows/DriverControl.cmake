# Loads and unloads the kernel-mode test driver for a test script.
add_executable(driver_control ${PROJECT_SOURCE_DIR}/Tests/Windows/DriverControl.cpp)
target_include_directories(driver_control PRIVATE ${PROJECT_SOURCE_DIR}/Samples/KernelDriver
  ${PROJECT_SOURCE_DIR}/SrvcMain/Src/OSDependency/OSAPIWrapper)
target_link_libraries(driver_control PRIVATE ZVPlatform)
add_dependencies(driver_control ZVKernelDriver)
zv_own_code(driver_control)
