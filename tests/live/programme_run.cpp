#include "tests/live/programme_run.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace vistrame::live {

double ProgrammeRun::Time(const std::string& begin) const {
    const auto found = std::ranges::find_if(
        log, [&](const AnalyzerProcess::Line& line) { return line.text.starts_with(begin); });
    return found == log.end() ? 0 : found->time;
}

std::string ProgrammeRun::Rest(const std::string& begin) const {
    const auto found = std::ranges::find_if(
        log, [&](const AnalyzerProcess::Line& line) { return line.text.starts_with(begin); });
    return found == log.end() ? "" : found->text.substr(begin.size());
}

ProgrammeRun RunScript(const Surroundings& where, SoundWatch& sound, const std::vector<std::string>& options,
                       const std::string& script, const std::string& stream, double limit) {
    ProgrammeRun run;
    const double begin = Now();
    const ScreenWatch screen(kAreaWidth, kAreaHeight);
    AnalyzerProcess analyzer(
        where.build, options,
        "0 size " + std::to_string(kAreaWidth) + " " + std::to_string(kAreaHeight) + "\n" + script,
        where.streams + "/" + stream);
    run.failure = analyzer.Finish(limit);
    run.log = analyzer.Lines();
    run.screen = screen.Changes();
    run.blink = screen.LongestBlink();
    run.sound = sound.Since(begin);
    return run;
}

std::vector<LipSync> LipSyncs(const ProgrammeRun& run, double begin, double end) {
    constexpr double kFarthest = 0.9; // marks of one kind come every two seconds
    const std::vector<Beep> beeps = Beeps(run.sound);
    std::vector<LipSync> pairs;
    for (std::size_t i = 1; i < run.screen.size(); ++i) {
        const auto& [time, look] = run.screen[i];
        if (look.flash == Look::Flash::kNone || look.flash == run.screen[i - 1].look.flash || time < begin ||
            time > end) {
            continue;
        }
        const bool odd = look.flash == Look::Flash::kCyan;
        const Beep* nearest = nullptr;
        for (const Beep& beep : beeps) {
            if (beep.odd == odd && std::abs(beep.time - time) < kFarthest &&
                (nearest == nullptr || std::abs(beep.time - time) < std::abs(nearest->time - time))) {
                nearest = &beep;
            }
        }
        if (nearest != nullptr && (pairs.empty() || time - pairs.back().time > 0.5)) {
            pairs.push_back({time, nearest->time - time});
        }
    }
    return pairs;
}

double LongestHold(const ProgrammeRun& run, double begin, double end) {
    double longest = 0;
    double since = begin;
    int shown = -1;
    for (const auto& [time, look] : run.screen) {
        if (look.number == -1 || look.number == shown || time > end) {
            continue;
        }
        shown = look.number;
        if (time > since) {
            longest = std::max(longest, time - since);
            since = time;
        }
    }
    return std::max(longest, end - since);
}

double Value(const std::string& text, const std::string& key) {
    const std::size_t at = text.find(key);
    return at == std::string::npos ? -1 : std::strtod(text.c_str() + at + key.size(), nullptr);
}

} // namespace vistrame::live
