// What the player's process takes, seen by this machine while it runs.
//
// Threads    one of its own, looking ten times a second between construction and Looks().
#pragma once

#include <string>
#include <thread>
#include <vector>

namespace vistrame::live {

class ProcessWatch {
public:
    // Of one process; the longest-lived of this session's that bear the name.
    struct Look {
        double time; // as Now()
        int process; // its identifier
        int threads;
        int files;        // descriptors: mapped files, sockets, shared memory
        double addresses; // megabytes of address space
        double memory;    // megabytes, private: a share of files would depend on who else runs; to a second
    };

    explicit ProcessWatch(std::string program = "vistrame.exe");
    ~ProcessWatch();
    ProcessWatch(const ProcessWatch&) = delete;
    ProcessWatch& operator=(const ProcessWatch&) = delete;

    // Ends the watch.
    const std::vector<Look>& Looks();

private:
    void Watch(const std::stop_token& stop);

    std::string program_;
    std::vector<Look> looks_;
    std::jthread thread_;
};

} // namespace vistrame::live
