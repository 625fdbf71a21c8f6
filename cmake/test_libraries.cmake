# ZAR_TESTS: whether the tests are built. A user who only wants the product need not have the libraries of the tests;
# without these the tests are skipped, with a message. A test command that skipped them would pass without testing
# anything, so it requires them.
option(ZAR_UNIT_TESTS "Test the code too, not only what is built and installed of it" ON)
option(ZAR_REQUIRE_TESTS "Stop where the tests would be left out for want of a library" OFF)
option(ZAR_FUZZ "Link the fuzz targets with libFuzzer" OFF)

set(ZAR_TESTS ${BUILD_TESTING})
# The tests of the library alone need none of them.
if(BUILD_TESTING AND ZAR_HOST)
  set(lacking)
  foreach(package GTest rapidcheck)
    find_package(${package} QUIET)
    if(NOT ${package}_FOUND)
      list(APPEND lacking ${package})
    endif()
  endforeach()
  # The modules that tests import are Debian's and belong to its interpreter; another may come before it in PATH.
  if(EXISTS /usr/bin/python3)
    set(Python3_EXECUTABLE /usr/bin/python3)
  endif()
  find_package(Python3 QUIET COMPONENTS Interpreter)
  if(NOT Python3_FOUND)
    list(APPEND lacking Python3)
  endif()
  if(lacking)
    list(JOIN lacking ", " lacking)
    if(ZAR_REQUIRE_TESTS)
      message(FATAL_ERROR "The tests need ${lacking}; scripts/setup test installs what is missing.")
    endif()
    message(NOTICE "-- The tests are left out, since ${lacking} is missing; scripts/setup test brings what they need.")
    set(ZAR_TESTS OFF)
  endif()
endif()
