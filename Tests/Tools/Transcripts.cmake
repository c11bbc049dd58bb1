# zv_transcripts(FILE...) adds a test for each transcript of zvctl.
function(zv_transcripts)
  foreach(file ${ARGN})
    cmake_path(GET file STEM name)
    add_test(NAME Zvctl.${name} COMMAND ${PROJECT_SOURCE_DIR}/Tests/Tools/run-transcript.sh
      ${CMAKE_BINARY_DIR} ${CMAKE_CURRENT_SOURCE_DIR}/${file})
    set_tests_properties(Zvctl.${name} PROPERTIES ENVIRONMENT ZVCTL_VERSION=${PROJECT_VERSION})
  endforeach()
endfunction()
