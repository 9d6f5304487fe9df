#include "tests/live/sound_marks.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <iterator>
#include <numbers>
#include <span>

namespace vistrame::live {
namespace {

using Complex = std::complex<double>;

constexpr double kThere = 0.0005; // amplitude; the tones' is 0.15, and 0.0015 at the fade-in's begin

// Amplitudes of one frequency in windows of `length` samples (Hann), one every `step`; the phase is that of the
// frequency's own oscillation from sample 0 on.
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
    const auto amplitudes = Demodulate(sound.samples, hertz, kBeepWindow, kBeepStep);
    constexpr double kStep = static_cast<double>(kBeepStep) / SoundWatch::kRate;
    constexpr std::size_t kLength = 50; // steps: 0.1 s
    for (std::size_t i = 1; i < amplitudes.size(); ++i) {
        if (std::abs(amplitudes[i]) < 4 * kThere) {
            continue;
        }
        const std::size_t end = std::min(i + kLength, amplitudes.size());
        std::vector<double> beep;
        std::transform(amplitudes.begin() + static_cast<std::ptrdiff_t>(i) - 1,
                       amplitudes.begin() + static_cast<std::ptrdiff_t>(end), std::back_inserter(beep),
                       [](const Complex& value) { return std::abs(value); });
        // A window that is half in the beep shows half of what the beep begins with.
        const double half =
            *std::max_element(beep.begin(), beep.begin() + static_cast<std::ptrdiff_t>(
                                                               std::min<std::size_t>(15, beep.size()))) /
            2;
        const auto above = std::ranges::find_if(beep, [half](double value) { return value >= half; });
        const auto place = static_cast<double>(above - beep.begin());
        const double before = above == beep.begin() ? 0 : *(above - 1);
        const double part = *above > before ? (*above - half) / (*above - before) : 0;
        beeps.push_back({sound.begin + (static_cast<double>(i) - 1 + place - part) * kStep +
                             static_cast<double>(kBeepWindow) / 2 / SoundWatch::kRate,
                         odd});
        i += kLength * 4; // a reverberation of codings is not another one
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

Tone FindTone(const SoundWatch::Piece& sound) {
    constexpr std::size_t kLength = SoundWatch::kRate / 20;
    constexpr std::size_t kStepSamples = kLength / 5; // 10 ms: unambiguous within 50 Hz
    Tone tone;
    double strongest = kThere;
    for (int index = 0; index < static_cast<int>(std::size(kTones)); ++index) {
        const auto values = Demodulate(sound.samples, kTones[index], kLength, kStepSamples);
        double sum = 0;
        Complex turn;
        for (std::size_t i = 1; i < values.size(); ++i) {
            sum += std::abs(values[i]);
            turn += values[i] * std::conj(values[i - 1]);
        }
        const double mean = values.size() < 2 ? 0 : sum / static_cast<double>(values.size() - 1);
        if (mean > strongest) {
            strongest = mean;
            tone = {index, kTones[index] + std::arg(turn) / (2 * std::numbers::pi) * SoundWatch::kRate /
                                               static_cast<double>(kStepSamples)};
        }
    }
    return tone;
}

} // namespace vistrame::live
