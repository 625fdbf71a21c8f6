# The component python of an installation: the package zar for Python, which asks the command, and the example that uses it.
set(zar_python_dir lib/python3/dist-packages)
set(zar_dist_info zar-${PROJECT_VERSION}.dist-info)

install(DIRECTORY python/zar DESTINATION ${zar_python_dir} COMPONENT python
  FILES_MATCHING PATTERN "*.py" PATTERN py.typed PATTERN __pycache__ EXCLUDE PATTERN .mypy_cache EXCLUDE)

# What pip would write: pytest finds the plugin through it.
file(STRINGS python/pyproject.toml zar_entry_point REGEX "^zar = \"zar[.]")
string(REPLACE "\"" "" zar_entry_point "${zar_entry_point}")
file(CONFIGURE OUTPUT ${zar_generated}/${zar_dist_info}/entry_points.txt @ONLY CONTENT "[pytest11]\n@zar_entry_point@\n")
file(CONFIGURE OUTPUT ${zar_generated}/${zar_dist_info}/METADATA @ONLY CONTENT "Metadata-Version: 2.1
Name: zar
Version: @PROJECT_VERSION@
Summary: Policies of the simulator zar, from Python
Requires-Python: >=3.11
")
install(DIRECTORY ${zar_generated}/${zar_dist_info} DESTINATION ${zar_python_dir} COMPONENT python)

install(DIRECTORY examples/freeradius DESTINATION ${zar_example_dir} COMPONENT python
  PATTERN __pycache__ EXCLUDE
  PATTERN detail_to_events PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
