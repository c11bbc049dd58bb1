# Toolchain for Windows programs on Linux: mingw-w64 with POSIX threads. CTest runs the programs under Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(zv_triplet x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${zv_triplet}-gcc-posix)
set(CMAKE_CXX_COMPILER ${zv_triplet}-g++-posix)
set(CMAKE_RC_COMPILER ${zv_triplet}-windres)
# Links the compiler's runtime into each file, so that no further file must be shipped.
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
set(CMAKE_SHARED_LINKER_FLAGS_INIT -static)
set(CMAKE_MODULE_LINKER_FLAGS_INIT -static)
# Never uses packages of the build machine.
set(CMAKE_FIND_ROOT_PATH /usr/${zv_triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/run-windows-program.sh)
