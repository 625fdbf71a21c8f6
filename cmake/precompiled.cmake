# Headers of the standard library and of the test framework, compiled once for the sources of a target. Sources include what
# they use all the same: most builds do without, and stop where an include is missing. With g++ it brings warnings about the
# standard library's own code, so that only clang++'s builds ask for it.
option(ZAR_PRECOMPILED_HEADERS "Compile common headers once, which builds faster" OFF)

#   precompile_headers(TARGET [<header>...])
function(precompile_headers target)
  if(ZAR_PRECOMPILED_HEADERS)
    target_precompile_headers(${target} PRIVATE <algorithm> <functional> <iostream> <map> <memory> <optional> <sstream>
      <string> <string_view> <unordered_map> <vector> ${ARGN})
  endif()
endfunction()

# The same headers as another target, whose options are the same.
function(reuse_precompiled_headers target other)
  if(ZAR_PRECOMPILED_HEADERS)
    target_precompile_headers(${target} REUSE_FROM ${other})
  endif()
endfunction()
