#include "tests/filters/decoders/picture_sink.h"

#include <algorithm>
#include <cstdlib>

namespace vistrame::test {

bool IsNear(Rgb a, Rgb b, int tolerance) {
    return std::abs(a.r - b.r) <= tolerance && std::abs(a.g - b.g) <= tolerance &&
           std::abs(a.b - b.b) <= tolerance;
}

namespace {

// An RGB32 buffer as it should appear.
struct PictureView {
    const std::uint8_t* data;
    int width;
    int height;
    int stride; // pixels
    bool bottomUp;

    Rgb At(int x, int y) const {
        const std::uint8_t* pixel =
            data + (static_cast<std::ptrdiff_t>(bottomUp ? height - 1 - y : y) * stride + x) * 4;
        return {pixel[2], pixel[1], pixel[0]};
    }
    // Left edge of the white bar in this line; -1 without one.
    int BarEdge(int y) const {
        for (int x = 0; x < width; ++x) {
            if (IsNear(At(x, y), {255, 255, 255}, 104)) {
                return x;
            }
        }
        return -1;
    }
    // Lines of the bar whose edge stands off from both neighbours'.
    int CombedLines() const {
        int combed = 0;
        for (int y = height * 13 / 16; y < height * 15 / 16; ++y) {
            const int own = BarEdge(y);
            combed += std::abs(own - BarEdge(y - 1)) > 3 && std::abs(own - BarEdge(y + 1)) > 3 ? 1 : 0;
        }
        return combed;
    }
    bool HasColumns() const {
        int x = -width / 6;
        return std::ranges::all_of(
            kColumns, [&](Rgb colour) { return IsNear(At(x += width / 3, height / 2), colour); });
    }
};

} // namespace

PictureSinkFilter::PictureSinkFilter() {
    layOut = [this](VIDEOINFOHEADER2& format) {
        const bool change = padding != 0 && format.bmiHeader.biWidth == format.rcTarget.right;
        format.bmiHeader.biWidth += change ? padding : 0;
        return change;
    };
    check = [this](const MediaType& type) {
        const auto picture = ReadPictureType(type);
        const auto now = Input().IsConnected() ? ReadPictureType(Input().Type()) : std::nullopt;
        return picture && type->subtype == MEDIASUBTYPE_RGB32 && type->formattype == FORMAT_VideoInfo2 &&
                       (!now || acceptsAspect || now->aspect == picture->aspect)
                   ? S_OK
                   : VFW_E_TYPE_NOT_ACCEPTED;
    };
}

void PictureSinkFilter::Look(ByteSpan data, Sample& sample) {
    const auto type = ReadPictureType(Input().Type());
    ASSERT_TRUE(type.has_value());
    ASSERT_EQ(data.size(), static_cast<std::size_t>(type->Bytes()));
    EXPECT_EQ(type->stride - type->width, padding);
    const PictureView view{data.data(), type->width, type->height, type->stride, !type->topDown};
    const std::lock_guard lock(lock_);
    pictures_.push_back({sample, type->width, type->height, type->aspect, view.HasColumns(),
                         view.BarEdge(view.height * 7 / 8), view.CombedLines(), view.At(view.width / 2, 1),
                         view.At(1, view.height / 2)});
}

std::vector<SeenPicture> PictureSinkFilter::Pictures() const {
    const std::lock_guard lock(lock_);
    return pictures_;
}

void PictureSinkFilter::AwaitWarmUp() {
    EXPECT_TRUE(Await(1));
    Forget();
    const std::lock_guard lock(lock_);
    ASSERT_EQ(pictures_.size(), 1u);
    EXPECT_FALSE(pictures_[0].time.has_value());
    EXPECT_TRUE(IsNear(pictures_[0].top, kBlack, 0) && IsNear(pictures_[0].left, kBlack, 0));
    pictures_.clear();
}

} // namespace vistrame::test
