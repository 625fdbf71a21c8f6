# Whole-program optimisation for the shipped build, which also calls its imports without a stub: daemons resolve
# everything when they load a library, so nothing has to be resolved at the first call.
#
# g++ zeroes a record with a string instruction, which takes as long as visiting two nodes of a tree; plain stores are
# faster, and the C library for large records.
include(CheckCXXCompilerFlag)
set(zeroing -mmemset-strategy=unrolled_loop:128:noalign,libcall:-1:noalign)
check_cxx_compiler_flag(${zeroing} ZAR_CHOOSES_ZEROING)

function(optimise_as_shipped target)
  if(CMAKE_BUILD_TYPE STREQUAL "Release")
    set_target_properties(${target} PROPERTIES INTERPROCEDURAL_OPTIMIZATION ON)
    target_compile_options(${target} PRIVATE -fno-plt $<$<BOOL:${ZAR_CHOOSES_ZEROING}>:${zeroing}>)
  endif()
endfunction()
