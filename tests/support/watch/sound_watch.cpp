#include "tests/support/watch/sound_watch.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <span>

#include <pulse/error.h>
#include <pulse/simple.h>

#include "tests/support/watch/screen_watch.h"

namespace vistrame::live {
namespace {

constexpr int kChunk = SoundWatch::kRate / 100; // 10 ms
constexpr pa_sample_spec kMono{.format = PA_SAMPLE_FLOAT32NE, .rate = SoundWatch::kRate, .channels = 1};

pa_simple* Open(pa_stream_direction_t direction, const char* device, pa_usec_t latency) {
    pa_buffer_attr buffer;
    const auto bytes = static_cast<std::uint32_t>(pa_usec_to_bytes(latency, &kMono));
    buffer.maxlength = static_cast<std::uint32_t>(-1);
    buffer.tlength = bytes;
    buffer.prebuf = bytes;
    buffer.minreq = static_cast<std::uint32_t>(-1);
    buffer.fragsize = bytes;
    int error = 0;
    pa_simple* const opened = pa_simple_new(nullptr, "live probe", direction, device, "live probe", &kMono,
                                            nullptr, &buffer, &error);
    if (opened == nullptr) {
        std::fprintf(stderr, "no sound server (%s): run this inside tools/wine-session\n",
                     pa_strerror(error));
        std::exit(1);
    }
    return opened;
}

} // namespace

SoundWatch::SoundWatch() : capture_(Open(PA_STREAM_RECORD, "cap.monitor", 10'000)) {
    thread_ = std::thread([this] { Run(); });
    Calibrate();
}

SoundWatch::~SoundWatch() {
    stop_ = true;
    thread_.join(); // the sink never stands, so a read never lasts
    pa_simple_free(capture_);
}

void SoundWatch::Run() {
    std::array<float, kChunk> chunk{};
    while (!stop_ && pa_simple_read(capture_, chunk.data(), sizeof chunk, nullptr) == 0) {
        const std::lock_guard hold(lock_);
        samples_.insert(samples_.end(), chunk.begin(), chunk.end());
        earliest_ = std::min(earliest_, Now() - static_cast<double>(samples_.size()) / kRate);
    }
}

void SoundWatch::Calibrate() {
    pa_simple* const play = Open(PA_STREAM_PLAYBACK, "cap", 100'000);
    std::array<float, kChunk> chunk{};
    std::vector<double> heard; // guesses at when the click begins
    constexpr int kBefore = 50;
    for (int written = 0; written < kBefore; ++written) {
        (void)pa_simple_write(play, chunk.data(), sizeof chunk, nullptr); // its failure shows as no click
        if (written >= kBefore / 2) {                                     // it plays by now
            const double ahead = static_cast<double>(pa_simple_get_latency(play, nullptr)) / 1e6;
            heard.push_back(Now() + ahead + (kBefore - written - 1) * 0.01);
        }
    }
    for (int i = 0; i < kChunk; ++i) {
        chunk.at(static_cast<std::size_t>(i)) = i % 8 < 4 ? 0.9F : -0.9F;
    }
    (void)pa_simple_write(play, chunk.data(), sizeof chunk, nullptr);
    (void)pa_simple_drain(play, nullptr);
    pa_simple_free(play);
    std::this_thread::sleep_for(std::chrono::milliseconds(200));

    const std::lock_guard hold(lock_);
    const auto click = std::ranges::find_if(samples_, [](float sample) { return std::abs(sample) > 0.3F; });
    if (click == samples_.end()) {
        std::fputs("the sound sink's monitor does not give back what is played\n", stderr);
        std::exit(1);
    }
    std::ranges::sort(heard);
    begin_ = heard[heard.size() / 2] - static_cast<double>(click - samples_.begin()) / kRate;
    std::printf(
        "sound: a click was heard within %.1f ms of when the server said; samples come in %.1f ms later\n",
        (heard.back() - heard.front()) * 500, (earliest_ - begin_) * 1000);
}

SoundWatch::Piece SoundWatch::Piece::Cut(double from, double to) const {
    const auto at = [this](double time) {
        return std::clamp(static_cast<std::ptrdiff_t>((time - begin) * kRate), std::ptrdiff_t{0},
                          std::ssize(samples));
    };
    return {begin + static_cast<double>(at(from)) / kRate,
            {samples.begin() + at(from), samples.begin() + at(to)}};
}

SoundWatch::Piece SoundWatch::Since(double time) const {
    const std::lock_guard hold(lock_);
    const auto first =
        std::min(static_cast<std::size_t>(std::max(time - begin_, 0.0) * kRate), samples_.size());
    return {begin_ + static_cast<double>(first) / kRate,
            {samples_.begin() + static_cast<std::ptrdiff_t>(first), samples_.end()}};
}

} // namespace vistrame::live
