option(VISTRAME_BUILD_TESTS "Build the tests" ON)
option(VISTRAME_BUILD_BENCH "Build the benchmarks" OFF)

if(VISTRAME_BUILD_TESTS)
  find_package(GTest REQUIRED)
endif()

# vistrame_add_test(NAME [REALTIME|THREADS] SOURCES file... LIBS library... [TIMEOUT seconds])
# One test program per area. Every test of a program runs in one process, one after the other; Windows programs
# need tools/wine-session around ctest. Labels: `unit`; `realtime` for programs that play or wait by the clock, which a
# machine that is busy for a moment may fail; `threads` beside `unit` for what ThreadSanitizer looks at; `live` and `fuzz` are given where those are made.
function(vistrame_add_test name)
  cmake_parse_arguments(arg "REALTIME;THREADS" "TIMEOUT" "SOURCES;LIBS" ${ARGN})
  if(NOT arg_TIMEOUT)
    set(arg_TIMEOUT 120)
  endif()
  add_executable(${name} ${arg_SOURCES})
  target_link_libraries(${name} PRIVATE ${arg_LIBS} GTest::gmock GTest::gtest_main)
  target_compile_options(${name} PRIVATE -O0) # the compiler is the slowest part of a test run; what is tested keeps its own
  add_test(NAME ${name} COMMAND ${name})
  set(label unit)
  if(arg_REALTIME)
    set(label realtime)
  elseif(arg_THREADS)
    list(APPEND label threads)
    set_property(GLOBAL APPEND PROPERTY VISTRAME_THREADS_TESTS ${name})
  endif()
  set_tests_properties(${name} PROPERTIES TIMEOUT ${arg_TIMEOUT} LABELS "${label}")
endfunction()
