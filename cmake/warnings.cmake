# One strictness for every target of this repository; what stands under Dependencies is included as SYSTEM.
add_compile_options(-Wall -Wextra -Wpedantic -Werror)
if(MINGW)
  # The platform's headers reach interfaces through these; both are how COM is spelled, not mistakes of ours.
  add_compile_options(-Wno-unknown-pragmas -Wno-attributes)
endif()

option(VISTRAME_SANITIZE "Build with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)
if(VISTRAME_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()
