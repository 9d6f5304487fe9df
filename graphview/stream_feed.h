// A transport-stream file, delivered to the player's graph at the pace of its PCR, as the player's own reader
// delivers what comes from the pipe.
#pragma once

#include <atomic>
#include <string>
#include <thread>

namespace vistrame {

// Threads    one of its own from Start to the object's end, which waits for it. The graph may be built and
//            changed meanwhile: every delivery is made under its lock.
// Errors     a file that cannot be read delivers nothing.
class StreamFeed {
public:
    StreamFeed() = default;
    StreamFeed(const StreamFeed&) = delete;
    StreamFeed& operator=(const StreamFeed&) = delete;
    ~StreamFeed();

    // `path` in the system's code page. False when the file cannot be opened.
    bool Start(const std::string& path);

private:
    std::atomic<bool> ending_ = false;
    std::thread thread_;
};

} // namespace vistrame
