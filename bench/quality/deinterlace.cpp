// Makes a picture of each field, as the video decoder's output does, from raw pictures to raw pictures.
//
// usage: deinterlace WIDTH HEIGHT FROM TO        4:2:0 of 8 bits, the top field first
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <vector>

#include "filters/decoders/deinterlacer.h"

extern "C" {
#include <libavutil/pixfmt.h>
}

int main(int count, char** words) {
    using namespace vistrame;
    const int width = count == 5 ? std::atoi(words[1]) : 0;
    const int height = count == 5 ? std::atoi(words[2]) : 0;
    if (width <= 0 || height <= 0 || width % 2 != 0 || height % 2 != 0) {
        std::fputs("usage: deinterlace WIDTH HEIGHT FROM TO\n", stderr);
        return 2;
    }
    std::ifstream from(words[3], std::ios::binary);
    std::ofstream to(words[4], std::ios::binary);
    Deinterlacer deinterlacer([&](const Picture& picture) {
        for (std::size_t plane = 0; plane < 3; ++plane) {
            const int half = plane > 0 ? 2 : 1;
            for (int y = 0; y < height / half; ++y) {
                const auto* line = picture.planes.at(plane) + std::ptrdiff_t{y} * picture.strides.at(plane);
                to.write(reinterpret_cast<const char*>(line), width / half);
            }
        }
    });
    const std::size_t luma = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    std::vector<std::uint8_t> bytes(luma * 3 / 2);
    Picture picture;
    picture.format = AV_PIX_FMT_YUV420P;
    picture.width = width;
    picture.height = height;
    picture.interlaced = true;
    picture.planes = {bytes.data(), bytes.data() + luma, bytes.data() + luma * 5 / 4};
    picture.strides = {width, width / 2, width / 2};
    while (from.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()))) {
        deinterlacer.Push(picture, Deinterlacer::Rate::kFields);
    }
    deinterlacer.Drain();
    return to.good() ? 0 : 1;
}
