#include "player/control/in_turn.h"

#include <deque>
#include <utility>

namespace vistrame {
namespace {

std::deque<std::function<void()>> jobs; // front: being carried out
bool lastIsKnown = false;

void Join(std::function<void()> job) {
    jobs.push_back(std::move(job));
    if (jobs.size() > 1) {
        return;
    }
    while (!jobs.empty()) {
        jobs.front()();
        jobs.pop_front();
    }
}

} // namespace

bool IsJobUnderWay() {
    return !jobs.empty();
}

void CarryOutInTurn(std::function<void()> job) {
    if (!lastIsKnown) {
        Join(std::move(job));
    }
}

void CarryOutAsLast(std::function<void()> job) {
    if (std::exchange(lastIsKnown, true)) {
        return;
    }
    if (IsJobUnderWay()) {
        jobs.erase(jobs.begin() + 1, jobs.end());
    }
    Join(std::move(job));
}

} // namespace vistrame
