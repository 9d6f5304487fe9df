#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tests/filters/filter_fakes.h"

namespace vistrame::test {

// One unit of an elementary stream as a demultiplexer gives it out: a PES payload with its time.
struct StreamPiece {
    std::vector<std::uint8_t> data;
    std::optional<std::int64_t> time; // 100 ns, the first of the stream at 0
    bool discontinuity = false;
};

// The whole file; fails the test when it is not there.
Bytes ReadTransportStream(const std::string& file);

// The pieces of the stream's first video or audio; fails the test when the file is not there or holds none.
// Units: every `lossPerMille`-th of a thousand transport packets is left out at random, from a fixed seed.
std::vector<StreamPiece> ReadStream(const std::string& file, bool video, int lossPerMille = 0);

// A decoder between a source and a sink.
template <class Decoder, class Sink>
struct DecoderFixture {
    TestGraph graph;
    SourceFilter* source = graph.Add(MakeObject<SourceFilter>(), L"source");
    Decoder* decoder = graph.Add(MakeObject<Decoder>(), L"decoder");
    Sink* sink = graph.Add(MakeObject<Sink>(), L"sink");

    void Connect(const MediaType& type) {
        source->offered = {type};
        EXPECT_EQ(graph.Connect(&source->Output(), &decoder->Input()), S_OK);
        EXPECT_EQ(graph.Connect(&decoder->Output(), &sink->Input()), S_OK);
    }
    void Send(const std::vector<StreamPiece>& pieces, REFERENCE_TIME offset = 0) {
        for (const StreamPiece& piece : pieces) {
            const auto time = piece.time ? std::optional(*piece.time + offset) : std::nullopt;
            ASSERT_EQ(source->Send(piece.data, time, piece.discontinuity), S_OK);
        }
    }
};

} // namespace vistrame::test
