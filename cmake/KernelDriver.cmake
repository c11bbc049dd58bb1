# Builds a kernel-mode driver from C sources, next to the programs.
function(zv_kernel_driver target)
  add_library(${target} MODULE ${ARGN})
  target_include_directories(${target} SYSTEM PRIVATE ${CMAKE_FIND_ROOT_PATH}/include/ddk)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wconversion -Wshadow -Wundef
    $<$<BOOL:${ZV_WARNINGS_AS_ERRORS}>:-Werror>)
  target_link_options(${target} PRIVATE -nostdlib LINKER:--subsystem,native LINKER:--entry,DriverEntry)
  target_link_libraries(${target} PRIVATE ntoskrnl gcc)
  # The DDK has two sets of headers, which cannot be used in one file.
  set_target_properties(${target} PROPERTIES PREFIX "" SUFFIX .sys C_STANDARD 11 UNITY_BUILD OFF)
endfunction()
