// How many samples each input pin of a graph is given, seen without a filter of our own in the graph: the
// calls of IMemInputPin are intercepted where the objects' classes keep their methods.
//
// Threads    Watch from the thread that owns the graph, before data flows; samples are counted on any thread.
// Ownership  the pins are not referenced: they are only told apart. The interception stays for the life of
//            the process, as do the modules that are intercepted.
#pragma once

#include <cstdint>
#include <optional>

#include <windows.h>
#include <dshow.h>

namespace vistrame {

class SampleCounts {
public:
    // Counts from now on what all connected input pins of the graph get.
    void Watch(IGraphBuilder& graph);

    // Nothing for a pin that is not watched: it takes no samples by IMemInputPin.
    std::optional<std::uint64_t> Of(IPin* input) const;
};

} // namespace vistrame
