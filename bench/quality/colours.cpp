// What becomes of a chart of colours between decoder and renderer.
//
// usage: colours mpeg2|h264|hevc STREAM RGB32|NV12|YV12|YUY2
//
// STREAM is an elementary stream whose pictures are all the same 25 x 5 patches. For each patch, row by
// row, red, green and blue of 0 to 255 as a renderer of this layout shows them that does what the media
// type says, or what is usual for the size where it says nothing.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "filters/decoders/video_decoder.h"
#include "filters/pictures/colour_mapper.h"
#include "filters/pictures/picture_types.h"
#include "filters/pictures/picture_writer.h"

extern "C" {
#include <libavutil/pixfmt.h>
}

namespace vistrame {
namespace {

constexpr int kColumns = 25;
constexpr int kRows = 5;

struct Triple {
    double a = 0, b = 0, c = 0; // Y, U, V or R, G, B
};

Triple At(const PictureType& type, const std::vector<std::uint8_t>& bytes, int x, int y) {
    const PicturePlanes planes = type.PlanesIn(const_cast<std::uint8_t*>(bytes.data()));
    const auto byte = [&](std::size_t plane, int line, int at) -> double {
        return planes.data.at(plane)[std::ptrdiff_t{line} * planes.strides.at(plane) + at];
    };
    switch (type.pixels.format) {
        case AV_PIX_FMT_NV12:
            return {byte(0, y, x), byte(1, y / 2, x / 2 * 2), byte(1, y / 2, x / 2 * 2 + 1)};
        case AV_PIX_FMT_YUV420P:
            return {byte(0, y, x), byte(1, y / 2, x / 2), byte(2, y / 2, x / 2)};
        case AV_PIX_FMT_YUYV422:
            return {byte(0, y, 2 * x), byte(0, y, x / 2 * 4 + 1), byte(0, y, x / 2 * 4 + 3)};
        default:
            return {byte(0, y, 4 * x + 2), byte(0, y, 4 * x + 1), byte(0, y, 4 * x)};
    }
}

Triple AsShown(const PictureType& type, const Triple& yuv) {
    if (type.layout->compression == BI_RGB) {
        return yuv;
    }
    int matrix = type.colours.matrix;
    if (matrix == AVCOL_SPC_UNSPECIFIED) {
        matrix = type.height > 576 ? AVCOL_SPC_BT709 : AVCOL_SPC_SMPTE170M;
    }
    const double red = matrix == AVCOL_SPC_BT709 ? 0.2126 : matrix == AVCOL_SPC_BT2020_NCL ? 0.2627 : 0.299;
    const double blue = matrix == AVCOL_SPC_BT709 ? 0.0722 : matrix == AVCOL_SPC_BT2020_NCL ? 0.0593 : 0.114;
    const double luma = (yuv.a - 16) * 255 / 219;
    const double u = (yuv.b - 128) * 255 / 112 * (1 - blue);
    const double v = (yuv.c - 128) * 255 / 112 * (1 - red);
    const auto kept = [](double value) { return std::clamp(value, 0.0, 255.0); };
    return {kept(luma + v), kept(luma - (u * blue + v * red) / (1 - red - blue)), kept(luma + u)};
}

class Chart final : public PictureSink {
public:
    explicit Chart(const SampleLayout& layout) : layout_(layout) {}

    void OnPicture(const Picture& decoded) override {
        const Picture& picture = mapper_.Map(decoded);
        const auto read = ReadPictureType(MakePictureType(layout_, picture.width, picture.height,
                                                          picture.aspect, picture.duration, FORMAT_VideoInfo2,
                                                          {.matrix = picture.colours.matrix}));
        if (!read || !sums_.empty()) {
            return;
        }
        std::vector<std::uint8_t> bytes(static_cast<std::size_t>(read->Bytes()));
        if (writer_.Write(picture, *read, PictureWriter::Fit::kFill, bytes.data(), read->Bytes())) {
            Look(*read, bytes);
        }
    }

    bool Print() const {
        for (const Triple& sum : sums_) {
            std::printf("%.2f %.2f %.2f\n", sum.a, sum.b, sum.c);
        }
        return !sums_.empty();
    }

private:
    void Look(const PictureType& type, const std::vector<std::uint8_t>& bytes) {
        for (int patch = 0; patch < kColumns * kRows; ++patch) {
            Triple sum;
            int count = 0;
            // The middle half of it, each way.
            const auto from = [](int index, int size, int of) { return (4 * index + 1) * size / of / 4; };
            const auto to = [](int index, int size, int of) { return (4 * index + 3) * size / of / 4; };
            const int column = patch % kColumns;
            const int row = patch / kColumns;
            for (int y = from(row, type.height, kRows); y < to(row, type.height, kRows); ++y) {
                for (int x = from(column, type.width, kColumns); x < to(column, type.width, kColumns); ++x) {
                    const Triple shown = AsShown(type, At(type, bytes, x, y));
                    sum = {sum.a + shown.a, sum.b + shown.b, sum.c + shown.c};
                    ++count;
                }
            }
            sums_.push_back({sum.a / count, sum.b / count, sum.c / count});
        }
    }

    const SampleLayout& layout_;
    ColourMapper mapper_;
    PictureWriter writer_;
    std::vector<Triple> sums_;
};

struct Named {
    const char* name;
    const GUID* layout;
};
const Named kLayouts[] = {{"RGB32", &MEDIASUBTYPE_RGB32},
                          {"NV12", &MEDIASUBTYPE_NV12},
                          {"YV12", &MEDIASUBTYPE_YV12},
                          {"YUY2", &MEDIASUBTYPE_YUY2}};

} // namespace
} // namespace vistrame

int main(int count, char** words) {
    using namespace vistrame;
    const SampleLayout* layout = nullptr;
    for (const Named& row : kLayouts) {
        layout = count == 4 && std::strcmp(words[3], row.name) == 0 ? FindPixelLayout(*row.layout) : layout;
    }
    if (layout == nullptr) {
        std::fputs("usage: colours mpeg2|h264|hevc STREAM RGB32|NV12|YV12|YUY2\n", stderr);
        return 2;
    }
    const std::string coding = words[1];
    Chart chart(*layout);
    const auto decoder = MakeVideoDecoder(coding == "hevc"   ? Coding::kHevc
                                          : coding == "h264" ? Coding::kH264
                                                             : Coding::kMpeg2Video,
                                          chart);
    std::ifstream file(words[2], std::ios::binary);
    const std::vector<std::uint8_t> stream{std::istreambuf_iterator<char>(file), {}};
    decoder->Decode({stream.data(), stream.size()}, 0);
    decoder->Drain();
    return chart.Print() ? 0 : 1;
}
