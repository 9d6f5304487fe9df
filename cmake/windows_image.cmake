# How every Windows image of this repository is linked: nothing but the system's DLLs, relocatable and
# non-executable data, and 4 GB of address space where the system grants it, since each rebuilt graph keeps an 8 MB
# surface for the life of the process.
# Without the last one this compiler's std::recursive_mutex is never destroyed: each that two threads ever wanted at
# the same time would keep an event until the process ends, some of them for every graph.
add_compile_definitions(WINVER=0x0601 _WIN32_WINNT=0x0601 NOMINMAX WIN32_LEAN_AND_MEAN
  _GTHREAD_USE_RECURSIVE_MUTEX_INIT_FUNC)
add_link_options(-static -Wl,--dynamicbase,--nxcompat)
if(CMAKE_SYSTEM_PROCESSOR STREQUAL "i686")
  add_compile_options(-msse2 -mfpmath=sse -mstackrealign)
  add_link_options(-Wl,--large-address-aware)
endif()
