// Two ways of doing one job, timed in turns so that a busy moment hits both alike.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <vector>

namespace vistrame {

struct RoundTimes {
    double ours; // seconds of the median round
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
    std::vector<double> oursTimes, peerTimes;
    for (int i = 0; i < rounds; ++i) {
        oursTimes.push_back(Seconds(ours));
        peerTimes.push_back(Seconds(peer));
    }
    const auto median = [](std::vector<double>& times) {
        std::nth_element(times.begin(), times.begin() + times.size() / 2, times.end());
        return times[times.size() / 2];
    };
    return {median(oursTimes), median(peerTimes)};
}

} // namespace vistrame
