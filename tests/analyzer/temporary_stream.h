#pragma once

#include <atomic>
#include <filesystem>
#include <fstream>
#include <string>

#include "tests/transport/ts_builder.h"
#include "transport/clock.h"

namespace vistrame::test {

// A file for one test, deleted with the object.
class TemporaryStream {
public:
    explicit TemporaryStream(const Bytes& content) {
        static std::atomic<unsigned> made = 0;
        path_ = std::filesystem::temp_directory_path() /
                ("vistrame analyzer " +
                 std::to_string(std::filesystem::hash_value(std::filesystem::current_path())) + "-" +
                 std::to_string(made++) + ".ts");
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

inline constexpr Pid kClockPid = 0x101;
inline constexpr std::uint64_t kPacketsPerPcr = 10;
inline constexpr std::int64_t kPcrInterval = kPcrPerSecond / 50;

// A stream of one programme whose every packet can be told from the others: tables, then `intervals` times a
// PCR and kPacketsPerPcr - 1 packets that carry a number counting from 0. PCRs are kPcrInterval apart, from
// `firstPcr` on.
inline TsBuilder NumberedStream(int intervals, std::int64_t firstPcr = 0) {
    TsBuilder builder;
    builder.AddPat({{1, 0x100}});
    builder.AddPmt(0x100, 1, kClockPid, {{kClockPid, 0x02, {}}});
    std::uint32_t number = 0;
    for (int i = 0; i < intervals; ++i) {
        builder.AddPcr(kClockPid, firstPcr + i * kPcrInterval);
        for (std::uint64_t j = 1; j < kPacketsPerPcr; ++j) {
            const Bytes payload{static_cast<std::uint8_t>(number >> 24),
                                static_cast<std::uint8_t>(number >> 16),
                                static_cast<std::uint8_t>(number >> 8), static_cast<std::uint8_t>(number)};
            ++number;
            (void)builder.AddPacket(0x200, false, payload);
        }
    }
    return builder;
}

} // namespace vistrame::test
