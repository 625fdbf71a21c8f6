# What is shipped is optimised as a whole, and calls what it imports without a stub on the way: daemons resolve everything
# when they load a library, so there is nothing to resolve at the first call.
function(optimise_as_shipped target)
  if(CMAKE_BUILD_TYPE STREQUAL "Release")
    set_target_properties(${target} PROPERTIES INTERPROCEDURAL_OPTIMIZATION ON)
    target_compile_options(${target} PRIVATE -fno-plt)
  endif()
endfunction()
