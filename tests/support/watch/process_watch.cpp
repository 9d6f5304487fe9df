#include "tests/support/watch/process_watch.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <sstream>
#include <string_view>

#include "tests/support/watch/screen_watch.h"

namespace vistrame::live {
namespace {

namespace fs = std::filesystem;

std::string Text(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// Other sessions run programs of the same name: the Wine prefix tells them apart.
bool IsOfThisSession(const fs::path& process) {
    const char* const prefix = std::getenv("WINEPREFIX");
    return prefix != nullptr &&
           Text(process / "environ").find(std::string("WINEPREFIX=") + prefix + '\0') != std::string::npos;
}

int Entries(const fs::path& folder) {
    std::error_code failed;
    return static_cast<int>(std::distance(fs::directory_iterator(folder, failed), fs::directory_iterator()));
}

std::optional<ProcessWatch::Look> LookAt(const fs::path& process) {
    constexpr double kPage = 4096.0 / 1048576.0;
    std::istringstream pages(Text(process / "statm"));
    double addresses = 0;
    double resident = 0;
    if (!(pages >> addresses >> resident) || resident == 0) {
        return std::nullopt; // at its end
    }
    return ProcessWatch::Look{Now(),
                              std::atoi(process.filename().c_str()),
                              Entries(process / "task"),
                              Entries(process / "fd"),
                              addresses * kPage,
                              0};
}

double Memory(const fs::path& process) {
    std::istringstream lines(Text(process / "smaps_rollup"));
    for (std::string line; std::getline(lines, line);) {
        if (constexpr std::string_view kOwn = "Anonymous:"; line.starts_with(kOwn)) {
            return std::strtod(line.c_str() + kOwn.size(), nullptr) / 1024;
        }
    }
    return 0;
}

fs::path Find(const std::string& program) {
    std::error_code failed;
    for (const auto& entry : fs::directory_iterator("/proc", failed)) {
        const std::string name = entry.path().filename();
        if (std::ranges::all_of(name, [](char c) { return c >= '0' && c <= '9'; }) &&
            Text(entry.path() / "comm") == program + '\n' && IsOfThisSession(entry.path())) {
            return entry.path();
        }
    }
    return {};
}

} // namespace

ProcessWatch::ProcessWatch(std::string program)
    : program_(std::move(program)), thread_([this](const std::stop_token& stop) { Watch(stop); }) {}

ProcessWatch::~ProcessWatch() = default;

const std::vector<ProcessWatch::Look>& ProcessWatch::Looks() {
    thread_.request_stop();
    if (thread_.joinable()) {
        thread_.join();
    }
    return looks_;
}

void ProcessWatch::Watch(const std::stop_token& stop) {
    constexpr double kMemoryEvery = 1; // seconds: the kernel walks through all pages for it
    fs::path process;
    double memory = 0;
    double memoryTime = 0;
    while (!stop.stop_requested()) {
        if (process.empty()) {
            process = Find(program_);
        }
        if (!process.empty()) {
            if (const auto look = LookAt(process)) {
                if (look->time - memoryTime >= kMemoryEvery) {
                    memory = Memory(process);
                    memoryTime = look->time;
                }
                looks_.push_back(*look);
                looks_.back().memory = memory;
            } else {
                process.clear();
            }
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
}

} // namespace vistrame::live
