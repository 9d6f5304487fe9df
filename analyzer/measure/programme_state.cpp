#include "analyzer/measure/programme_state.h"

#include <algorithm>

#include "analyzer/base/text.h"

namespace vistrame {

namespace {

// What has to come does so within half a second, tables and clock five times a second and more; half of that
// again is for a machine that is busy. Together with the window's tick it is said within a second.
constexpr double kPatienceMsec = 750;

// Of one kind of a programme's streams: how many there are and what they lack.
struct Kind {
    int streams = 0;
    int scrambled = 0;
    double silentMsec = 1e9;

    bool Missing(double mappedMsec) const {
        return streams > 0 && mappedMsec > kPatienceMsec && std::min(silentMsec, mappedMsec) > kPatienceMsec;
    }
};

Kind Count(const ProgrammeReading& reading, bool (*belongs)(Coding)) {
    Kind kind;
    for (std::size_t i = 0; i < reading.streams.size(); ++i) {
        if (belongs(reading.programme.streams[i].coding)) {
            ++kind.streams;
            kind.scrambled += reading.streams[i].scrambled ? 1 : 0;
            kind.silentMsec = std::min(kind.silentMsec, reading.streams[i].silentMsec);
        }
    }
    return kind;
}

void Add(std::string& state, const std::string& words) {
    state += state.empty() ? words : ", " + words;
}

std::string Since(const char* what, double msec) {
    return msec < 1000 ? what : Format("%s for %.0f s", what, msec / 1000);
}

} // namespace

std::string ProgrammeState(const ProgrammeReading& reading) {
    const double mapped = reading.mappedMsec;
    if (!reading.programme.mapped) {
        return mapped > kPatienceMsec ? Since("missing: no map", mapped) : "";
    }
    const Kind video = Count(reading, IsVideo);
    const Kind audio = Count(reading, IsAudio);
    if (video.streams + audio.streams == 0) {
        return "data only";
    }
    const bool noVideo = video.Missing(mapped);
    const bool noAudio = audio.Missing(mapped);
    const double silent = std::min({video.silentMsec, audio.silentMsec, mapped});
    if ((noVideo || video.streams == 0) && (noAudio || audio.streams == 0)) {
        return Since("empty: no packets", silent);
    }
    std::string state;
    if (video.scrambled + audio.scrambled > 0) {
        const bool all = video.scrambled == video.streams && audio.scrambled == audio.streams;
        Add(state, all || video.scrambled > 0 ? "scrambled" : "sound scrambled");
    }
    if (video.streams == 0) {
        Add(state, "radio");
    }
    if (noVideo) {
        Add(state, Since("no video", std::min(video.silentMsec, mapped)));
    }
    if (noAudio) {
        Add(state, Since("no sound", std::min(audio.silentMsec, mapped)));
    }
    if (reading.programme.pcrPid == kNullPid || reading.pcrSilentMsec > kPatienceMsec) {
        Add(state, reading.programme.pcrPid == kNullPid ? "no PCR" : Since("no PCR", reading.pcrSilentMsec));
    }
    return state;
}

} // namespace vistrame
