#pragma once

#include <cstdint>
#include <string>

#include <windows.h>
#include <dshow.h>
#include <d3d9.h>
#include <vmr9.h>
#include <wrl/client.h>

#include "contract/launch_line.h"
#include "player/graph/build_errors.h"
#include "player/graph/com.h"
#include "player/graph/decoder_catalogue.h"
#include "player/graph/media_types.h"
#include "player/graph/player_graph.h"

namespace vistrame {

// One build of the graph: its steps, and what only they share. PlayerGraph::BuildGraph calls the steps in the
// order in which they stand here; each file build_*.cpp holds those of one subject.
//
// Threads    main thread, inside BuildGraph.
// Ownership  what outlives the build goes into the PlayerGraph at once; the references here end with it.
// Errors     a step that returns bool has reported what went wrong when it returns false, and the build is
//            over. The other steps ignore failures: a graph with a gap in it shows or plays less.
class GraphBuild {
public:
    GraphBuild(PlayerGraph& player, HWND ownerWindow) : player_(player), ownerWindow_(ownerWindow) {}

    [[nodiscard]] bool CreateGraph();
    [[nodiscard]] bool GetMediaControl();
    [[nodiscard]] bool AddDecoders();
    [[nodiscard]] bool AddFeedFilter();
    void LetFeedBeClock();
    void SetFeedMode();
    [[nodiscard]] bool AddDemultiplexer();
    void ConnectFeed();
    void DropAc3Decoder();
    void ConnectVideoDecoder();
    void AddAudioRenderer();
    void ConnectAudio();
    [[nodiscard]] bool AddVideoRenderer();
    [[nodiscard]] bool ConnectVideoRenderer();
    void ReleasePins();
    void EmbedVideoWindow();

private:
    using Filter = Microsoft::WRL::ComPtr<IBaseFilter>;
    using Pin = Microsoft::WRL::ComPtr<IPin>;

    // Always false, so that a step can end with it.
    static bool Report(const BuildError& error);

    void Add(const Filter& filter, const wchar_t* name);
    // Null pins are left alone; a refused connection shows as a graph that plays less.
    void Connect(const Pin& from, const Pin& to, const AM_MEDIA_TYPE* type = nullptr);
    // Makes the filter's clock the graph's when ClockSource asks for this one and there is a clock.
    void LetBeClock(const Filter& filter, std::int32_t source);
    // On the platform demultiplexer.
    Pin CreateOutputPin(std::wstring name, FixedMediaType type);

    bool AddDecoderPair(const DecoderRow& row);
    bool AddFoundDecoders();
    void FindDecoderPins(PinRule rule);

    void TellKorvixDemux();

    bool AddVmr9();
    bool SetUpStreams();
    bool AddOsdSource();
    bool SetUpOverlay();
    void AddOverlayMixer();

    PlayerGraph& player_;
    HWND ownerWindow_;
    std::uint32_t mpeg2Codec_ = 0; // the setting in force for this build

    Filter demultiplexer_;

    Pin decoderInput_; // of the video decoder
    Pin decoderOutput_;
    Pin rendererInput_; // of the video renderer

    // Of VMR9. The last two are asked for and held for the length of the build; nothing is called on them.
    Microsoft::WRL::ComPtr<IVMRFilterConfig9> rendererConfig_;
    Microsoft::WRL::ComPtr<IVMRWindowlessControl> windowlessControl_;
    Microsoft::WRL::ComPtr<IVMRVideoStreamControl9> streamControl_;
};

} // namespace vistrame
