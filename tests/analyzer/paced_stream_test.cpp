// A stream of 10 packets every 20 ms, played against a clock that the test moves.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "analyzer/stream/paced_stream.h"
#include "tests/analyzer/temporary_stream.h"
#include "transport/clock.h"

namespace vistrame::test {
namespace {

constexpr std::int64_t kMsec = kPcrPerSecond / 1000;
constexpr double kPacketsPerSecond = 500;
constexpr Pid kFirstNumber = 0x200;

// Tables, then `intervals` times a PCR and 9 packets numbered by their PIDs. PCRs are 20 ms apart.
TsBuilder NumberedStream(int intervals, std::int64_t firstPcr = 0) {
    TsBuilder builder;
    builder.AddPat({{1, 0x100}});
    builder.AddPmt(0x100, 1, 0x101, {{0x101, 0x02, {}}});
    for (int i = 0; i < intervals; ++i) {
        builder.AddPcr(0x101, firstPcr + i * 20 * kMsec);
        for (int j = 0; j < 9; ++j) {
            (void)builder.AddPacket(static_cast<Pid>(kFirstNumber + i * 9 + j), false, Bytes{0});
        }
    }
    return builder;
}

// Plays a stream and keeps what came out when.
struct Player {
    explicit Player(const TsBuilder& builder, bool loop = false, std::size_t stride = kPacketSize)
        : written(Render(builder.packets, stride)) {
        Open(written.Path(), loop);
    }
    explicit Player(const std::string& path) : written({}) { Open(path, false); }

    void Open(const std::string& path, bool loop) {
        EXPECT_TRUE(file.Open(path).Ok());
        stream.emplace(file, loop);
    }

    void PlayFor(std::int64_t duration) {
        for (const std::int64_t end = now + duration; now < end; now += 4 * kMsec) {
            const PacedStream::Portion portion = stream->Due(now);
            for (std::size_t at = 0; at < portion.packets.size(); at += kPacketSize) {
                const PacketView packet(std::span(portion.packets).subspan(at).first<kPacketSize>());
                sent.push_back(now);
                if (packet.PacketId() >= kFirstNumber) {
                    numbers.push_back(packet.PacketId() - kFirstNumber);
                }
            }
            sync += portion.sync;
            if (portion.seam) {
                seams.push_back(sent.size());
            }
            largestBurst = std::max(largestBurst, SentSince(now - 100 * kMsec));
        }
    }
    std::ptrdiff_t SentSince(std::int64_t begin) const {
        return sent.end() - std::ranges::upper_bound(sent, begin);
    }

