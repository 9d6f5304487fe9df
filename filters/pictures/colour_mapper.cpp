#include "filters/pictures/colour_mapper.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <utility>

#include <emmintrin.h>

extern "C" {
#include <libavutil/pixdesc.h>
}

namespace vistrame {

namespace {

// Cells of the table, as powers of two in a sample's whole range: as many as keep the colours of PQ, the
// steepest, within two steps of CIEDE2000 (bench/quality/colour-chart).
constexpr int kLumaBits = 5;
constexpr int kChromaBits = 6;
constexpr int kLumaNodes = (1 << kLumaBits) + 1;
constexpr int kChromaNodes = (1 << kChromaBits) + 1;
constexpr int kStepBits = 6; // of an 8-bit step, in the table

// In which order sixty-four neighbours go up: thresholds of ordered dithering.
constexpr std::array<std::uint8_t, 64> kDither{
    0,  48, 12, 60, 3,  51, 15, 63, 32, 16, 44, 28, 35, 19, 47, 31, 8,  56, 4,  52, 11, 59,
    7,  55, 40, 24, 36, 20, 43, 27, 39, 23, 2,  50, 14, 62, 1,  49, 13, 61, 34, 18, 46, 30,
    33, 17, 45, 29, 10, 58, 6,  54, 9,  57, 5,  53, 42, 26, 38, 22, 41, 25, 37, 21};

} // namespace

// Where samples of so many bits lie in the table.
struct ColourMapper::Scale {
    explicit Scale(int bits)
        : most((1 << bits) - 1),
          lumaShift(bits - kLumaBits),
          chromaShift(bits - kChromaBits),
          down(kStepBits - 1 + lumaShift) {
        for (std::size_t i = 0; i < dither.size(); ++i) {
            dither[i] = (2 * kDither[i] + 1) << down >> 7;
        }
    }
    // From what Columns::At says.
    [[nodiscard]] std::uint8_t Dithered(int value, int line, int at) const {
        const int* const threshold = dither.data() + std::ptrdiff_t{line & 7} * 8 + (at & 7);
        return static_cast<std::uint8_t>(std::min((value + *threshold) >> down, 255));
    }

    int most;
    int lumaShift, chromaShift; // from a sample to its cell
    int down;                   // from what is interpolated to an 8-bit step
    std::array<int, 64> dither{};
};

// The table around one U and V: what becomes of every Y there.
class ColourMapper::Columns {
public:
    Columns(const Node* nearest, int u, int v, const Scale& scale)
        : nearest_(nearest), shift_(scale.lumaShift), cell_(1 << scale.lumaShift) {
        const int cell = 1 << scale.chromaShift;
        const int partU = u & (cell - 1);
        const int partV = v & (cell - 1);
        const auto weight = [&](int ofU, int ofV) {
            const int whole = (ofU * ofV) << (15 - 2 * scale.chromaShift);
            return _mm_set1_epi16(static_cast<std::int16_t>(std::min(whole, 32767)));
        };
        weights_[0] = weight(cell - partU, cell - partV);
        weights_[1] = weight(partU, cell - partV);
        weights_[2] = weight(cell - partU, partV);
        weights_[3] = weight(partU, partV);
    }

    // Y, U and V, each with `Scale::down` bits behind the point.
    __m128i At(int y) {
        if (const int node = y >> shift_; node != node_) {
            node_ = node;
            Fetch();
        }
        const int part = y & (cell_ - 1);
        return _mm_madd_epi16(pairs_, _mm_set1_epi32((part << 16) + cell_ - part));
    }

private:
    void Fetch() {
        const auto corner = [this](int column, std::size_t index) {
            const Node* const two = nearest_ + std::ptrdiff_t{column} * kLumaNodes + node_;
            return _mm_mulhi_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(two)), weights_[index]);
        };
        __m128i sum = _mm_add_epi16(_mm_add_epi16(corner(0, 0), corner(1, 1)),
                                    _mm_add_epi16(corner(kChromaNodes, 2), corner(kChromaNodes + 1, 3)));
        sum = _mm_add_epi16(sum, _mm_set1_epi16(2)); // what four roundings down take, on average
        pairs_ = _mm_unpacklo_epi16(sum, _mm_srli_si128(sum, 8));
    }

    const Node* const nearest_;
    const int shift_, cell_;
    __m128i weights_[4];
    int node_ = -1;
    __m128i pairs_{}; // Y, U, V at the node and at the next one, in turn; in halves of the table's steps
};

struct ColourMapper::Job {
    const Picture& from;
    const MadePicture& to;
    int bits;
    int across, down; // a block: pixels that share their chroma, as powers of two

    template <class Sample>
    [[nodiscard]] const Sample* Line(std::size_t plane, int line) const {
        return reinterpret_cast<const Sample*>(from.planes[plane] +
                                               std::ptrdiff_t{line} * from.strides[plane]);
    }
};

