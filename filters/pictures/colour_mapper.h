#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "filters/pictures/made_picture.h"
#include "filters/pictures/standard_range.h"

namespace vistrame {

// Makes pictures of a wide gamut or a high dynamic range ones that any renderer shows: BT.709 in 8 bits, as
// StandardRange says. All other pictures pass untouched.
//
// A table over Y, U and V holds what becomes of them, interpolated in between (a megabyte, made where
// pictures need it). The chroma stays where it was; what 8 bits cannot hold is dithered.
//
// Threads    one at a time.
// Ownership  keeps one picture.
// Errors     std::bad_alloc. A format that it does not know passes untouched.
class ColourMapper {
public:
    // The picture itself or one of ours, which lasts until the next call.
    const Picture& Map(const Picture& picture);

private:
    // What becomes of a node's colour: Y, U, V in 64ths of an 8-bit step.
    struct Node {
        std::int16_t y, u, v, none;
    };
    struct Job;
    struct Scale;
    class Columns;

    void Begin(const Colours& colours);
    void MakeCell(int corner);
    void MakeColumn(int column);
    template <class Sample>
    void MapBlockRow(const Job& job, int blockRow);

    std::vector<Node> table_; // V, U, Y: the next node of Y lies beside
    struct Made {
        bool column = false; // over this U and V
        bool cell = false;   // and over the three beside it
    };
    std::vector<Made> made_;
    Colours colours_; // of the table, once there is a range
    std::optional<StandardRange> range_;
    MadePicture mapped_;
};

} // namespace vistrame
