# shellcheck shell=bash disable=SC2154
# One configuration of FreeType for both compilers.
build_freetype() {
    source_package freetype
    # The distribution's package keeps the sources packed or plain, by release.
    if [ ! -f src/CMakeLists.txt ]; then
        mkdir src/plain
        tar -xf src/freetype-[0-9]*.tar.* -C src/plain --strip-components=1
        mv src/plain plain && rm -rf src && mv plain src
    fi
    doing "FreeType: compiling"
    cmake -G Ninja -S src -B build -DCMAKE_BUILD_TYPE=Release -DBUILD_SHARED_LIBS=OFF \
        -DCMAKE_INSTALL_PREFIX="$out" -DCMAKE_INSTALL_LIBDIR=lib \
        -DFT_DISABLE_ZLIB=ON -DFT_DISABLE_BZIP2=ON -DFT_DISABLE_PNG=ON -DFT_DISABLE_HARFBUZZ=ON \
        -DFT_DISABLE_BROTLI=ON "$@"
    cmake --build build --target install
    movable_pkgconfig
}

# The entry is renamed after it was made: pkg-config files name their prefix relative to themselves.
movable_pkgconfig() {
    sed -i -e 's|^prefix=.*|prefix=${pcfiledir}/../..|' -e "s|$out|\${prefix}|g" "$out"/lib/pkgconfig/*.pc
}
