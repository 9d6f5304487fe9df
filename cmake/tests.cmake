option(VISTRAME_BUILD_TESTS "Build the tests" ON)
option(VISTRAME_BUILD_BENCH "Build the benchmarks" OFF)

if(VISTRAME_BUILD_TESTS)
  find_package(GTest REQUIRED)
endif()

# vistrame_add_test(NAME SOURCES file... LIBS library... [TIMEOUT seconds])
# One test program per area. Every test of a program runs in one process, one after the other; Windows programs
# need tools/wine-session around ctest.
function(vistrame_add_test name)
  cmake_parse_arguments(arg "" "TIMEOUT" "SOURCES;LIBS" ${ARGN})
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 120)
  endif()
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LIBS} GTest::gmock GTest::gtest_main)
  target_compile_options(${name} PRIVATE -O0) # the compiler is the slowest part of a test run; what is tested keeps its own
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES TIMEOUT ${arg_TIMEOUT})
endfunction()
