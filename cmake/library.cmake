# How libzar.so is compiled and linked: its promises to the programs that load it.
set_target_properties(zar PROPERTIES
  SOVERSION ${PROJECT_VERSION_MAJOR}
  VERSION ${PROJECT_VERSION}
  CXX_VISIBILITY_PRESET hidden
  VISIBILITY_INLINES_HIDDEN ON
  LINK_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/cmake/zar.map)

target_include_directories(zar
  PUBLIC $<BUILD_INTERFACE:${CMAKE_CURRENT_SOURCE_DIR}/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>
  PRIVATE ${CMAKE_CURRENT_SOURCE_DIR})

# Its operations call each other directly: they cannot be interposed.
target_compile_options(zar PRIVATE -fno-exceptions -fno-rtti -fno-threadsafe-statics -fno-semantic-interposition)

# The imports stay undefined: the program that loads the library provides them. Exactly the names of the version script
# are exported, and an undefined name there is an error.
target_link_options(zar PRIVATE
  -Wl,--version-script=${CMAKE_CURRENT_SOURCE_DIR}/cmake/zar.map
  -Wl,--no-undefined-version
  -Wl,--as-needed)

# The shipped library is optimised and hardened.
optimise_as_shipped(zar)
if(CMAKE_BUILD_TYPE STREQUAL "Release")
  target_compile_options(zar PRIVATE -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2 -fstack-protector-strong -fstack-clash-protection)
  target_link_options(zar PRIVATE -Wl,-z,relro,-z,now -Wl,-z,noexecstack)
endif()
