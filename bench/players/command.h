// A shell's command that runs beside us.
#pragma once

#include <string>

#include <sys/types.h>

namespace vistrame::bench {

// Runs in a process group of its own, its words $1 being `stream`, with nothing to read and nobody to print
// to; ended with all its processes by the destructor.
class Command {
public:
    Command(const std::string& command, const std::string& stream);
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;
    ~Command();

private:
    pid_t process_;
};

} // namespace vistrame::bench
