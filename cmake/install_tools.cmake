# The component tools of an installation: the command and the stand-ins for a daemon.

# The libraries of the hosts are for these programs, for tests and to start with; they have no stable interface.
set_target_properties(zar-command zar-platform-check PROPERTIES
  INSTALL_RPATH "$ORIGIN/../${zar_host_dir};$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")
set_target_properties(zarplatform zarengine PROPERTIES INSTALL_RPATH "$ORIGIN;$ORIGIN/..")
install(TARGETS zar-command zar-platform-check RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
install(TARGETS zarplatform zarengine EXPORT zarTargets LIBRARY DESTINATION ${zar_host_dir} COMPONENT tools)

# Programs are for developers, policies for users of the command.
install(DIRECTORY examples/embed examples/api DESTINATION ${zar_example_dir} COMPONENT development
  PATTERN .clang-format EXCLUDE)
install(DIRECTORY examples/ DESTINATION ${zar_example_dir} COMPONENT tools FILES_MATCHING PATTERN "*.yaml"
  PATTERN embed EXCLUDE PATTERN api EXCLUDE PATTERN freeradius EXCLUDE PATTERN __pycache__ EXCLUDE)
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
