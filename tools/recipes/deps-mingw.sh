# shellcheck shell=bash disable=SC2154
# The one prefix a Windows build looks into.
# uses: recipes/googletest-mingw.sh recipes/freetype-mingw.sh recipes/ffmpeg-mingw.sh ../cmake/mingw.cmake lib/freetype.sh
for part in googletest freetype ffmpeg; do
    cp -al "$(cache_path "$part-$preset")/." "$out/"
done
