// A stream of 10 packets every 20 ms, played against a clock that the test moves.
#include <algorithm>
#include <cmath>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "analyzer/paced_stream.h"
#include "tests/analyzer/temporary_stream.h"

namespace vistrame::test {
namespace {

constexpr std::int64_t kMsec = kPcrPerSecond / 1000;
constexpr std::int64_t kStep = 4 * kMsec;
constexpr double kPacketsPerSecond = 500;

// Plays a stream and keeps what came out when.
class Player {
public:
    explicit Player(const TsBuilder& builder, bool loop = false) : written_(Render(builder.packets)) {
        EXPECT_TRUE(file_.Open(written_.Path()).Ok());
        stream_.emplace(file_, loop);
    }

    PacedStream& Stream() { return *stream_; }

    void PlayFor(std::int64_t duration) {
        for (const std::int64_t end = now_ + duration; now_ < end; now_ += kStep) {
            const PacedStream::Portion portion = stream_->Due(now_);
            for (std::size_t at = 0; at < portion.packets.size(); at += kPacketSize) {
                const PacketView packet(std::span(portion.packets).subspan(at).first<kPacketSize>());
                sent_.push_back({now_, packet.PacketId() == 0x200 ? ReadBig32(packet.Payload(), 0) : kOther});
            }
            if (portion.seam) {
                seams_.push_back(sent_.size());
            }
        }
    }
    // Lets time pass without asking for anything.
    void Wait(std::int64_t duration) { now_ += duration; }

    // The numbers of the packets sent since the last call, in order.
    std::vector<std::uint32_t> TakeNumbers() {
        std::vector<std::uint32_t> numbers;
        for (; taken_ < sent_.size(); ++taken_) {
            if (sent_[taken_].number != kOther) {
                numbers.push_back(sent_[taken_].number);
            }
        }
        return numbers;
    }
    std::size_t SentBetween(std::int64_t begin, std::int64_t end) const {
        return static_cast<std::size_t>(std::ranges::count_if(
            sent_, [=](const SentPacket& sent) { return sent.when >= begin && sent.when < end; }));
    }
    // Packets of the fullest 100 ms.
    std::size_t LargestBurst() const {
        std::size_t largest = 0;
        for (std::int64_t begin = 0; begin < now_; begin += kStep) {
            largest = std::max(largest, SentBetween(begin, begin + 100 * kMsec));
        }
        return largest;
    }

    std::int64_t Now() const { return now_; }
    std::size_t Sent() const { return sent_.size(); }
    const std::vector<std::size_t>& Seams() const { return seams_; }

private:
    static constexpr std::uint32_t kOther = 0xFFFFFFFF;
    struct SentPacket {
        std::int64_t when;
        std::uint32_t number;
    };

