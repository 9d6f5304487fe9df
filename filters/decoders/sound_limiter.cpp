#include "filters/decoders/sound_limiter.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace vistrame {

namespace {

constexpr float kFull = 32767;
constexpr float kAttack = 0.002F; // seconds to the gain that the frame needs
constexpr float kRelease = 0.5F;  // seconds, for a factor of e

float Peak(std::span<const float> samples) {
    float peak = 0;
    for (const float sample : samples) {
        peak = std::max(peak, std::abs(sample));
    }
    return peak;
}

} // namespace

void SoundLimiter::Apply(std::span<const float> in, int channels, int rate, std::span<std::int16_t> out) {
    const float peak = Peak(in);
    const float wanted = peak > 1 ? 1 / peak : 1;
    const float attack = std::max(gain_ - wanted, 0.0F) / (kAttack * static_cast<float>(rate));
    const float release = 1 / (kRelease * static_cast<float>(rate));
    const auto width = static_cast<std::size_t>(channels);
    for (std::size_t at = 0; at + width <= in.size(); at += width) {
        const auto frame = in.subspan(at, width);
        gain_ = gain_ > wanted ? std::max(gain_ - attack, wanted) : gain_ + (wanted - gain_) * release;
        const float top = Peak(frame);
        const float gain = top * gain_ > 1 ? 1 / top : gain_;
        std::ranges::transform(frame, out.begin() + static_cast<std::ptrdiff_t>(at), [&](float sample) {
            return static_cast<std::int16_t>(std::lround(sample * gain * kFull));
        });
    }
}

} // namespace vistrame
