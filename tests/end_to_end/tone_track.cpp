#include "tests/end_to_end/tone_track.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <span>

namespace vistrame::test {
namespace {

constexpr std::size_t kStepSamples = Sound::kRate / 100;
// Two steps: tells tones that are 50 Hz apart.
constexpr std::size_t kToneSamples = 2 * kStepSamples;

// Amplitude of one frequency.
double Amplitude(std::span<const float> samples, double hertz) {
    double real = 0;
    double imaginary = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double angle = 2 * std::numbers::pi * hertz * static_cast<double>(i) / Sound::kRate;
        real += samples[i] * std::cos(angle);
        imaginary += samples[i] * std::sin(angle);
    }
    return 2 * std::hypot(real, imaginary) / static_cast<double>(samples.size());
}

double RootMeanSquare(std::span<const float> samples) {
    double sum = 0;
    for (const float sample : samples) {
        sum += static_cast<double>(sample) * sample;
    }
    return samples.empty() ? 0 : std::sqrt(sum / static_cast<double>(samples.size()));
}

std::span<const float> Part(const Sound& sound, ToneTrack::Span span) {
    const auto at = [&](double seconds) {
        return std::min(static_cast<std::size_t>(std::max(seconds, 0.0) * Sound::kRate),
                        sound.samples.size());
    };
    return std::span(sound.samples).subspan(at(span.begin), at(span.end) - at(span.begin));
}

} // namespace

ToneTrack::ToneTrack(const Sound& sound, double firstHertz, double secondHertz) : sound_(sound) {
    const std::span<const float> samples(sound.samples);
    for (std::size_t at = 0; at + kToneSamples <= samples.size(); at += kStepSamples) {
        const auto window = samples.subspan(at, kToneSamples);
        steps_.push_back({.level = RootMeanSquare(window.first(kStepSamples)),
                          .tones = {Amplitude(window, firstHertz), Amplitude(window, secondHertz)}});
    }
}

std::optional<ToneTrack::Span> ToneTrack::Where(int tone) const {
    const auto holds = [tone](const Step& step) {
        return step.level > kSilence && step.tones[tone] > 4 * step.tones[1 - tone];
    };
    const auto first = std::ranges::find_if(steps_, holds);
    if (first == steps_.end()) {
        return std::nullopt;
    }
    const auto last = std::find_if(steps_.rbegin(), steps_.rend(), holds).base();
    return Span{static_cast<double>(first - steps_.begin()) * kStep,
                static_cast<double>(last - steps_.begin()) * kStep};
}

double ToneTrack::LongestSilence(Span span) const {
    double longest = 0;
    double current = 0;
    const auto end = std::min(static_cast<std::size_t>(span.end / kStep), steps_.size());
    for (auto i = static_cast<std::size_t>(span.begin / kStep); i < end; ++i) {
        current = steps_[i].level > kSilence ? 0 : current + kStep;
        longest = std::max(longest, current);
    }
    return longest;
}

double ToneTrack::Level(Span span) const {
    return RootMeanSquare(Part(sound_, span));
}

double ToneTrack::Hertz(Span span) const {
    const std::span<const float> samples = Part(sound_, span);
    const double loud = RootMeanSquare(samples) / 2;
    std::vector<double> periods;
    double before = -1;
    float peak = 0;
    for (std::size_t i = 1; i < samples.size(); ++i) {
        peak = std::max(peak, samples[i]);
        if (samples[i - 1] < 0 && samples[i] >= 0) {
            const double crossing =
                static_cast<double>(i) - samples[i] / (static_cast<double>(samples[i]) - samples[i - 1]);
            if (before >= 0 && peak > loud) {
                periods.push_back(crossing - before);
            }
            before = crossing;
            peak = 0;
        }
    }
    if (periods.empty()) {
        return 0;
    }
    const auto middle = periods.begin() + static_cast<std::ptrdiff_t>(periods.size() / 2);
    std::ranges::nth_element(periods, middle);
    return Sound::kRate / *middle;
}

} // namespace vistrame::test
