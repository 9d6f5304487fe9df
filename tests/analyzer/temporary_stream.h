#pragma once

#include <filesystem>
#include <fstream>
#include <random>
#include <string>

#include "tests/transport/ts_builder.h"

namespace vistrame::test {

// A file for one test, deleted with the object.
class TemporaryStream {
public:
    explicit TemporaryStream(const Bytes& content) {
        static std::random_device number; // other builds' tests may run beside this one
        path_ = std::filesystem::temp_directory_path() / ("vistrame " + std::to_string(number()) + ".ts");
        std::ofstream(path_, std::ios::binary)
            .write(reinterpret_cast<const char*>(content.data()),
                   static_cast<std::streamsize>(content.size()));
    }
    TemporaryStream(const TemporaryStream&) = delete;
    TemporaryStream& operator=(const TemporaryStream&) = delete;
    ~TemporaryStream() {
        std::error_code ignored;
        std::filesystem::remove(path_, ignored);
    }

    std::string Path() const { return path_.string(); }

private:
    std::filesystem::path path_;
};

} // namespace vistrame::test
