# One strictness for every target of this repository; what stands under Dependencies is included as SYSTEM.
add_compile_options(-Wall -Wextra -Wpedantic -Werror)
if(MINGW)
  # The platform's headers reach interfaces through these; both are how COM is spelled, not mistakes of ours.
  add_compile_options(-Wno-unknown-pragmas -Wno-attributes)
endif()

# Everything is built and linked under these; the fuzzers are there where "address" is one of them.
set(VISTRAME_SANITIZE "" CACHE STRING "Sanitizers: address,undefined or thread; empty for none")
if(VISTRAME_SANITIZE)
  add_compile_options(-fsanitize=${VISTRAME_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${VISTRAME_SANITIZE})
endif()
set(VISTRAME_FUZZ OFF)
if(VISTRAME_SANITIZE MATCHES "address")
  set(VISTRAME_FUZZ ON)
  add_compile_options(-fsanitize=fuzzer-no-link) # so that the fuzzers see every branch
endif()