    TemporaryStream written_;
    StreamFile file_;
    std::optional<PacedStream> stream_;
    std::int64_t now_ = 0;
    std::vector<SentPacket> sent_;
    std::size_t taken_ = 0;
    std::vector<std::size_t> seams_;
};

bool Counts(const std::vector<std::uint32_t>& numbers, std::uint32_t first) {
    return std::ranges::all_of(numbers, [&](std::uint32_t number) { return number == first++; });
}

// What the PCRs of a stream may do, and how long the whole must take all the same.
TEST(PacedStream, PaceFollowsThePcrs) {
    struct Row {
        const char* what;
        std::vector<std::int64_t> pcrs; // of 0.5 s each, the first of every part
        std::int64_t seconds10;         // tenths
    };
    const std::int64_t half = kPcrPerSecond / 2;
    const Row rows[] = {
        {"steady", {0, half, 2 * half, 3 * half}, 20},
        {"over the wrap", {kPcrWrap - half - 1000, kPcrWrap - 1000, half - 1000, 2 * half - 1000}, 20},
        {"an hour forward", {0, half, 3600 * kPcrPerSecond, 3600 * kPcrPerSecond + half}, 20},
        {"ten seconds back", {20 * kPcrPerSecond, 41 * half, 10 * kPcrPerSecond, 21 * half}, 20},
        {"a gap of 0.8 s that is part of the time", {0, half, 2 * half + 8 * kPcrPerSecond / 10}, 23},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.what);
        TsBuilder builder;
        for (const std::int64_t pcr : row.pcrs) {
            const TsBuilder part = NumberedStream(25, pcr);
            builder.packets.insert(builder.packets.end(), part.packets.begin(), part.packets.end());
        }
        Player player(builder);
        player.PlayFor(row.seconds10 * kPcrPerSecond / 10 - 60 * kMsec);
        EXPECT_LT(player.Sent(), builder.packets.size());
        EXPECT_FALSE(player.Stream().Ended());
        player.PlayFor(120 * kMsec);
        EXPECT_EQ(player.Sent(), builder.packets.size());
        EXPECT_TRUE(player.Stream().Ended());
        EXPECT_LE(player.LargestBurst(), 60U) << "50 and the tables";
    }
}

TEST(PacedStream, StreamsWithoutAPcrGoByADefaultRateAndOtherDistancesByTheirPackets) {
    TsBuilder silent;
    silent.AddPat({{1, 0x100}});
    silent.AddPmt(0x100, 1, kNullPid, {{kClockPid, 0x02, {}}});
    for (int i = 0; i < 8000; ++i) {
        (void)silent.AddPacket(0x200, false, Bytes{0, 0, 0, 0});
    }
    Player player(silent);
    player.PlayFor(kPcrPerSecond);
    EXPECT_NEAR(static_cast<double>(player.Sent()) * kPacketSize * 8, 6e6, 1e5);

    const TsBuilder builder = NumberedStream(100);
    for (const std::size_t stride : {188U, 192U, 204U}) {
        SCOPED_TRACE(stride);
        const TemporaryStream written(Render(builder.packets, stride));
        StreamFile file;
        ASSERT_TRUE(file.Open(written.Path()).Ok());
        EXPECT_NEAR(file.PacketsPerSecond(), kPacketsPerSecond, 1);
        EXPECT_NEAR(file.Seconds(), 2, 0.02);
        PacedStream stream(file, false);
        (void)stream.Due(0);
        const PacedStream::Portion portion = stream.Due(kPcrPerSecond / 2);
        EXPECT_NEAR(static_cast<double>(portion.packets.size()), kPacketsPerSecond / 2 * kPacketSize,
                    5 * kPacketSize);
    }
}

// Four passes: every packet of each, the seams between them told before the first packet, the pace going on.
TEST(PacedStream, RepeatsWithASeam) {
    const TsBuilder builder = NumberedStream(25);
    Player player(builder, true);
    player.PlayFor(2 * kPcrPerSecond - 40 * kMsec);
    const std::size_t pass = builder.packets.size();
    EXPECT_THAT(player.Seams(), testing::ElementsAre(pass, 2 * pass, 3 * pass));
    EXPECT_NEAR(static_cast<double>(player.Sent()), 1.96 * kPacketsPerSecond, 20);
    EXPECT_LE(player.LargestBurst(), 60U);
    std::vector<std::uint32_t> numbers = player.TakeNumbers();
    for (int i = 0; i < 3; ++i) {
        const std::vector<std::uint32_t> one(numbers.begin(), numbers.begin() + 225);
        EXPECT_TRUE(Counts(one, 0)) << i;
        numbers.erase(numbers.begin(), numbers.begin() + 225);
    }
}

// 0.3 s are sent, nothing for 0.4 s, then what the kind of resuming says.
TEST(PacedStream, ResumesAfterAStall) {
    struct Row {
        ResumeAction kind;
        std::size_t atOnce;  // packets in the 20 ms after
        std::uint32_t first; // number that follows
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
        (void)player.TakeNumbers();
        player.Stream().Stall();
        player.PlayFor(400 * kMsec);
        EXPECT_THAT(player.TakeNumbers(), testing::IsEmpty());
        player.Stream().Resume(row.kind, player.Now());
        const std::int64_t resumed = player.Now();
        player.PlayFor(200 * kMsec);
        EXPECT_NEAR(static_cast<double>(player.SentBetween(resumed, resumed + 20 * kMsec)),
                    static_cast<double>(row.atOnce), 8);
        const std::vector<std::uint32_t> numbers = player.TakeNumbers();
        ASSERT_FALSE(numbers.empty());
        EXPECT_NEAR(numbers.front(), row.first, 8);
        EXPECT_TRUE(Counts(numbers, numbers.front()));
        EXPECT_NEAR(static_cast<double>(player.SentBetween(resumed + 20 * kMsec, resumed + 200 * kMsec)), 90,
                    8);
    }
}

// A sender that is late catches up as long as that is little; then the stream waits for it.
TEST(PacedStream, LagsAreCaughtUpWithinASecond) {
    Player player(NumberedStream(400));
    player.PlayFor(100 * kMsec);
    player.Wait(600 * kMsec);
    player.PlayFor(100 * kMsec);
    EXPECT_NEAR(static_cast<double>(player.Sent()), 0.8 * kPacketsPerSecond, 10);
    EXPECT_NEAR(static_cast<double>(player.Stream().LatestEver()) / kMsec, 600, 10);
    player.Wait(3000 * kMsec);
    player.PlayFor(100 * kMsec);
    EXPECT_NEAR(static_cast<double>(player.Sent()), 0.9 * kPacketsPerSecond, 10);
}

TEST(PacedStream, SeeksByTheTimeOfTheFile) {
    Player player(NumberedStream(100));
    player.PlayFor(100 * kMsec);
    (void)player.TakeNumbers();
    EXPECT_TRUE(player.Stream().Seek(1.5));
    player.PlayFor(100 * kMsec);
    std::vector<std::uint32_t> numbers = player.TakeNumbers();
    ASSERT_FALSE(numbers.empty());
    EXPECT_NEAR(numbers.front(), 675, 18);
    EXPECT_NEAR(static_cast<double>(numbers.size()), 45, 10);
    EXPECT_NEAR(player.Stream().FileSeconds(), 1.6, 0.05);
    EXPECT_FALSE(player.Stream().Seek(5)) << "the file has 2 s";
    player.PlayFor(100 * kMsec);
    numbers = player.TakeNumbers();
    ASSERT_FALSE(numbers.empty());
    EXPECT_EQ(numbers.front(), 0U);
}

} // namespace
} // namespace vistrame::test
