#pragma once

#include <memory>
#include <optional>

#include <windows.h>
#include <dshow.h>
#include <wrl/client.h>

#include "player/graph/media_types.h"
#include "player/graph/player_graph.h"

namespace vistrame {

// The demultiplexer of one build, the platform's or the maker's. The calls come in the order in which they
// stand here.
//
// Threads    main thread, inside BuildGraph.
// Ownership  what outlives the build goes into the PlayerGraph; the filter's reference here ends with the
//            build.
class Demultiplexer {
public:
    using Filter = Microsoft::WRL::ComPtr<IBaseFilter>;
    using Pin = Microsoft::WRL::ComPtr<IPin>;

    virtual ~Demultiplexer() = default;
    Demultiplexer(const Demultiplexer&) = delete;
    Demultiplexer& operator=(const Demultiplexer&) = delete;

    // False: the class is not installed.
    [[nodiscard]] bool Create();
    [[nodiscard]] const Filter& AsFilter() const { return filter_; }

    // Before the graph has it.
    virtual void Prepare() {}
    // Once the graph has it. False: it cannot be controlled.
    [[nodiscard]] virtual bool TakeControl() = 0;
    // Of the transport stream.
    [[nodiscard]] virtual Pin Input() const = 0;

    struct VideoOutput {
        Pin pin;
        std::optional<FixedMediaType> type; // for its connection; none: the pins agree by themselves
    };
    [[nodiscard]] virtual VideoOutput OpenVideo() = 0;

    virtual void FindAudioOutput() {} // behind the video's connection: the pin that was there from the start,
    virtual void MakeAudioOutput() {} // or behind the audio renderer: the one that is made on request

protected:
    Demultiplexer(PlayerGraph& player, const CLSID& classId) : player_(player), classId_(classId) {}

    [[nodiscard]] PlayerGraph& Player() const { return player_; }

private:
    PlayerGraph& player_;
    CLSID classId_;
    Filter filter_;
};

// The one that the settings ask for. `mpeg2Codec`: the row of decoders in force, which has a say in the
// audio's type.
std::unique_ptr<Demultiplexer> ChooseDemultiplexer(PlayerGraph& player, std::uint32_t mpeg2Codec);

} // namespace vistrame
