// The main job: the demo stream of `make play` by the script of `make play`.
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/live/parts.h"

namespace vistrame::live {
namespace {

// As tools/make-demo-stream draws and sounds them. The border of the picture shows the colour, its middle
// moves.
constexpr int kColours[] = {0xC02818, 0x1838C0};
constexpr double kDemoTones[] = {440, 880};
constexpr int kBorderRow = kAreaHeight / 24;
constexpr double kWatched = 2;       // seconds before the script's mark
constexpr std::ptrdiff_t kMoves = 3; // its columns are broad; a still picture has none
constexpr double kPresent = 0.02;    // amplitude

// Seconds in which a tone was there, and the longest without it in between.
struct Span {
    double begin = 0, end = 0, silence = 0;
};

Span Present(const Envelope& tone) {
    Span span;
    for (std::size_t i = 0; i < tone.amplitudes.size(); ++i) {
        if (tone.amplitudes[i] > kPresent) {
            span.silence = span.end == 0 ? 0 : std::max(span.silence, tone.Time(i) - span.end);
            span.begin = span.end == 0 ? tone.Time(i) : span.begin;
            span.end = tone.Time(i);
        }
    }
    return span;
}

bool Pictures(const std::vector<ScreenWatch::Change>& border, const std::vector<ScreenWatch::Change>& middle,
              double mark, int colour) {
    const auto recent = [&](const ScreenWatch::Change& change) {
        return change.time > mark - kWatched && change.time < mark;
    };
    const bool right = std::ranges::all_of(border, [&](const ScreenWatch::Change& change) {
        return !recent(change) || change.look.Near(colour);
    });
    const auto moves = std::ranges::count_if(middle, recent);
    std::printf("  colour %s, %td changes in the middle in %.0f s\n", right ? "right" : "WRONG", moves,
                kWatched);
    return mark > 0 && right && moves >= kMoves;
}

} // namespace

bool RunDemo(const Paths& where, SoundWatch& sound, std::size_t /*only*/) {
    std::ifstream script(VISTRAME_SOURCE_DIR "/tools/demo.script");
    const ScreenWatch middle(kAreaWidth, kAreaHeight);
    const ProgrammeRun run =
        RunScript(where, sound, {"--set", "UseVMR9=0"}, {std::istreambuf_iterator<char>(script), {}},
                  "demo.ts", 90, kBorderRow);
    bool right = run.failure.empty();
    std::printf("the demo: %s\n", right ? "ended as it should" : run.failure.c_str());
    Span spans[2];
    for (int i = 0; i < 2; ++i) {
        const double mark = run.Time("mark programme-" + std::to_string(i + 1));
        right = Pictures(run.screen, middle.Changes(), mark, kColours[i]) && right;
        spans[i] = Present(ToneEnvelope(run.sound, kDemoTones[i]));
        const Tone tone = FindTone(run.sound.Cut(spans[i].end - 1, spans[i].end), kDemoTones);
        right = right && tone.index == i && std::abs(tone.hertz - kDemoTones[i]) < kDemoTones[i] / 100;
        std::printf("  %.1f Hz for %.2f s, silent for up to %.2f s\n", tone.hertz,
                    spans[i].end - spans[i].begin, spans[i].silence);
    }
    const double gap = spans[1].begin - spans[0].end;
    std::printf("  %.2f s without a tone at the switch\n", gap);
    return right && gap >= 0 &&
           std::max(spans[0].silence, spans[1].silence) <= std::max(gap, 2 * Envelope::kStep);
}

} // namespace vistrame::live
