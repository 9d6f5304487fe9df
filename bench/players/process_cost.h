// What running programs take of the machine, read from /proc.
#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

namespace vistrame::bench {

// The processes of this name (as `comm` has it) whose environment holds `mark`.
std::vector<pid_t> FindProcesses(const std::string& name, const std::string& mark);

// Seconds of processor time, of all threads together; 0 once a process is gone.
double ProcessorSeconds(const std::vector<pid_t>& processes);

// Megabytes: private memory, and of what is shared a fair share (PSS).
double Memory(const std::vector<pid_t>& processes);

} // namespace vistrame::bench
