# What is shipped is optimised as a whole, and calls what it imports without a stub on the way: daemons resolve everything
# when they load a library, so there is nothing to resolve at the first call.
#
# g++ zeroes a record with a string instruction, which takes as long as two nodes of a tree; plain stores are faster, and the
# C library where a record is large.
include(CheckCXXCompilerFlag)
set(zeroing -mmemset-strategy=unrolled_loop:128:noalign,libcall:-1:noalign)
check_cxx_compiler_flag(${zeroing} ZAR_CHOOSES_ZEROING)

function(optimise_as_shipped target)
  if(CMAKE_BUILD_TYPE STREQUAL "Release")
    set_target_properties(${target} PROPERTIES INTERPROCEDURAL_OPTIMIZATION ON)
    target_compile_options(${target} PRIVATE -fno-plt $<$<BOOL:${ZAR_CHOOSES_ZEROING}>:${zeroing}>)
  endif()
endfunction()
