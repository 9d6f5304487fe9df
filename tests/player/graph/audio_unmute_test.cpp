// Fade-ins on a volume that records what it is set to, and when.
#include "player/graph/audio_unmute.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "player/graph/audio_volume.h"
#include "player/graph/com.h"
#include "tests/support/messages.h"
#include "tests/support/playback_fakes.h"

namespace vistrame {
namespace {

using test::Lines;

Lines FadeTo(long target) {
    Lines levels = {"-10000"};
    for (long level = -4000; level < target; level += 100) {
        levels.push_back(std::to_string(level));
    }
    levels.push_back(std::to_string(target));
    return levels;
}

class AudioUnmute : public testing::Test {
protected:
    AudioUnmute() {
        volume.onLevel = [this](LONG level) { lastLevel = level; };
        volume.Use();
        TargetVolume = 0;
    }
    ~AudioUnmute() override { SetAudioVolume(nullptr); }

    bool WaitForLevel(long level) {
        return test::PumpUntil([=, this] { return lastLevel == level; }, 10000);
    }

    test::Journal journal;
    test::FakeVolume volume{journal};
    std::atomic<long> lastLevel = 1;
};

TEST_F(AudioUnmute, SilenceThenStepsThenTheTarget) {
    const std::pair<long, DWORD> rows[] = {{0, 0}, {-3900, 0}, {-3850, 400}, {-4000, 0}, {-6000, 400}};
    for (const auto& [target, silence] : rows) {
        SCOPED_TRACE(target);
        TargetVolume = target;
        const DWORD start = GetTickCount();
        StartAudioUnmute(silence);
        ASSERT_TRUE(WaitForLevel(target));
        const auto levels = journal.Take();
        EXPECT_EQ(levels, FadeTo(target));
        // Never faster than a step every 40 ms (the clock ticks in 16 ms).
        EXPECT_GE(GetTickCount() - start + 16, silence + (levels.size() - 2) * 40);
        lastLevel = 1;
    }
    EXPECT_EQ(FadeTo(0).size(), 42U) << "40 steps between silence and full volume";
}

TEST_F(AudioUnmute, ARebuildInBetweenMovesTheFadeToTheNewRendererAndTarget) {
    test::Journal newJournal;
    test::FakeVolume replacement(newJournal);
    replacement.onLevel = [this](LONG level) { lastLevel = level; };
    volume.onLevel = [&](LONG level) {
        if (level == -3500) {
            // The main thread replaces the renderer while this call is under way; the caller's reference
            // keeps it.
            replacement.Use();
            TargetVolume = -3250;
            EXPECT_GE(volume.references, 1U);
        }
    };
    StartAudioUnmute(0);
    ASSERT_TRUE(WaitForLevel(-3250));
    Lines all = journal.Take();
    EXPECT_EQ(all.back(), "-3500");
    EXPECT_EQ(volume.references, 0U);
    const Lines rest = newJournal.Take();
    all.insert(all.end(), rest.begin(), rest.end());
    EXPECT_EQ(all, FadeTo(-3250));
    SetAudioVolume(nullptr);
    EXPECT_EQ(replacement.references, 0U);
}

TEST_F(AudioUnmute, WithoutARendererNothingHappens) {
    TargetVolume = -6000;
    SetAudioVolume(nullptr);
    StartAudioUnmute(0); // none at all
    test::PumpFor(100);
    volume.Use();
    StartAudioUnmute(500); // gone during the silence
    EXPECT_EQ(journal.TakeWhen(1), Lines{"-10000"});
    SetAudioVolume(nullptr);
    EXPECT_EQ(volume.references, 0U) << "a sleeping fade-in holds nothing";
    test::PumpFor(700);
    EXPECT_EQ(journal.Take(), Lines{});
}

// An orderly end of the process unloads what COM has loaded, while fade-ins are still asleep.
TEST(AudioUnmuteAtTheEnd, AFadeFindsItsRendererAfterComIsGone) {
    ASSERT_TRUE(SUCCEEDED(CoInitialize(nullptr)));
    IBaseFilter* renderer = nullptr;
    ASSERT_EQ(CoCreateInstance(CLSID_DSoundRender, nullptr, CLSCTX_INPROC, IID_PPV_ARGS(&renderer)), S_OK);
    IBasicAudio* audio = nullptr;
    ASSERT_EQ(renderer->QueryInterface(IID_PPV_ARGS(&audio)), S_OK);
    renderer->Release();
    const HMODULE module = GetModuleHandleA("quartz.dll");
    ASSERT_NE(module, nullptr);
    SetAudioVolume(audio);
    TargetVolume = -3900;
    StartAudioUnmute(300);
    CoUninitialize();
    for (int references = 0; references < 20;
         ++references) { // Wine keeps some; Windows lets go of them all here
        FreeLibrary(module);
    }
    ASSERT_NE(GetModuleHandleA("quartz.dll"), nullptr) << "unloaded under the fade-in";
    test::PumpFor(600);
}

} // namespace
} // namespace vistrame
