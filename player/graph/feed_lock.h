#pragma once

#include "player/graph/player_graph.h"

namespace vistrame {

// Holds the graph's FeedLock for a scope: the reader for each delivery, the main thread while it releases the
// feed's interface. Nothing else is locked inside.
class FeedLockHold {
public:
    explicit FeedLockHold(const PlayerGraph& graph) : lock_(graph.FeedLock) {
        WaitForSingleObject(lock_, INFINITE);
    }
    FeedLockHold(const FeedLockHold&) = delete;
    FeedLockHold& operator=(const FeedLockHold&) = delete;
    ~FeedLockHold() { ReleaseMutex(lock_); }

private:
    HANDLE lock_;
};

} // namespace vistrame
