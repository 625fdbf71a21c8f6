# The debug build of the library, which is installed beside the shipped one: a build of its own, of the library alone,
# since a build folder has one type.
option(ZAR_DEBUG_LIBRARY "Also build the library with its checks, which the package libzar1-debug holds" OFF)
if(NOT ZAR_DEBUG_LIBRARY)
  return()
endif()

include(ExternalProject)
set(zar_debug_build ${PROJECT_BINARY_DIR}/debug-library)
set(zar_debug_files ${zar_debug_build}/lib/libzar.so.${PROJECT_VERSION_MAJOR} ${zar_debug_build}/lib/libzar.so.${PROJECT_VERSION})
ExternalProject_Add(debug-library
  SOURCE_DIR ${PROJECT_SOURCE_DIR}
  BINARY_DIR ${zar_debug_build}
  BUILD_ALWAYS ON
  BUILD_COMMAND ${CMAKE_COMMAND} --build ${zar_debug_build} --target zar
  INSTALL_COMMAND ""
  BUILD_BYPRODUCTS ${zar_debug_files}
  CMAKE_ARGS
    -DCMAKE_BUILD_TYPE=Debug
    -DZAR_HOST=OFF
    -DBUILD_TESTING=OFF
    -DZAR_PROBES=${ZAR_PROBES}
    -DCMAKE_C_COMPILER=${CMAKE_C_COMPILER}
    -DCMAKE_CXX_COMPILER=${CMAKE_CXX_COMPILER}
    -DCMAKE_C_COMPILER_LAUNCHER=${CMAKE_C_COMPILER_LAUNCHER}
    -DCMAKE_CXX_COMPILER_LAUNCHER=${CMAKE_CXX_COMPILER_LAUNCHER}
    "-DCMAKE_CXX_FLAGS=${CMAKE_CXX_FLAGS}"
    "-DCMAKE_SHARED_LINKER_FLAGS=${CMAKE_SHARED_LINKER_FLAGS}")

install(FILES ${zar_debug_files} DESTINATION ${zar_host_dir}/debug COMPONENT debug
  PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)

# What packages without debug information of their own strip: CMake does so only with targets of this build.
install(CODE "
  if(CMAKE_INSTALL_DO_STRIP)
    execute_process(
      COMMAND ${CMAKE_STRIP} --strip-unneeded \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${zar_host_dir}/debug/libzar.so.${PROJECT_VERSION}\"
      COMMAND_ERROR_IS_FATAL ANY)
  endif()" COMPONENT debug)
