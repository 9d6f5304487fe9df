# shellcheck shell=bash disable=SC2154
# FFmpeg's libraries for the companion filters: static, LGPL 2.1 or later parts only (neither --enable-gpl nor
# --enable-version3), nothing but the decoders the filters offer and the deinterlacer.
# uses: lib/freetype.sh
source "$repo/tools/lib/freetype.sh"
source_package ffmpeg
decoders=mpeg1video,mpeg2video,h264,hevc,mp1,mp1float,mp2,mp2float,mp3,mp3float,ac3,ac3_fixed,eac3,aac,aac_fixed,aac_latm
parsers=mpegvideo,mpegaudio,h264,hevc,ac3,aac,aac_latm
bsfs=h264_mp4toannexb,hevc_mp4toannexb,extract_extradata,aac_adtstoasc,null

# In 32 bits FFmpeg has no assembler for most of HEVC: motion compensation, large transforms and luma deblocking are
# C, and its configuration switches the vectoriser off. So that C is vectorised, for this one decoder, and compiled
# a second time for processors with AVX2, which hevcdsp_choice.c asks for. -mstackrealign because Windows' 32-bit stacks
# are aligned to 4 bytes, and not every function of FFmpeg that a caller reaches aligns its own; the flags are those of
# cmake/windows_image.cmake. Blocks that do not move are copied in lines of 4 to 128 bytes, for which the string instructions that
# the compiler takes cost more than the copying; left alone it tunes for the first i686. What it brings: docs/performance.md.
vectorised_hevc() {
    cat >src/libavcodec/x86/hevcdsp_lines.h <<'END'
#include <stddef.h>
#include <string.h>
static inline void *copy_line(void *to, const void *from, size_t bytes)
{
    char *t = to;
    const char *f = from;
    for (; bytes >= 16; bytes -= 16, t += 16, f += 16)
        __builtin_memcpy(t, f, 16);
    for (; bytes >= 4; bytes -= 4, t += 4, f += 4)
        __builtin_memcpy(t, f, 4);
    for (; bytes > 0; --bytes)
        *t++ = *f++;
    return to;
}
#define memcpy copy_line
END
    cat >src/libavcodec/x86/hevcdsp_avx2.c <<'END'
#define ff_hevc_dsp_init ff_hevc_dsp_init_avx2
#define ff_hevc_epel_filters ff_hevc_epel_filters_avx2
#define ff_hevc_qpel_filters ff_hevc_qpel_filters_avx2
#include "libavcodec/hevcdsp.c"
END
    cat >src/libavcodec/x86/hevcdsp_choice.c <<'END'
#include "libavutil/cpu.h"
#include "libavcodec/hevcdsp.h"
void ff_hevc_dsp_init_sse2(HEVCDSPContext *functions, int bit_depth);
void ff_hevc_dsp_init_avx2(HEVCDSPContext *functions, int bit_depth);
void ff_hevc_dsp_init(HEVCDSPContext *functions, int bit_depth)
{
    if (av_get_cpu_flags() & AV_CPU_FLAG_AVX2)
        ff_hevc_dsp_init_avx2(functions, bit_depth);
    else
        ff_hevc_dsp_init_sse2(functions, bit_depth);
}
END
    cat >>src/libavcodec/x86/Makefile <<'END'

OBJS-$(CONFIG_HEVC_DECODER) += x86/hevcdsp_avx2.o x86/hevcdsp_choice.o
libavcodec/hevcdsp.o: CFLAGS += -ftree-vectorize -mtune=generic -include libavcodec/x86/hevcdsp_lines.h -Dff_hevc_dsp_init=ff_hevc_dsp_init_sse2
libavcodec/x86/hevcdsp_avx2.o: CFLAGS += -ftree-vectorize -mtune=generic -include libavcodec/x86/hevcdsp_lines.h -mavx2
libavcodec/hevcpred.o: CFLAGS += -ftree-vectorize -mtune=generic
END
}

machine=(--arch=x86_64)
if [ "$cpu" = i686 ]; then
    machine=(--arch=x86 --cpu=i686 --extra-cflags="-msse2 -mfpmath=sse -mstackrealign")
    vectorised_hevc
fi
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
