# The sources of a target compiled together, some twenty at once, so that the headers that they share are read once. No two
# files of a target define the same name, not even in anonymous namespaces; the compiler reports it if they do. It does not
# report a call that means another function with more headers, so no function is named like one of the standard library
# that would take the same arguments. A debug build that is configured by hand compiles each file alone, as
# scripts/check-warnings does with every compiler: that fails if a file does not include what it uses.
option(ZAR_JOINED_SOURCES "Compile many sources together, which builds faster" OFF)

#   join_sources(TARGET)     call it in the folder of the target, after its sources are known
function(join_sources target)
  if(NOT ZAR_JOINED_SOURCES)
    return()
  endif()
  set(most 20)  # files at once: more would keep one processor busy while the others wait
  get_target_property(sources ${target} SOURCES)
  list(FILTER sources EXCLUDE REGEX "^/")
  list(SORT sources)
  list(LENGTH sources n_sources)
  math(EXPR n_groups "(${n_sources} + ${most} - 1) / ${most}")
  set(number 0)
  foreach(source IN LISTS sources)
    # Neighbours include the same headers.
    math(EXPR group "${number} * ${n_groups} / ${n_sources}")
    set_source_files_properties(${source} PROPERTIES UNITY_GROUP "${target}_${group}")
    math(EXPR number "${number} + 1")
  endforeach()
  set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
endfunction()
