#include "tests/player/graph/build_fixture.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "player/app/debug_log.h"
#include "player/graph/audio_volume.h"
#include "player/graph/com.h"
#include "tests/support/files.h"

namespace vistrame::test {
namespace {

std::size_t OpenLog() {
    static const bool opened = (OpenDebugLog(), true);
    (void)opened;
    return FileContents(kDebugLogPath).size();
}

} // namespace

GUID Guid(const std::string& text) {
    GUID id{};
    EXPECT_EQ(CLSIDFromString((L'{' + std::wstring(text.begin(), text.end()) + L'}').c_str(), &id), S_OK)
        << text;
    return id;
}

Lines Matching(const Lines& lines, const Lines& parts) {
    Lines matching;
    std::ranges::copy_if(lines, std::back_inserter(matching), [&](const std::string& line) {
        return std::ranges::any_of(parts,
                                   [&](const auto& part) { return line.find(part) != std::string::npos; });
    });
    return matching;
}

BuildFixture::BuildFixture(const std::string& audioDecoder, const std::string& videoDecoder)
    : window(CreateWindowExA(0, "STATIC", "", WS_POPUP, 0, 0, 640, 360, nullptr, nullptr, nullptr, nullptr)),
      logStart_(OpenLog()) {
    UseVMR9 = 1;
    MPEG2Codec = 2;
    MPEG4Codec = 1;
    KorvixCodec = DebugOSD = 0;
    ClockSource = VideoType = AudioType = 0;
    PendingPids2 = kNullPid;
    static const std::string errors = NewDirectory("errors"); // not the current folder
    errors.copy(std::begin(ErrorLogDir), errors.size());
    platform.InstallAudioDecoder(Guid(audioDecoder));
    platform.InstallVideoDecoder(Guid(videoDecoder));
    platform.withheld.emplace_back("VMR9", __uuidof(IVMRMixerBitmap9));
}

BuildFixture::~BuildFixture() {
    player.ReleaseGraph();
    player.korvixDemux.Reset();
    SetAudioVolume(nullptr);
    RendererQuality().Reset();
    CloseHandle(player.FeedLock);
    DestroyWindow(window);
}

std::string BuildFixture::Log() const {
    return FileContents(kDebugLogPath).substr(logStart_);
}

} // namespace vistrame::test
