#pragma once

#include <chrono>
#include <fstream>
#include <mutex>
#include <string>

namespace vistrame {

// What happens, one line each as it happens: seconds since the program's start, a word, details.
//
// Threads    any; one lock around each line.
// Errors     a line that cannot be written is lost.
class EventLog {
public:
    // Milliseconds since the program's start; the time of every line, and of everything that is measured.
    static double Now();

    // False: the file cannot be written.
    bool Open(const std::string& path);
    // Lines are flushed, so that whoever watches the file sees them at once.
    void Line(const std::string& text);

private:
    std::mutex lock_;
    std::ofstream file_;
};

} // namespace vistrame
