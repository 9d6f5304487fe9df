# shellcheck shell=bash disable=SC2154
# The same FreeType for the native and the sanitizer builds of the portable code.
# uses: lib/freetype.sh
source "$repo/tools/lib/freetype.sh"
build_freetype
