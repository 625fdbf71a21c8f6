# Headers of the standard library and of the test framework, compiled once for the sources of a target. Sources still
# include what they use: the other builds do without precompiled headers, and fail if an include is missing. Optimised
# builds are among those: in them g++ would warn about the standard library's own code.
option(ZAR_PRECOMPILED_HEADERS "Compile common headers once, which builds faster" OFF)

#   precompile_headers(TARGET [<header>...])
function(precompile_headers target)
  if(ZAR_PRECOMPILED_HEADERS)
    target_precompile_headers(${target} PRIVATE <algorithm> <functional> <iostream> <map> <memory> <optional> <sstream>
      <string> <string_view> <unordered_map> <vector> ${ARGN})
  endif()
endfunction()

# Reuses the headers of another target with the same options.
function(reuse_precompiled_headers target other)
  if(ZAR_PRECOMPILED_HEADERS)
    target_precompile_headers(${target} REUSE_FROM ${other})
  endif()
endfunction()
