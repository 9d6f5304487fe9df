#include "bench/soak/soak_script.h"

#include <array>
#include <cstdio>
#include <random>

namespace vistrame::live {
namespace {

constexpr double kLongestPause = 1.2; // seconds from one change to the next
constexpr int kMostActs = 3;          // between two changes

class Random {
public:
    explicit Random(unsigned seed) : engine_(seed) {}
    unsigned Below(unsigned limit) { return static_cast<unsigned>(engine_() % limit); }
    double Upto(double limit) { return limit * Below(10'000) / 10'000; }

private:
    std::mt19937 engine_; // whose numbers are the same everywhere, unlike the distributions'
};

template <typename... Values>
std::string Line(const char* format, Values... values) {
    std::array<char, 80> text{};
    (void)std::snprintf(text.data(), text.size(), format, values...);
    return text.data();
}

// What an operator, an analyzer or a bad line may do while a programme plays.
constexpr std::array kActs{
    +[](Random&) { return std::string("stop"); }, +[](Random&) { return std::string("pause"); },
    +[](Random&) { return std::string("run"); }, +[](Random&) { return std::string("discontinuity"); },
    +[](Random& random) { return Line("unmute %u", random.Below(1000)); },
    +[](Random& random) { return Line("size %u %u", 64 + random.Below(600), 48 + random.Below(400)); },
    +[](Random& random) { return Line("damage %.2f", random.Upto(1)); },
    +[](Random& random) { return Line("lose %.2f", random.Upto(1)); },
    +[](Random& random) { return Line("set AudioUnmuteMsec %u", random.Below(1500)); },
    // Overlay: show or hide an element, move it, refresh.
    +[](Random& random) { return Line("command 1 0x%02X00000%u", random.Below(256), random.Below(2)); },
    +[](Random& random) { return Line("command 2 0x%08X", random.Below(0xFFFFFFFF)); },
    +[](Random&) { return std::string("command 13 0"); },
    +[](Random& random) { return Line("command 7 0x%X", random.Below(0x2000)); },  // the feed's second PID
    +[](Random& random) { return Line("command %u 7", 14 + random.Below(1000)); }, // none of the player's
};

} // namespace

std::string SoakScript(double seconds, unsigned seed) {
    Random random(seed);
    std::string script;
    unsigned programme = 1;
    for (double time = 0; time < seconds;) {
        script += Line("%.3f play %u\n", time, programme);
        programme = 3 - programme;
        if (random.Below(4) == 0) {
            script += "+0 count\n"; // the next change at once
            continue;
        }
        script += random.Below(2) == 0 ? "+0 wait picture 20\n" : "";
        for (unsigned acts = random.Below(kMostActs + 1); acts > 0; --acts) {
            script += Line("+%.3f ", random.Upto(0.1)) + kActs[random.Below(kActs.size())](random) + '\n';
        }
        script += "+0 lose 0\n+0 damage 0\n+0 count\n";
        time += random.Upto(kLongestPause);
    }
    return script + Line("+0 play %u\n+0 run\n+0 wait picture 20\n+0 count\n", programme) +
           "+1 motion begin\n+2 motion end last\n+0 quit\n";
}

} // namespace vistrame::live
