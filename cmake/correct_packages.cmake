# Corrects what cpack writes into Debian packages against Debian's rules; cpack runs this on the finished packages.
# - The library's package renews the loader's cache by a trigger, so it needs no scripts for it.
# - The library with checks is in a folder of its own: no program is linked with it, and the loader's cache lacks it.
# - A package of debug information shares the documents of its package, and lists its files by their installed paths.
find_program(dpkg_deb dpkg-deb REQUIRED)

function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY OUTPUT_QUIET)
endfunction()

function(correct_debug_information root)
  file(GLOB_RECURSE files RELATIVE ${root} ${root}/usr/lib/debug/*)
  set(sums "")
  foreach(file IN LISTS files)
    file(CHMOD ${root}/${file} PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
    file(MD5 ${root}/${file} sum)
    string(APPEND sums "${sum}  ${file}\n")
  endforeach()
  file(WRITE ${root}/DEBIAN/md5sums "${sums}")
  file(CHMOD ${root}/DEBIAN/md5sums PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
endfunction()

foreach(package IN LISTS CPACK_PACKAGE_FILES)
  set(root ${CPACK_TEMPORARY_DIRECTORY}/corrected)
  file(REMOVE_RECURSE ${root})
  run(${dpkg_deb} --raw-extract ${package} ${root})
  file(REMOVE ${root}/DEBIAN/postinst ${root}/DEBIAN/postrm)
  cmake_path(GET package FILENAME name)
  if(name MATCHES "^libzar[0-9]+-debug_")
    file(REMOVE ${root}/DEBIAN/shlibs ${root}/DEBIAN/triggers)
  endif()
  if(name MATCHES "^(.*)-dbgsym_")
    file(MAKE_DIRECTORY ${root}/usr/share/doc)
    file(CREATE_LINK ${CMAKE_MATCH_1} ${root}/usr/share/doc/${CMAKE_MATCH_1}-dbgsym SYMBOLIC)
    correct_debug_information(${root})
  endif()
  run(${dpkg_deb} --root-owner-group --build ${root} ${package})
endforeach()
