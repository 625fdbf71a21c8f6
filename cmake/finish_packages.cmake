# Brings the trees of the Debian packages into the form that Debian requires: cpack runs this before it packs them. Each
# package gets its changelog and copyright, manual pages are compressed, and archives have no debug information.
find_program(gzip gzip REQUIRED)
find_program(strip strip REQUIRED)

# Debian's changelog has the date of the release, which CHANGELOG.md knows; there are the changes themselves.
file(STRINGS ${CPACK_ZAR_SOURCE_DIR}/CHANGELOG.md release REGEX "^## \\[${CPACK_PACKAGE_VERSION}\\] - ")
string(REGEX REPLACE ".* - " "" release "${release}")
execute_process(COMMAND date --utc --rfc-email --date=${release} OUTPUT_VARIABLE release_date
  OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
set(changelog "zar (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium

  * Release ${CPACK_PACKAGE_VERSION}; CHANGELOG.md in libzar-dev lists the changes.

 -- ${CPACK_PACKAGE_CONTACT}  ${release_date}
")

foreach(component ${CPACK_COMPONENTS_ALL})
  string(TOUPPER ${component} COMPONENT)
  set(root ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component}${CPACK_PACKAGING_INSTALL_PREFIX})
  set(documents ${root}/share/doc/${CPACK_DEBIAN_${COMPONENT}_PACKAGE_NAME})
  file(COPY ${CPACK_ZAR_SOURCE_DIR}/cmake/copyright DESTINATION ${documents})
  file(WRITE ${documents}/changelog "${changelog}")
  file(GLOB pages ${root}/share/man/man?/*.[1-9])
  # Without a name and a time, the same files give the same packages.
  execute_process(COMMAND ${gzip} -9 -n ${documents}/changelog ${pages} COMMAND_ERROR_IS_FATAL ANY)
  file(GLOB_RECURSE archives ${root}/*.a)
  if(archives)
    execute_process(COMMAND ${strip} --strip-debug --enable-deterministic-archives ${archives} COMMAND_ERROR_IS_FATAL ANY)
  endif()
endforeach()
