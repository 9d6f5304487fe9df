# shellcheck shell=bash disable=SC2154
# The one prefix the Windows build looks into.
# uses: recipes/googletest-mingw32.sh recipes/freetype-mingw32.sh recipes/ffmpeg-mingw32.sh recipes/mingw32.cmake lib/freetype.sh
for part in googletest-mingw32 freetype-mingw32 ffmpeg-mingw32; do
    cp -al "$(cache_path "$part")/." "$out/"
done
