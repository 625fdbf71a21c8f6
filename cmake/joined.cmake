# The sources of a folder compiled together, so that the headers that they share are read once. Two files of a folder must
# not define the same name, not even in anonymous namespaces; the compiler reports it if they do. The debug build compiles
# each file alone, and fails if a file does not include what it uses.
option(ZAR_JOINED_SOURCES "Compile the sources of a folder together, which builds faster" OFF)

#   join_sources(TARGET)     call it in the folder of the target, after its sources are known
function(join_sources target)
  if(NOT ZAR_JOINED_SOURCES)
    return()
  endif()
  set(most 14)  # files at once: more would keep one processor busy while the others wait
  get_target_property(sources ${target} SOURCES)
  list(FILTER sources EXCLUDE REGEX "^/")
  set(folders ".")
  foreach(source IN LISTS sources)
    cmake_path(GET source PARENT_PATH folder)
    list(APPEND folders ".${folder}")
    list(APPEND "sources_.${folder}" ${source})
  endforeach()
  list(REMOVE_DUPLICATES folders)
  foreach(folder IN LISTS folders)
    list(LENGTH "sources_${folder}" n_sources)
    math(EXPR n_groups "(${n_sources} + ${most} - 1) / ${most}")
    set(number 0)
    foreach(source IN LISTS "sources_${folder}")
      math(EXPR group "${number} % ${n_groups}")
      set_source_files_properties(${source} PROPERTIES UNITY_GROUP "${target}${folder}_${group}")
      math(EXPR number "${number} + 1")
    endforeach()
  endforeach()
  set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
endfunction()
