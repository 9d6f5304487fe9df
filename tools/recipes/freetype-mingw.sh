# shellcheck shell=bash disable=SC2154
# FreeType for the player: static, default modules (PFR among them), none of the optional libraries.
# uses: ../cmake/mingw.cmake lib/freetype.sh
source "$repo/tools/lib/freetype.sh"
build_freetype -DCMAKE_TOOLCHAIN_FILE="$repo/cmake/mingw.cmake" -DVISTRAME_CPU="$cpu"
