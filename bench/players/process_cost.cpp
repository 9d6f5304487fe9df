#include "bench/players/process_cost.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include <unistd.h>

namespace vistrame::bench {
namespace {

namespace fs = std::filesystem;

std::string Text(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

fs::path Folder(pid_t process) {
    return fs::path("/proc") / std::to_string(process);
}

} // namespace

std::vector<pid_t> FindProcesses(const std::string& name, const std::string& mark) {
    std::vector<pid_t> found;
    std::error_code failed;
    for (const auto& entry : fs::directory_iterator("/proc", failed)) {
        const pid_t process = std::atoi(entry.path().filename().c_str());
        if (process > 0 && Text(entry.path() / "comm") == name + '\n' &&
            Text(entry.path() / "environ").find(mark) != std::string::npos) {
            found.push_back(process);
        }
    }
    return found;
}

double ProcessorSeconds(const std::vector<pid_t>& processes) {
    double ticks = 0;
    for (const pid_t process : processes) {
        const std::string text = Text(Folder(process) / "stat");
        const std::size_t name = text.rfind(')'); // which may hold blanks
        if (name == std::string::npos) {
            continue;
        }
        constexpr int kBefore = 11; // fields between the name and the times
        std::istringstream fields(text.substr(name + 1));
        std::string skipped;
        for (int i = 0; i < kBefore; ++i) {
            fields >> skipped;
        }
        double user = 0;
        double system = 0;
        fields >> user >> system;
        ticks += user + system;
    }
    return ticks / static_cast<double>(sysconf(_SC_CLK_TCK));
}

double Memory(const std::vector<pid_t>& processes) {
    double kilobytes = 0;
    for (const pid_t process : processes) {
        std::istringstream lines(Text(Folder(process) / "smaps_rollup"));
        for (std::string line; std::getline(lines, line);) {
            kilobytes += line.starts_with("Pss:") ? std::strtod(line.c_str() + 4, nullptr) : 0;
        }
    }
    return kilobytes / 1024;
}

} // namespace vistrame::bench
