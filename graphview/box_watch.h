// Message boxes of this thread, read and closed instead of shown: the player's code reports a graph that
// cannot be built in one, and here nobody may be there to press its button.
#pragma once

#include <string>

#include <windows.h>

namespace vistrame {

// One at a time, on the thread that opens the boxes; from construction to destruction.
class BoxWatch {
public:
    BoxWatch();
    BoxWatch(const BoxWatch&) = delete;
    BoxWatch& operator=(const BoxWatch&) = delete;
    ~BoxWatch();

    // What the boxes said, one line each; in the system's code page.
    const std::string& Texts() const;

private:
    HHOOK hook_;
};

} // namespace vistrame
