# The Debian packages, one for each component of the installation. `cpack` in a build folder creates them; configure
# with -DCMAKE_INSTALL_PREFIX=/usr to put the library into the multiarch folder.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME zar)
set(CPACK_PACKAGE_VENDOR "The zar developers")
set(CPACK_PACKAGE_CONTACT "The zar developers <developers@zar.invalid>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
# With CPACK_DEBIAN_DEBUGINFO_PACKAGE, which needs a build with -g, each package with programs or libraries gets a package
# NAME-dbgsym with their debug information, and the strip is done there.
if(CPACK_DEBIAN_DEBUGINFO_PACKAGE)
  set(CPACK_STRIP_FILES OFF)
else()
  set(CPACK_STRIP_FILES ON)
endif()
set(CPACK_COMPONENTS_ALL library development)
if(ZAR_SIMULATOR)
  list(APPEND CPACK_COMPONENTS_ALL tools python)
endif()
if(ZAR_DEBUG_LIBRARY)
  list(APPEND CPACK_COMPONENTS_ALL debug)
endif()

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/finish_packages.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/correct_packages.cmake)
set(CPACK_ZAR_SOURCE_DIR ${PROJECT_SOURCE_DIR})

# Each package has its own summary, the first line of its description.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")

# Programs that link the library learn which package contains it.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

# The command finds the libraries of the hosts in its own package.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libzar${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/triggers)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "policy rule repository (library)
Keeps the policy objects of a router's subscribers and interfaces in memory.
It imports its platform runtime and engine from the daemon that loads it.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libzar-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libzar${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION})")
if(ZAR_SIMULATOR)
  # The runtime and the engine to start with are the command's.
  string(APPEND CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS ", zar-tools (= ${PROJECT_VERSION})")
endif()
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "policy rule repository (development files)
Headers, pkg-config and CMake files, the documentation, and the program that
checks a platform runtime, to be linked with it.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME zar-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION net)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS "libzar${PROJECT_VERSION_MAJOR} (= ${PROJECT_VERSION})")
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "policy rule repository (command)
The policy simulator zar, the runtime and the engine that stand in for a
daemon's, and examples.")

set(CPACK_DEBIAN_DEBUG_PACKAGE_NAME libzar${PROJECT_VERSION_MAJOR}-debug)
set(CPACK_DEBIAN_DEBUG_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_DEBUG_PACKAGE_SHLIBDEPS ON)
set(CPACK_COMPONENT_DEBUG_DESCRIPTION "policy rule repository (library with checks)
A debug build of the library, for the developers of a daemon: it ends the
daemon at a broken invariant, at a call before the start, from a second thread,
and at an exception that leaves a callback. A daemon uses it only if the
loader's path names its folder.")

set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-zar)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3 (>= 3.11), zar-tools (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS "python3-pytest, freeradius-python3")
# They compile the modules, and remove what was compiled.
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
  ${PROJECT_SOURCE_DIR}/cmake/python/postinst ${PROJECT_SOURCE_DIR}/cmake/python/prerm)
set(CPACK_COMPONENT_PYTHON_DESCRIPTION "policy rule repository (Python)
Asks the policy simulator zar from Python: what events do, and why. A plugin
for pytest runs the tests of policy files; an example asks from FreeRADIUS.")

include(CPack)
