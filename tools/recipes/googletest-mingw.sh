# shellcheck shell=bash disable=SC2154
# GoogleTest and GoogleMock for the Windows tests, from the distribution's source package.
# uses: ../cmake/mingw.cmake
doing "GoogleTest: compiling for Windows"
cmake -G Ninja -S /usr/src/googletest -B build -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_TOOLCHAIN_FILE="$repo/cmake/mingw.cmake" -DVISTRAME_CPU="$cpu" \
    -DCMAKE_INSTALL_PREFIX="$out" -DCMAKE_CXX_STANDARD=20
cmake --build build --target install
rm -r "$out/lib/pkgconfig" # holds this build's paths; CMake's files do not
