#include "analyzer/stream/selection.h"

#include <algorithm>
#include <array>
#include <iterator>

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

template <typename Table>
const TypeRow* Find(const Table& table, Coding coding) {
    const auto* const row = std::ranges::find(table, coding, &TypeRow::coding);
    return row != table.end() ? &*row : nullptr;
}

// Null: none fits.
const ElementaryStream* PickAudio(const std::vector<ElementaryStream>& audios, std::optional<Pid> pid,
                                  std::string_view language) {
    const ElementaryStream* best = nullptr;
    int bestRank = -1;
    for (const ElementaryStream& audio : audios) {
        const bool spoken = !language.empty() && audio.language == language;
        const int rank = (spoken ? 2 : 0) + (audio.audioDescription ? 0 : 1);
        if (audio.pid == pid.value_or(audio.pid) && rank > bestRank) {
            best = &audio;
            bestRank = rank;
        }
    }
    return best;
}

} // namespace

std::vector<ElementaryStream> PlayableAudio(const Programme& programme) {
    std::vector<ElementaryStream> audios;
    std::ranges::copy_if(programme.streams, std::back_inserter(audios), [](const ElementaryStream& stream) {
        return Find(kAudioTypes, stream.coding) != nullptr;
    });
    return audios;
}

std::optional<Selection> SelectStreams(const Programme& programme, std::optional<Pid> audioPid,
                                       std::string_view language) {
    Selection selection{.programme = programme.number};
    const auto video = std::ranges::find_if(programme.streams, [](const ElementaryStream& stream) {
        return Find(kVideoTypes, stream.coding) != nullptr;
    });
    if (video != programme.streams.end()) {
        selection.videoPid = video->pid;
        selection.videoType = Find(kVideoTypes, video->coding)->type;
    }
    const auto audios = PlayableAudio(programme);
    const ElementaryStream* const audio = PickAudio(audios, audioPid, language);
    if (audio != nullptr) {
        selection.audioPid = audio->pid;
        selection.audioType = Find(kAudioTypes, audio->coding)->type;
    }
    if ((video == programme.streams.end() || audioPid) && audio == nullptr) {
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
    text += stream.language.empty() ? "" : " " + stream.language;
    return stream.audioDescription ? text + ", audio description" : text;
}

std::string ProgrammeTitle(const Programme& programme) {
    return programme.name.empty() ? Format("Programme %u", programme.number) : programme.name;
}

} // namespace vistrame
