# The library shows its two entry points and nothing else.
execute_process(COMMAND ${NM} -DC --defined-only ${LIBRARY} OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE "[0-9a-f]+ [A-Za-z] " "" names "${symbols}")
string(STRIP "${names}" names)
string(REPLACE "\n" ";" names "${names}")
list(SORT names)
set(expected
  "unsigned int CreateZVModule<CDeviceIntf>(std::shared_ptr<CDeviceIntf>&, _ZV_SRVC_INTERFACE_TYPE)"
  "unsigned int CreateZVModule<CDeviceManagerIntf>(std::shared_ptr<CDeviceManagerIntf>&, _ZV_SRVC_INTERFACE_TYPE)")
if(NOT names STREQUAL expected)
  message(FATAL_ERROR "The library exports:\n${symbols}")
endif()