// The table's columns over Y at the four corners of a cell of U and V. All of them at once would hold the
// first picture up by some 50 ms; pictures have few of them.
void ColourMapper::MakeCell(int corner) {
    for (const int other : {0, 1, kChromaNodes, kChromaNodes + 1}) {
        const int column = corner + other;
        if (!std::exchange(made_[static_cast<std::size_t>(column)].column, true)) {
            MakeColumn(column);
        }
    }
    made_[static_cast<std::size_t>(corner)].cell = true;
}

void ColourMapper::MakeColumn(int column) {
    const bool full = colours_.fullRange;
    const auto steps = [](double value, double scale, double zero) {
        return static_cast<std::int16_t>(
            std::lround(std::clamp(zero + scale * value, 0.0, 255.0) * (1 << kStepBits)));
    };
    const auto chroma = [&](int node) {
        return (256.0 * node / (kChromaNodes - 1) - 128) / (full ? 255 : 224);
    };
    Node* node = table_.data() + std::ptrdiff_t{column} * kLumaNodes;
    for (int y = 0; y < kLumaNodes; ++y, ++node) {
        const Triple yuv = range_->Map({(256.0 * y / (kLumaNodes - 1) - (full ? 0 : 16)) / (full ? 255 : 219),
                                        chroma(column % kChromaNodes), chroma(column / kChromaNodes)});
        *node = {steps(yuv[0], 219, 16), steps(yuv[1], 224, 128), steps(yuv[2], 224, 128), 0};
    }
}

void ColourMapper::Begin(const Colours& colours) {
    range_.reset(); // in case there is no memory
    constexpr std::size_t kColumns = static_cast<std::size_t>(kChromaNodes) * kChromaNodes;
    table_.resize(kColumns * kLumaNodes);
    made_.assign(kColumns, {});
    colours_ = colours;
    range_.emplace(colours);
}

// The blocks of a line of chroma.
template <class Sample>
void ColourMapper::MapBlockRow(const Job& job, int blockRow) {
    const Scale scale(job.bits);
    const auto* const us = job.Line<Sample>(1, blockRow);
    const auto* const vs = job.Line<Sample>(2, blockRow);
    std::uint8_t* const madeU = job.to.Line(1, blockRow);
    std::uint8_t* const madeV = job.to.Line(2, blockRow);
    const int firstLine = blockRow << job.down;
    const int endLine = std::min(firstLine + (1 << job.down), job.from.height);
    for (int block = 0, x = 0; x < job.from.width; ++block, x += 1 << job.across) {
        const int u = std::min<int>(us[block], scale.most);
        const int v = std::min<int>(vs[block], scale.most);
        const int corner = (v >> scale.chromaShift) * kChromaNodes + (u >> scale.chromaShift);
        if (!made_[static_cast<std::size_t>(corner)].cell) {
            MakeCell(corner);
        }
        Columns columns(table_.data() + std::ptrdiff_t{corner} * kLumaNodes, u, v, scale);
        const int endAt = std::min(x + (1 << job.across), job.from.width);
        int sum = 0;
        for (int line = firstLine; line < endLine; ++line) {
            const auto* const lumas = job.Line<Sample>(0, line);
            std::uint8_t* const made = job.to.Line(0, line);
            for (int at = x; at < endAt; ++at) {
                const int y = std::min<int>(lumas[at], scale.most);
                sum += y;
                made[at] = scale.Dithered(_mm_cvtsi128_si32(columns.At(y)), line, at);
            }
        }
        const __m128i mean = columns.At(sum / ((endAt - x) * (endLine - firstLine)));
        madeU[block] = scale.Dithered(_mm_cvtsi128_si32(_mm_srli_si128(mean, 4)), blockRow, block);
        madeV[block] = scale.Dithered(_mm_cvtsi128_si32(_mm_srli_si128(mean, 8)), blockRow + 3, block + 5);
    }
}

const Picture& ColourMapper::Map(const Picture& picture) {
    if (!StandardRange::IsNeededFor(picture.colours) ||
        !mapped_.Place(picture, EightBitFormat(picture.format))) {
        return picture;
    }
    mapped_.Get().colours = {AVCOL_SPC_BT709, false, AVCOL_PRI_BT709, AVCOL_TRC_BT709, 0};
    if (!range_ || colours_ != picture.colours) {
        Begin(picture.colours);
    }
    const AVPixFmtDescriptor& format = *av_pix_fmt_desc_get(static_cast<AVPixelFormat>(picture.format));
    const Job job{picture, mapped_, format.comp[0].depth, format.log2_chroma_w, format.log2_chroma_h};
    const int rows = (picture.height + (1 << job.down) - 1) >> job.down;
    for (int row = 0; row < rows; ++row) {
        if (job.bits > 8) {
            MapBlockRow<std::uint16_t>(job, row);
        } else {
            MapBlockRow<std::uint8_t>(job, row);
        }
    }
    return mapped_.Get();
}

} // namespace vistrame