    TemporaryStream written;
    StreamFile file;
    std::optional<PacedStream> stream;
    std::int64_t now = 0;
    std::vector<std::int64_t> sent; // when each packet came out
    std::vector<int> numbers;       // since a test cleared them
    std::vector<std::size_t> seams; // packets before each
    SyncErrors sync;
    std::ptrdiff_t largestBurst = 0; // packets of the fullest 100 ms
};

void ExpectCounting(const std::vector<int>& numbers) {
    for (std::size_t i = 1; i < numbers.size(); ++i) {
        EXPECT_EQ(numbers[i], numbers[i - 1] + 1);
    }
}

// What the PCRs of a stream may do, and how long the whole must take all the same.
TEST(PacedStream, PaceFollowsThePcrs) {
    struct Row {
        const char* what;
        std::vector<std::int64_t> pcrs; // of 0.5 s each, the first of every part
        std::int64_t msec;
    };
    const std::int64_t half = kPcrPerSecond / 2;
    const Row rows[] = {
        {"steady", {0, half, 2 * half, 3 * half}, 2000},
        {"over the wrap", {kPcrWrap - half - 1000, kPcrWrap - 1000, half - 1000, 2 * half - 1000}, 2000},
        {"an hour forward", {0, half, 3600 * kPcrPerSecond, 3600 * kPcrPerSecond + half}, 2000},
        {"ten seconds back", {20 * kPcrPerSecond, 41 * half, 10 * kPcrPerSecond, 21 * half}, 2000},
        {"a gap of 0.8 s that is part of the time", {0, half, 2 * half + 8 * kPcrPerSecond / 10}, 2300},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        TsBuilder builder;
        for (const std::int64_t pcr : row.pcrs) {
            std::ranges::copy(NumberedStream(25, pcr).packets, std::back_inserter(builder.packets));
        }
        Player player(builder);
        player.PlayFor((row.msec - 60) * kMsec);
        EXPECT_LT(player.sent.size(), builder.packets.size());
        player.PlayFor(120 * kMsec);
        EXPECT_EQ(player.sent.size(), builder.packets.size());
        EXPECT_TRUE(player.stream->Ended());
        EXPECT_LE(player.largestBurst, 60) << "50 and the tables";
    }
}

TEST(PacedStream, StreamsWithoutAPcrGoByADefaultRateAndOtherDistancesByTheirPackets) {
    TsBuilder silent;
    silent.AddPat({{1, 0x100}});
    silent.AddPmt(0x100, 1, kNullPid, {{0x101, 0x02, {}}});
    for (int i = 0; i < 8000; ++i) {
        (void)silent.AddPacket(0x200, false, Bytes{0});
    }
    Player player(silent);
    player.PlayFor(kPcrPerSecond);
    EXPECT_NEAR(static_cast<double>(player.sent.size()) * kPacketSize * 8, 6e6, 1e5);

    for (const std::size_t stride : {192U, 204U}) {
        SCOPED_TRACE(stride);
        Player other(NumberedStream(100), false, stride);
        EXPECT_NEAR(other.file.PacketsPerSecond(), kPacketsPerSecond, 1);
        EXPECT_NEAR(other.file.Seconds(), 2, 0.02);
        other.PlayFor(kPcrPerSecond);
        EXPECT_NEAR(static_cast<double>(other.sent.size()), kPacketsPerSecond, 10);
        ExpectCounting(other.numbers);
    }
}

// Four passes: every packet of each, the seams between them reported before the first packet, the pace going
// on.
TEST(PacedStream, RepeatsWithASeam) {
    const TsBuilder builder = NumberedStream(25);
    Player player(builder, true);
    player.PlayFor(2 * kPcrPerSecond - 40 * kMsec);
    const std::size_t pass = builder.packets.size();
    EXPECT_THAT(player.seams, testing::ElementsAre(pass, 2 * pass, 3 * pass));
    EXPECT_NEAR(static_cast<double>(player.sent.size()), 1.96 * kPacketsPerSecond, 20);
    EXPECT_LE(player.largestBurst, 60);
    for (std::size_t i = 0; i < 3 * 225; ++i) {
        EXPECT_EQ(player.numbers.at(i), static_cast<int>(i % 225));
    }
}

// 0.3 s are sent, nothing for 0.4 s, then what the kind of resuming says.
TEST(PacedStream, ResumesAfterAStall) {
    struct Row {
        ResumeAction kind;
        int atOnce; // packets in the 20 ms after
        int first;  // number that follows
    };
    const Row rows[] = {
        {ResumeAction::kLate, 10, 135},
        {ResumeAction::kBacklog, 210, 135},
        {ResumeAction::kSkip, 10, 315},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(static_cast<int>(row.kind));
        Player player(NumberedStream(100));
        player.PlayFor(300 * kMsec);
        player.stream->Stall();
        player.numbers.clear();
        player.PlayFor(400 * kMsec);
        EXPECT_THAT(player.numbers, testing::IsEmpty());
        player.stream->Resume(row.kind, player.now);
        player.PlayFor(20 * kMsec);
        EXPECT_NEAR(static_cast<double>(player.SentSince(player.now - 24 * kMsec)), row.atOnce, 8);
        player.PlayFor(180 * kMsec);
        EXPECT_NEAR(static_cast<double>(player.SentSince(player.now - 180 * kMsec)), 90, 8);
        EXPECT_NEAR(player.numbers.at(0), row.first, 8);
        ExpectCounting(player.numbers);
    }
}

// A sender that is late catches up as long as that is little; then the stream waits for it.
TEST(PacedStream, LagsAreCaughtUpWithinASecond) {
    Player player(NumberedStream(400));
    player.PlayFor(100 * kMsec);
    player.now += 600 * kMsec;
    player.PlayFor(100 * kMsec);
    EXPECT_NEAR(static_cast<double>(player.sent.size()), 0.8 * kPacketsPerSecond, 10);
    EXPECT_NEAR(static_cast<double>(player.stream->LatestEver()) / kMsec, 600, 10);
    player.now += 3000 * kMsec;
    player.PlayFor(100 * kMsec);
    EXPECT_NEAR(static_cast<double>(player.sent.size()), 0.9 * kPacketsPerSecond, 10);
}

TEST(PacedStream, SeeksByTheTimeOfTheFile) {
    Player player(NumberedStream(100));
    player.PlayFor(100 * kMsec);
    player.numbers.clear();
    EXPECT_TRUE(player.stream->Seek(1.5));
    player.PlayFor(100 * kMsec);
    EXPECT_NEAR(player.numbers.at(0), 675, 18);
    EXPECT_NEAR(static_cast<double>(player.numbers.size()), 45, 10);
    EXPECT_NEAR(player.stream->FileSeconds(), 1.6, 0.05);
    EXPECT_FALSE(player.stream->Seek(5)) << "the file has 2 s";
    player.numbers.clear();
    player.PlayFor(100 * kMsec);
    EXPECT_EQ(player.numbers.at(0), 0);
}

// Two packets in a row and one alone have lost their sync bytes: said when they are due, and not for what a
// seek looks at on its way.
TEST(PacedStream, SaysWhatIsWrongBetweenThePackets) {
    TsBuilder builder = NumberedStream(200);
    for (const std::size_t packet : {600U, 601U, 1400U}) {
        builder.packets[packet][0] = 0;
    }
    Player player(builder);
    player.PlayFor(100 * kMsec);
    EXPECT_EQ(player.sync.bytes, 0U);
    player.PlayFor(1400 * kMsec);
    EXPECT_EQ(player.sync.bytes, 2U);
    EXPECT_EQ(player.sync.losses, 1U);
    EXPECT_TRUE(player.stream->Seek(3.5));
    player.PlayFor(kPcrPerSecond);
    EXPECT_EQ(player.sync.bytes, 2U);
    EXPECT_TRUE(player.stream->Seek(2));
    player.PlayFor(kPcrPerSecond);
    EXPECT_EQ(player.sync.bytes, 3U);
    EXPECT_EQ(player.sync.losses, 1U);
}

// 10 GB, nearly all of them a hole: some megabytes at the beginning, and 5 s in the middle whose clock is 3 s
// late by the mean rate.
TEST(PacedStream, SeeksInAHugeFileWithoutReadingIt) {
    constexpr std::int64_t kMiddle = 50'000; // seconds by the mean rate
    const Bytes head = Render(NumberedStream(500).packets);
    const Bytes middle = Render(NumberedStream(250, (kMiddle - 3) * kPcrPerSecond).packets);
    Bytes begin;
    while (begin.size() < (std::size_t{16} << 20)) {
        begin.insert(begin.end(), head.begin(), head.end());
    }
    const TemporaryStream written(begin);
    std::filesystem::resize_file(written.Path(), 10'000'000'000);
    std::fstream file(written.Path(), std::ios::binary | std::ios::in | std::ios::out);
    file.seekp(kMiddle * static_cast<std::streamoff>(kPacketsPerSecond) * std::streamoff{kPacketSize});
    file.write(reinterpret_cast<const char*>(middle.data()), static_cast<std::streamsize>(middle.size()));
    file.close();
    Player player(written.Path());
    EXPECT_TRUE(player.stream->Seek(kMiddle));
    player.PlayFor(100 * kMsec);
    EXPECT_NEAR(player.numbers.at(0), 1350, 18);
    EXPECT_NEAR(player.stream->FileSeconds(), kMiddle + 0.1, 0.05);
    EXPECT_FALSE(player.stream->Seek(200'000));
}

} // namespace
} // namespace vistrame::test
