# Read by cpack when the files of all packages are in place: completes the Debian packages.
if(NOT CPACK_GENERATOR STREQUAL "DEB")
  return()
endif()

set(notice "ZVUWPSrvcLib ${CPACK_PACKAGE_VERSION}

The owner has not chosen a licence for ZVUWPSrvcLib yet. Until then no permission to copy, change or distribute
it is granted beyond what the owner agrees to.
")

execute_process(COMMAND date -R -u -d ${CPACK_ZV_RELEASE_DATE} OUTPUT_VARIABLE date OUTPUT_STRIP_TRAILING_WHITESPACE
  COMMAND_ERROR_IS_FATAL ANY)
foreach(component ${CPACK_COMPONENTS_ALL})
  string(TOUPPER ${component} upper)
  set(package ${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
  set(root ${CPACK_TEMPORARY_DIRECTORY}/${component}/usr)
  set(folder ${root}/share/doc/${package})
  file(WRITE ${folder}/copyright "${notice}")
  file(WRITE ${folder}/changelog "zvuwpsrvclib (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium

  * Release ${CPACK_PACKAGE_VERSION}. CHANGES.md in libzvuwpsrvclib-doc lists the changes.

 -- ${CPACK_PACKAGE_CONTACT}  ${date}
")
  execute_process(COMMAND gzip -9n ${folder}/changelog COMMAND_ERROR_IS_FATAL ANY)

  # The owner has not published a mail address.
  file(WRITE ${root}/share/lintian/overrides/${package} "${package}: bogus-mail-host *
${package}: bogus-mail-host-in-debian-changelog *
${package}: copyright-without-copyright-notice
")

  file(GLOB_RECURSE files ${root}/bin/* ${root}/lib/*)
  foreach(file ${files})
    if(NOT IS_SYMLINK ${file})
      # Does nothing for a file that is no program and no library.
      file(RPATH_REMOVE FILE ${file})
    endif()
  endforeach()
  file(GLOB_RECURSE pages ${root}/share/man/*.[1-8])
  foreach(page ${pages})
    execute_process(COMMAND gzip -9nf ${page} COMMAND_ERROR_IS_FATAL ANY)
  endforeach()
endforeach()
