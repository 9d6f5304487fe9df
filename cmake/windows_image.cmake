# How every Windows image of this repository is linked: nothing but the system's DLLs, relocatable and
# non-executable data, and 4 GB of address space where the system grants it, since each rebuilt graph keeps an
# 8 MB surface for the life of the process. Without the last definition this compiler's std::recursive_mutex
# is never destroyed: each that two threads ever wanted at the same time would keep an event until the process
# ends, some of them for every graph.

# The oldest Windows the images load on, as its version number: 7. The headers offer nothing newer, and a
# system that is older says so instead of looking for functions that it lacks.
set(VISTRAME_WINDOWS_MAJOR 6)
set(VISTRAME_WINDOWS_MINOR 1)
set(winver 0x0${VISTRAME_WINDOWS_MAJOR}0${VISTRAME_WINDOWS_MINOR})
add_compile_definitions(WINVER=${winver} _WIN32_WINNT=${winver} NOMINMAX WIN32_LEAN_AND_MEAN
  _GTHREAD_USE_RECURSIVE_MUTEX_INIT_FUNC)
set(version_options "")
foreach(of os subsystem)
  string(APPEND version_options ",--major-${of}-version=${VISTRAME_WINDOWS_MAJOR}")
  string(APPEND version_options ",--minor-${of}-version=${VISTRAME_WINDOWS_MINOR}")
endforeach()
# The same sources make the same bytes, in whatever folder and whenever they are built.
add_compile_options("$<$<COMPILE_LANGUAGE:C,CXX>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}=.>")
# Pages in the file as they are in memory: Wine maps such an image and reads what is used, while another is read
# whole at the start, debug information included, and is each process's own.
add_link_options(-static -Wl,--dynamicbase,--nxcompat,--no-insert-timestamp,--file-alignment=4096${version_options})
if(CMAKE_SYSTEM_PROCESSOR STREQUAL "i686")
  add_compile_options(-msse2 -mfpmath=sse -mstackrealign)
  add_link_options(-Wl,--large-address-aware)
endif()
