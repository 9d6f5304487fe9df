# shellcheck shell=bash disable=SC2154
# FFmpeg's libraries for the companion filters: static, LGPL 2.1 or later parts only (neither --enable-gpl nor
# --enable-version3), nothing but the decoders the filters offer and the deinterlacer.
# uses: lib/freetype.sh
source "$repo/tools/lib/freetype.sh"
source_package ffmpeg
decoders=mpeg1video,mpeg2video,h264,hevc,mp1,mp1float,mp2,mp2float,mp3,mp3float,ac3,ac3_fixed,eac3,aac,aac_fixed,aac_latm
parsers=mpegvideo,mpegaudio,h264,hevc,ac3,aac,aac_latm
bsfs=h264_mp4toannexb,hevc_mp4toannexb,extract_extradata,aac_adtstoasc,null
machine=(--arch=x86_64)
[ "$cpu" != i686 ] || machine=(--arch=x86 --cpu=i686)
doing "FFmpeg: configuring"
mkdir build
cd build
../src/configure --prefix=/usr/local --enable-cross-compile --cross-prefix="$cpu-w64-mingw32-" \
    --cc="$cpu-w64-mingw32-gcc-posix" --cxx="$cpu-w64-mingw32-g++-posix" \
    "${machine[@]}" --target-os=mingw32 --enable-static --disable-shared --disable-debug \
    --disable-everything --disable-programs --disable-doc --disable-network --disable-avformat \
    --disable-avdevice --disable-autodetect --disable-pthreads --enable-w32threads \
    --enable-decoder="$decoders" --enable-parser="$parsers" --enable-bsf="$bsfs" --enable-filter=bwdif
grep -q 'FFMPEG_LICENSE "LGPL version 2.1 or later"' config.h || die "FFmpeg's configuration is not LGPL 2.1"
doing "FFmpeg: compiling, about a minute on two cores"
make -j"$(nproc)"
# Not the cache's path: the configuration is a string inside the libraries, and goes where they go.
make install DESTDIR="$work/stage"
cp -a "$work/stage/usr/local/." "$out/"
movable_pkgconfig
