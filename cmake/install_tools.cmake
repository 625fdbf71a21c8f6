# The component tools of an installation: the command and the stand-ins for a daemon.

# The libraries of the hosts are only for these programs and for tests; they have no stable interface.
set_target_properties(zar-command zar-platform-check PROPERTIES
  INSTALL_RPATH "$ORIGIN/../${zar_host_dir};$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
set_target_properties(zarplatform zarengine PROPERTIES INSTALL_RPATH "$ORIGIN;$ORIGIN/..")
install(TARGETS zar-command zar-platform-check RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
install(TARGETS zarplatform zarengine LIBRARY DESTINATION ${zar_host_dir} COMPONENT tools)

install(DIRECTORY examples/ DESTINATION ${zar_example_dir} COMPONENT tools
  PATTERN CMakeLists.txt EXCLUDE PATTERN .clang-format EXCLUDE)
# The policy files contain the path of their schema for editors, which changes once both are installed.
file(RELATIVE_PATH zar_schema_from_examples
  ${CMAKE_INSTALL_FULL_DOCDIR}/examples ${CMAKE_INSTALL_FULL_DATADIR}/zar/schema/policy.json)
install(CODE "file(GLOB files \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${zar_example_dir}/*.yaml\")
foreach(file IN LISTS files)
  file(READ \"\${file}\" text)
  string(REPLACE \"../share/schema/policy.json\" \"${zar_schema_from_examples}\" text \"\${text}\")
  file(WRITE \"\${file}\" \"\${text}\")
endforeach()" COMPONENT tools)

install(DIRECTORY share/schema DESTINATION ${CMAKE_INSTALL_DATADIR}/zar COMPONENT tools)
install(FILES share/completions/zar.bash
  DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME zar COMPONENT tools)
install(FILES share/completions/_zar DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT tools)
