# Compiles through ccache where it is installed, so that a fresh clone builds in minutes. A launcher that the user
# sets takes precedence.
find_program(ZV_CCACHE ccache)
if(ZV_CCACHE)
  foreach(language C CXX)
    if(NOT DEFINED CMAKE_${language}_COMPILER_LAUNCHER)
      set(CMAKE_${language}_COMPILER_LAUNCHER ${ZV_CCACHE})
    endif()
  endforeach()
endif()
