// What a filter graph looks like at one moment, as plain data.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <windows.h>
#include <dshow.h>

#include "graphview/sample_counts.h"

namespace vistrame {

// Texts are UTF-8.
struct PinRecord {
    struct Place {
        std::size_t filter;
        std::size_t pin;
    };

    std::string name;
    bool output = false;
    std::optional<Place> peer;            // where it is connected
    std::string type;                     // of the connection, in words
    std::string allocator;                // buffers that the connection agreed on; an input pin's
    std::optional<std::uint64_t> samples; // what an input pin was given; absent where that cannot be seen
};

struct FilterRecord {
    std::string name; // in the graph
    std::string classId;
    std::string state;
    bool clock = false; // the graph follows its clock
    std::vector<PinRecord> pins;
};

using GraphRecord = std::vector<FilterRecord>; // in the direction of the stream

GraphRecord RecordGraph(IGraphBuilder& graph, const SampleCounts& counts);

} // namespace vistrame
