// Which programme the graph plays: PIDs mapped on the demultiplexer while the graph is stopped.
//
// The two operations differ on purpose: in what they skip, and in whether the maker's demultiplexer hears of
// the new PID after or before the mapping.

#include "player/graph/player_graph.h"

#include "player/app/debug_log.h"

namespace vistrame {
namespace {

constexpr std::uint32_t kPidField = 0xFFFF; // PIDs travel in 16 bits

// The interface wants a list it could write to.
void Map(IMPEG2PIDMap* map, ULONG pid) {
    (void)map->MapPID(1, &pid, MEDIA_ELEMENTARY_STREAM);
}

void Unmap(IMPEG2PIDMap* map, ULONG pid) {
    (void)map->UnmapPID(1, &pid);
}

} // namespace

void PlayerGraph::SetVideoPid(std::uint32_t pid, std::uint32_t keepStopped) {
    pid &= kPidField;
    (void)DebugLog("Set Video: %04X\r\n", pid);
    if (control) {
        (void)control->Stop();
    }
    if (videoPidMap) {
        if (videoPid != 0) {
            Unmap(videoPidMap.Get(), videoPid);
        }
        Map(videoPidMap.Get(), pid);
    }
    if (korvixDemux) {
        (void)korvixDemux->SetPids(pid, audioPid, pid); // the clock travels with the video
    }
    videoPid = pid;
    if (control && keepStopped == 0) {
        (void)control->Run();
    }
}

void PlayerGraph::SetAudioPid(std::uint32_t pid, std::uint32_t keepStopped) {
    pid &= kPidField;
    if (pid == kNullPid) {
        return;
    }
    (void)DebugLog("Set Audio: %04X\r\n", pid);
    if (pid == audioPid) {
        return;
    }
    if (control) {
        (void)control->Stop();
    }
    if (audioPidMap) {
        Unmap(audioPidMap.Get(), audioPid);
    }
    if (korvixDemux) {
        (void)korvixDemux->SetPids(videoPid, pid, videoPid);
    }
    if (audioPidMap) {
        Map(audioPidMap.Get(), pid);
    }
    audioPid = pid;
    if (control && keepStopped == 0) {
        (void)control->Run();
    }
}

} // namespace vistrame
