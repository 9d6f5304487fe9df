#include "bench/players/command.h"

#include <chrono>
#include <csignal>
#include <thread>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vistrame::bench {

namespace {

constexpr std::chrono::seconds kPatience{5}; // for an orderly end
constexpr std::chrono::milliseconds kLook{20};

} // namespace

Command::Command(const std::string& command, const std::string& stream) : process_(fork()) {
    if (process_ == 0) {
        setpgid(0, 0);
        const int nowhere = open("/dev/null", O_RDWR);
        for (const int to : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            dup2(nowhere, to);
        }
        execl("/bin/bash", "bash", "-c", command.c_str(), "player", stream.c_str(), nullptr);
        _exit(127);
    }
}

Command::~Command() {
    kill(-process_, SIGTERM);
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (waitpid(process_, nullptr, WNOHANG) == 0) {
        if (std::chrono::steady_clock::now() > end) {
            kill(-process_, SIGKILL);
        }
        std::this_thread::sleep_for(kLook);
    }
    kill(-process_, SIGKILL); // what it left behind
}

} // namespace vistrame::bench
