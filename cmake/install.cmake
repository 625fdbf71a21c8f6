# What `cmake --install` puts where. The components are also the Debian packages:
#   library      what a daemon needs at run time
#   development  what its developers need: headers, pkg-config and CMake files, documentation
#   tools        the command, what stands in for a daemon, examples
#   debug        the library with its checks, if ZAR_DEBUG_LIBRARY is set: see debug_library.cmake
#   python       the package for Python, which asks the command
include(CMakePackageConfigHelpers)

set(zar_cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/zar)
set(zar_host_dir ${CMAKE_INSTALL_LIBDIR}/zar)
set(zar_example_dir ${CMAKE_INSTALL_DOCDIR}/examples)
set(zar_generated ${PROJECT_BINARY_DIR}/generated)

# ---- The library ----

install(TARGETS zar EXPORT zarTargets
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development)

# ---- Development ----

# The source folder contains a link to platform/, so that its headers are zar/platform/ in both trees.
install(DIRECTORY include/zar DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development
  FILES_MATCHING PATTERN "*.h" PATTERN platform EXCLUDE)
install(FILES platform/engine.h platform/runtime.h platform/tags.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/zar/platform COMPONENT development)

install(TARGETS zarplatformcheck zarinspect EXPORT zarTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(EXPORT zarTargets NAMESPACE zar:: DESTINATION ${zar_cmake_dir} COMPONENT development)

configure_package_config_file(cmake/zarConfig.cmake.in ${zar_generated}/zarConfig.cmake
  INSTALL_DESTINATION ${zar_cmake_dir})
write_basic_package_version_file(${zar_generated}/zarConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${zar_generated}/zarConfig.cmake ${zar_generated}/zarConfigVersion.cmake
  DESTINATION ${zar_cmake_dir} COMPONENT development)

# Relative to the file, so that an installed tree can be moved; but not in the folders of the system, which pkg-config
# leaves out of its answers only if it recognises them.
file(RELATIVE_PATH ZAR_PC_TO_PREFIX
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" ZAR_PC_TO_PREFIX "${ZAR_PC_TO_PREFIX}")
set(zar_pc_files zar zar-inspect)
if(ZAR_SIMULATOR)
  list(APPEND zar_pc_files zar-platform zar-engine)
endif()
foreach(name ${zar_pc_files})
  configure_file(cmake/${name}.pc.in ${zar_generated}/${name}.pc @ONLY)
  install(FILES ${zar_generated}/${name}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
  install(CODE "if(CMAKE_INSTALL_PREFIX MATCHES \"^/usr(/local)?$\")
    set(file \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_LIBDIR}/pkgconfig/${name}.pc\")
    file(READ \"\${file}\" text)
    string(REGEX REPLACE \"^prefix=[^\n]*\" \"prefix=\${CMAKE_INSTALL_PREFIX}\" text \"\${text}\")
    file(WRITE \"\${file}\" \"\${text}\")
  endif()" COMPONENT development)
endforeach()

install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development
  FILES_MATCHING PATTERN "*.md" PATTERN abi EXCLUDE PATTERN api EXCLUDE PATTERN man EXCLUDE)
install(FILES CHANGELOG.md CONTRIBUTING.md SECURITY.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
# Once installed, this page is in the same folder as the documents to which it links.
set(zar_readme ${zar_generated}/README.md)
file(READ README.md zar_readme_text)
string(REPLACE "](docs/" "](" zar_readme_text "${zar_readme_text}")
file(WRITE ${zar_readme} "${zar_readme_text}")
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS README.md)
install(FILES ${zar_readme} DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
# docs/api/make writes it. An installation without it is complete, too.
install(DIRECTORY ${PROJECT_BINARY_DIR}/docs/api/html DESTINATION ${CMAKE_INSTALL_DOCDIR}/api
  COMPONENT development OPTIONAL)

if(ZAR_SIMULATOR)
  include(cmake/install_tools.cmake)
  include(cmake/install_python.cmake)
endif()

# ---- Manual pages: docs/man/NAME.SECTION.scd; section 3 is for developers ----

find_program(ZAR_SCDOC scdoc)
file(GLOB zar_page_sources CONFIGURE_DEPENDS docs/man/*.scd)
if(NOT ZAR_SCDOC)
  message(WARNING "scdoc is missing: no manual pages are made")
  set(zar_page_sources)
endif()
set(zar_pages)
# The first line of a page tells readers of manual pages that it has tables, which scdoc does not.
set(zar_has_tables "'\\\" t")
foreach(source ${zar_page_sources})
  cmake_path(GET source STEM LAST_ONLY page)
  string(REGEX MATCH "[0-9]$" section ${page})
  set(component tools)
  if(section STREQUAL 3)
    set(component development)
  endif()
  if(component STREQUAL "tools" AND NOT ZAR_SIMULATOR)
    continue()
  endif()
  set(made ${PROJECT_BINARY_DIR}/man/${page})
  add_custom_command(OUTPUT ${made} DEPENDS ${source} VERBATIM
    COMMAND ${CMAKE_COMMAND} -E make_directory ${PROJECT_BINARY_DIR}/man
    COMMAND sh -c "{ printf '%s\\n' \"$4\" && \"$1\" < \"$2\"; } > \"$3\"" sh ${ZAR_SCDOC} ${source} ${made} ${zar_has_tables})
  list(APPEND zar_pages ${made})
  install(FILES ${made} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section} COMPONENT ${component})
endforeach()
add_custom_target(man ALL DEPENDS ${zar_pages})
