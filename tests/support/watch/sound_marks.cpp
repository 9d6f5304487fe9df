#include "tests/support/watch/sound_marks.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>

namespace vistrame::live {
namespace {

using Complex = std::complex<double>;

constexpr double kThere = 0.0005; // amplitude; the tones' is 0.15, and 0.0015 at the fade-in's begin

// Amplitudes of one frequency in windows of `length` samples (Hann), one every `step`; the phase is that of
// the frequency's own oscillation from sample 0 on.
std::vector<Complex> Demodulate(std::span<const float> samples, double hertz, std::size_t length,
                                std::size_t step) {
    const double turn = 2 * std::numbers::pi * hertz / SoundWatch::kRate;
    std::vector<Complex> mixed(samples.size());
    for (std::size_t i = 0; i < samples.size(); ++i) {
        mixed[i] = static_cast<double>(samples[i]) * std::polar(1.0, -turn * static_cast<double>(i));
    }
    std::vector<double> window(length);
    for (std::size_t i = 0; i < length; ++i) {
        window[i] = 2 *
                    (1 - std::cos(2 * std::numbers::pi * (static_cast<double>(i) + 0.5) /
                                  static_cast<double>(length))) /
                    static_cast<double>(length);
    }
    std::vector<Complex> found;
    for (std::size_t at = 0; at + length <= samples.size(); at += step) {
        Complex sum;
        for (std::size_t i = 0; i < length; ++i) {
            sum += window[i] * mixed[at + i];
        }
        found.push_back(sum);
    }
    return found;
}

constexpr std::size_t kBeepWindow = SoundWatch::kRate / 100;
constexpr std::size_t kBeepStep = SoundWatch::kRate / 500;

void FindBeeps(const SoundWatch::Piece& sound, double hertz, bool odd, std::vector<Beep>& beeps) {
    const auto values = Demodulate(sound.samples, hertz, kBeepWindow, kBeepStep);
    std::vector<double> amplitudes(values.size());
    std::ranges::transform(values, amplitudes.begin(), [](const Complex& value) { return std::abs(value); });
    constexpr double kStep = static_cast<double>(kBeepStep) / SoundWatch::kRate;
    constexpr std::size_t kLength = 40; // steps: most of a beep
    for (std::size_t i = 1; i + kLength <= amplitudes.size(); ++i) {
        if (amplitudes[i] < 4 * kThere) {
            continue;
        }
        // A click has something of every frequency, but it does not last.
        std::vector<double> sorted(amplitudes.begin() + static_cast<std::ptrdiff_t>(i),
                                   amplitudes.begin() + static_cast<std::ptrdiff_t>(i + kLength));
        std::ranges::nth_element(sorted, sorted.begin() + kLength / 2);
        const double half = sorted[kLength / 2] / 2;
        // A window that is half in the beep shows half of it.
        if (half < 2 * kThere || amplitudes[i] < half || amplitudes[i - 1] >= half) {
            continue;
        }
        const double part = (amplitudes[i] - half) / (amplitudes[i] - amplitudes[i - 1]);
        beeps.push_back({sound.begin + (static_cast<double>(i) - part) * kStep +
                             static_cast<double>(kBeepWindow) / 2 / SoundWatch::kRate,
                         odd});
        i += kLength * 5; // marks come every second
    }
}

} // namespace

std::vector<Beep> Beeps(const SoundWatch::Piece& sound) {
    std::vector<Beep> beeps;
    FindBeeps(sound, 3000, false, beeps);
    FindBeeps(sound, 4000, true, beeps);
    std::ranges::sort(beeps, {}, &Beep::time);
    return beeps;
}

Silence FindSilence(const SoundWatch::Piece& sound, double longer) {
    constexpr float kSilent = 0.002F;
    Silence silence;
    std::size_t length = 0;
    for (std::size_t i = 0; i <= sound.samples.size(); ++i) {
        if (i < sound.samples.size() && std::abs(sound.samples[i]) < kSilent) {
            ++length;
            continue;
        }
        const double seconds = static_cast<double>(length) / SoundWatch::kRate;
        silence.gaps += seconds > longer ? 1 : 0;
        silence.longest = std::max(silence.longest, seconds);
        length = 0;
    }
    return silence;
}

double Envelope::Onset() const {
    const auto found = std::ranges::find_if(amplitudes, [](double value) { return value > kThere; });
    return found == amplitudes.end() ? begin - 1 : Time(static_cast<std::size_t>(found - amplitudes.begin()));
}

Envelope ToneEnvelope(const SoundWatch::Piece& sound, double hertz) {
    constexpr std::size_t kStepSamples = SoundWatch::kRate / 100;
    constexpr std::size_t kLength = 2 * kStepSamples;
    Envelope envelope{.begin = sound.begin + static_cast<double>(kLength) / 2 / SoundWatch::kRate,
                      .amplitudes = {}};
    for (const Complex& value : Demodulate(sound.samples, hertz, kLength, kStepSamples)) {
        envelope.amplitudes.push_back(std::abs(value));
    }
    return envelope;
}

Tone FindTone(const SoundWatch::Piece& sound, std::span<const double> tones) {
    constexpr std::size_t kLength = SoundWatch::kRate / 20;
    constexpr std::size_t kStepSamples = kLength / 5; // 10 ms: unambiguous within 50 Hz
    Tone tone;
    double strongest = kThere;
    for (std::size_t index = 0; index < tones.size(); ++index) {
        const auto values = Demodulate(sound.samples, tones[index], kLength, kStepSamples);
        double sum = 0;
        Complex turn;
        for (std::size_t i = 1; i < values.size(); ++i) {
            sum += std::abs(values[i]);
            turn += values[i] * std::conj(values[i - 1]);
        }
        const double mean = values.size() < 2 ? 0 : sum / static_cast<double>(values.size() - 1);
        if (mean > strongest) {
            strongest = mean;
            tone = {static_cast<int>(index), tones[index] + std::arg(turn) / (2 * std::numbers::pi) *
                                                                SoundWatch::kRate /
                                                                static_cast<double>(kStepSamples)};
        }
    }
    return tone;
}

} // namespace vistrame::live
