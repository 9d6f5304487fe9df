#include "analyzer/stream/selection.h"

#include <algorithm>
#include <array>

#include "analyzer/base/text.h"
#include "contract/launch_line.h"

namespace vistrame {

namespace {

struct TypeRow {
    Coding coding;
    int type; // value of the launch field
};

constexpr std::array kVideoTypes{
    TypeRow{Coding::kMpeg1Video, kVideoTypeMpeg2},
    TypeRow{Coding::kMpeg2Video, kVideoTypeMpeg2},
    TypeRow{Coding::kH264, kVideoTypeH264},
    TypeRow{Coding::kHevc, kVideoTypeHevc},
};
constexpr std::array kAudioTypes{
    TypeRow{Coding::kMpegAudio, kAudioTypeMpeg}, TypeRow{Coding::kAc3, kAudioTypeAc3},
    TypeRow{Coding::kAacLatm, kAudioTypeAac},    TypeRow{Coding::kAacAdts, kAudioTypeAac},
    TypeRow{Coding::kEac3, kAudioTypeEac3},
};

// The first stream whose coding is in the table, under the PID that is wanted if one is.
template <typename Table>
bool Pick(const Programme& programme, const Table& table, std::optional<Pid> wanted, Pid& pid, int& type) {
    for (const ElementaryStream& stream : programme.streams) {
        const auto* const row = std::ranges::find(table, stream.coding, &TypeRow::coding);
        if (row != table.end() && stream.pid == wanted.value_or(stream.pid)) {
            pid = stream.pid;
            type = row->type;
            return true;
        }
    }
    return false;
}

} // namespace

std::optional<Selection> SelectStreams(const Programme& programme, std::optional<Pid> audioPid) {
    Selection selection{.programme = programme.number};
    const bool video = Pick(programme, kVideoTypes, std::nullopt, selection.videoPid, selection.videoType);
    const bool audio = Pick(programme, kAudioTypes, audioPid, selection.audioPid, selection.audioType);
    if ((!video && !audio) || (!audio && audioPid)) {
        return std::nullopt;
    }
    return selection;
}

std::string DescribeStream(const ElementaryStream& stream) {
    const char* kind = IsVideo(stream.coding) ? "video" : IsAudio(stream.coding) ? "audio" : "other";
    std::string text = Format("%s 0x%04X ", kind, stream.pid);
    if (stream.coding == Coding::kOther) {
        text += Format("stream type 0x%02X", stream.streamType);
    } else {
        text += CodingName(stream.coding);
    }
    return stream.language.empty() ? text : text + " " + stream.language;
}

std::string ProgrammeTitle(const Programme& programme) {
    return programme.name.empty() ? Format("Programme %u", programme.number) : programme.name;
}

} // namespace vistrame
