#pragma once

#include <memory>

#include <windows.h>
#include <dshow.h>
#include <wrl/client.h>

#include "player/graph/graph_wiring.h"

namespace vistrame {

// The video renderer of one build, VMR9 with the overlay or the Overlay Mixer.
//
// Threads    main thread, inside BuildGraph.
// Ownership  what outlives the build goes into the PlayerGraph; the references here end with the build.
class VideoRenderer {
public:
    explicit VideoRenderer(const GraphWiring& wiring) : wiring_(wiring) {}
    virtual ~VideoRenderer() = default;
    VideoRenderer(const VideoRenderer&) = delete;
    VideoRenderer& operator=(const VideoRenderer&) = delete;

    // Creates it, sets it up and puts it into the graph. False: reported, and the build is over.
    [[nodiscard]] virtual bool Add() = 0;

    // Where the video decoder's pictures go in; null when the renderer could not be made.
    [[nodiscard]] virtual GraphWiring::Pin FindInput() = 0;

protected:
    [[nodiscard]] const GraphWiring& Wiring() const { return wiring_; }

private:
    const GraphWiring& wiring_;
};

// The one that the settings ask for.
std::unique_ptr<VideoRenderer> ChooseVideoRenderer(const GraphWiring& wiring);

} // namespace vistrame
