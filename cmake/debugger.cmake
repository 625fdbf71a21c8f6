# The commands and pretty-printers for gdb. gdb loads a file that is named after the library, from a folder of its own or
# beside the library; that file loads the module.
set(zar_gdb_name libzar.so.${PROJECT_VERSION}-gdb.py)

# In the build folder, for "add-auto-load-safe-path" with the folder of the library.
file(CONFIGURE OUTPUT ${CMAKE_LIBRARY_OUTPUT_DIRECTORY}/${zar_gdb_name} @ONLY CONTENT
"import sys
sys.path.insert(0, '@PROJECT_SOURCE_DIR@/share/gdb')
import zar_gdb
")

# gdb searches its folder for the path of the library, as it is in the whole file system.
set(zar_gdb_folders ${CMAKE_INSTALL_FULL_LIBDIR})
if(ZAR_DEBUG_LIBRARY)
  list(APPEND zar_gdb_folders ${CMAKE_INSTALL_FULL_LIBDIR}/zar/debug)
endif()
foreach(folder ${zar_gdb_folders})
  install(FILES share/gdb/load_zar_gdb.py RENAME ${zar_gdb_name}
    DESTINATION ${CMAKE_INSTALL_DATADIR}/gdb/auto-load${folder} COMPONENT development)
endforeach()
install(FILES share/gdb/zar_gdb.py DESTINATION ${CMAKE_INSTALL_DATADIR}/zar/gdb COMPONENT development)
