#pragma once

#include <atomic>
#include <cstdint>
#include <deque>

#include <windows.h>
#include <dshow.h>
#include <amvideo.h>
#include <bdaiface.h>
#include <d3d9.h>
#include <vmr9.h>
#include <wrl/client.h>

#include "contract/maker_interfaces.h"
#include "contract/pid.h"
#include "player/graph/decoder_search.h"

namespace vistrame {

// The one playback graph: everything the player holds of DirectShow.
//
// Threads    main thread only, except feedData: the pipe reader reads it and calls through it while it holds
//            FeedLock; the main thread takes FeedLock only to release and clear it. It is stored without the
//            lock, so data flows into the feed filter while the rest of the graph is still being built.
// Ownership  every field owns its reference. The object is never destroyed.
// Errors     operations return 1, or 0 after reporting; connecting, mapping and running fail silently.
struct PlayerGraph {
    PlayerGraph();
    PlayerGraph(const PlayerGraph&) = delete;
    PlayerGraph& operator=(const PlayerGraph&) = delete;

    // Builds the graph into the empty object, its video inside `ownerWindow`. 1: built, not started. 0:
    // reported, and what was created stays here until ReleaseGraph. On a built object it only runs the graph
    // and returns 0.
    int BuildGraph(HWND ownerWindow);

    // Stops and empties the graph and drops the references in a fixed order; keeps korvixDemux and both PIDs.
    // Harmless on an empty object.
    void ReleaseGraph();

    // Move the mapping on the demultiplexer to `pid` (low 16 bits) with the graph stopped; run it afterwards
    // unless `keepStopped`. The audio PID kNullPid is ignored, and an unchanged audio PID neither maps nor
    // runs.
    void SetVideoPid(std::uint32_t pid, std::uint32_t keepStopped);
    void SetAudioPid(std::uint32_t pid, std::uint32_t keepStopped);

    HANDLE FeedLock; // an unnamed mutex, never closed
    std::uint32_t built = 0;

    Microsoft::WRL::ComPtr<IGraphBuilder> graph;
    Microsoft::WRL::ComPtr<IMediaControl> control;
    Microsoft::WRL::ComPtr<IVideoWindow> videoWindow; // kept by teardown for two more graphs
    Microsoft::WRL::ComPtr<IBaseFilter> audioDecoder; // null when the coding needs none
    Microsoft::WRL::ComPtr<IBaseFilter> videoDecoder;
    Microsoft::WRL::ComPtr<IBaseFilter> feedFilter;
    Microsoft::WRL::ComPtr<IBaseFilter> audioRenderer; // null on a machine without sound
    Microsoft::WRL::ComPtr<IBaseFilter> videoRenderer; // VMR9 or the Overlay Mixer

    Microsoft::WRL::ComPtr<KorvixDemux> korvixDemux; // survives teardown: the stall watchdog reads it

    Microsoft::WRL::ComPtr<IMpeg2Demultiplexer> demuxControl;
    Microsoft::WRL::ComPtr<IMPEG2PIDMap> audioPidMap;
    Microsoft::WRL::ComPtr<IMPEG2PIDMap> videoPidMap;
    Microsoft::WRL::ComPtr<IPin> audioOutPin; // the demultiplexer's "Audio Out"
    Microsoft::WRL::ComPtr<IUnknown> spare;   // never set
    Microsoft::WRL::ComPtr<IVMRMixerBitmap9> mixerBitmap;
    std::atomic<FeedData*> feedData = nullptr; // owned; see Threads
    Microsoft::WRL::ComPtr<FeedControl> feedControl;

    std::uint32_t audioPid = kNullPid; // last mapped; both survive teardown
    std::uint32_t videoPid = kNullPid;
    DecoderSearch decoders; // so does what it found

private:
    void ClearGraphPointers();
    // After each successful build: of the windows that teardowns kept, only the two newest stay.
    void LetGoOfOldWindows();

    std::deque<Microsoft::WRL::ComPtr<IVideoWindow>> oldWindows_; // newest last
};

// The process's graph, constructed before the entry point.
PlayerGraph& ThePlayerGraph();

// The renderer's statistics, kept for a debugger to look at and replaced by the next build; main thread only.
Microsoft::WRL::ComPtr<IQualProp>& RendererQuality();

// PID handed to the feed filter at each build (low 16 bits of the last SetPids2 command); main thread only.
extern std::uint16_t PendingPids2;

} // namespace vistrame
