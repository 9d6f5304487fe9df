#pragma once

#include <optional>

#include "transport/programme_table.h"

namespace vistrame {

// Which streams of a programme the player is asked for, and the coding fields it must have been started with.
struct Selection {
    std::uint16_t programme = 0;
    Pid videoPid = kNullPid; // kNullPid: none
    Pid audioPid = kNullPid;
    int videoType = 0; // as the launch line numbers them
    int audioType = 0;

    bool operator==(const Selection&) const = default;
    bool SamePlayer(const Selection& other) const {
        return videoType == other.videoType && audioType == other.audioType;
    }
};

// The first video and the first audio whose codings the player knows. Of several audios the one with
// `audioPid`; without that one of the `language` before the others, and the programme's own sound before an
// audio description. Nothing when there is neither video nor audio, or no audio with that PID.
std::optional<Selection> SelectStreams(const Programme& programme, std::optional<Pid> audioPid,
                                       std::string_view language = {});
// The audios that can be selected.
std::vector<ElementaryStream> PlayableAudio(const Programme& programme);

// "audio 0x0102 MPEG audio eng, audio description", one line per stream of the programme, for the table and
// the window.
std::string DescribeStream(const ElementaryStream& stream);
// Name of the service table, or "Programme N".
std::string ProgrammeTitle(const Programme& programme);

} // namespace vistrame
