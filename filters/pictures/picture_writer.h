#pragma once

#include <vector>

#include "filters/pictures/made_picture.h"
#include "filters/pictures/picture_buffer.h"

struct SwsContext;

namespace vistrame {

// Writes pictures into a renderer's buffer: another pixel layout, another size, both or neither; YUV with
// the matrix that the buffer's colours name. What 8 bits cannot hold is dithered.
//
// Units      pixels.
// Threads    one at a time.
// Ownership  borrows picture and buffer for the call; keeps the scaler for pictures of the same kind.
// Errors     false when the scaler does not know the format or the buffer is too small; nothing is written
//            then. Nothing is ever written outside the buffer, and every pixel of the picture is.
class PictureWriter {
public:
    // How a picture fills a buffer of another shape.
    enum class Fit {
        kFill,      // the buffer's aspect follows the picture's
        kLetterbox, // the buffer's aspect is fixed: black at two sides
    };

    PictureWriter();
    PictureWriter(const PictureWriter&) = delete;
    PictureWriter& operator=(const PictureWriter&) = delete;
    ~PictureWriter();

    // The matrix that a picture of this size has where nothing is said of it.
    static int UsualMatrix(int width, int height);

    static bool FillBlack(const PictureBuffer& target, std::uint8_t* buffer, long bytes);
    bool Write(const Picture& picture, const PictureBuffer& target, Fit fit, std::uint8_t* buffer,
               long bytes);

private:
    struct Area {
        int x, y, width, height;
        bool operator==(const Area&) const = default;
    };
    static Area FitInto(const PictureBuffer& target, Aspect aspect);
    static bool FitsScalerSteps(const PictureBuffer& target, int width);
    // What the scaler is set up for.
    struct Job {
        int width, height, format, matrix, fullRange, chromaPlace;
        int targetWidth, targetHeight, targetFormat, targetMatrix;
        bool operator==(const Job&) const = default;
    };
    bool Prepare(const Job& job);
    // The picture itself, or what is made of it where more than 8 bits would be cut off.
    const Picture& Dithered(const Picture& picture, const PictureBuffer& target);
    bool WriteArea(const Picture& picture, const PictureBuffer& target, const Area& area,
                   const PicturePlanes& planes);

    SwsContext* scaler_ = nullptr;
    Job prepared_{};
    SwsContext* ditherer_ = nullptr;
    MadePicture dithered_;
    std::vector<std::uint8_t> roomy_; // an area on its way, where the scaler cannot write it in place
};

} // namespace vistrame
