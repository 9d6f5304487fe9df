// Two ways of doing one job, timed in turns; of each the least disturbed round counts.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>

namespace vistrame {

struct RoundTimes {
    double ours; // seconds of the fastest round
    double peer;
};

template <typename Job>
double Seconds(Job job) {
    const auto start = std::chrono::steady_clock::now();
    job();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

template <typename Ours, typename Peer>
RoundTimes TakeTurns(int rounds, Ours ours, Peer peer) {
    ours();
    peer();
    RoundTimes best = {Seconds(ours), Seconds(peer)};
    for (int i = 1; i < rounds; ++i) {
        best.ours = std::min(best.ours, Seconds(ours));
        best.peer = std::min(best.peer, Seconds(peer));
    }
    return best;
}

} // namespace vistrame
