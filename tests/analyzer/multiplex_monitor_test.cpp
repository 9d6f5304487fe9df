// A multiplex sent at one packet a millisecond: what is said of its programmes a second later, and counted.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "analyzer/measure/programme_state.h"
#include "tests/transport/ts_builder.h"

namespace vistrame::test {
namespace {

constexpr double kSentMsec = 1000;

// Sends the rounds of a scenario, 40 ms each, with the clock going on.
struct Multiplex {
    void Send(const TsBuilder& builder, double msec) {
        for (const double end = now + msec; now < end; now += 40) {
            monitor.Push(Render(builder.packets), now);
            monitor.Break(); // the same packets again
        }
    }
    std::string StateOf(std::uint16_t number) {
        for (const ProgrammeReading& reading : monitor.Read(now).programmes) {
            if (reading.programme.number == number) {
                return ProgrammeState(reading);
            }
        }
        return "not there";
    }

    MultiplexMonitor monitor;
    double now = 5000;
};

TsBuilder Tables(const std::vector<TsBuilder::Stream>& streams, Pid pcrPid = 0x101) {
    TsBuilder builder;
    builder.AddPat({{1, 0x100}});
    builder.AddPmt(0x100, 1, pcrPid, streams);
    return builder;
}

TEST(MultiplexMonitor, SaysWhatAProgrammeLacksWithinASecond) {
    const TsBuilder::Stream video{0x101, 0x02, {}};
    const TsBuilder::Stream audio{0x102, 0x03, {}};
    struct Row {
        std::vector<TsBuilder::Stream> streams;
        std::vector<Pid> sent;
        bool pcr;
        bool scrambled;
        const char* state;
    };
    const Row rows[] = {
        {{video, audio}, {0x101, 0x102}, true, false, ""},
        {{video, audio}, {0x101, 0x102}, true, true, "scrambled"},
        {{video, audio}, {}, false, false, "empty: no packets for 1 s"},
        {{video, audio}, {0x101}, true, false, "no sound for 1 s"},
        {{video, audio}, {0x102}, true, false, "no video for 1 s"},
        {{video, audio}, {0x101, 0x102}, false, false, "no PCR for 1 s"},
        {{audio}, {0x102}, true, false, "radio"},
        {{{0x103, 0x05, {}}}, {0x103}, true, false, "data only"},
    };
    for (const Row& row : rows) {
        TsBuilder builder = Tables(row.streams);
        if (row.pcr) {
            builder.AddPcr(0x101, 0);
        }
        for (const Pid pid : row.sent) {
            (void)builder.AddPacket(pid, true, Bytes{0});
            builder.packets.back()[3] |= row.scrambled ? 0x80 : 0;
        }
        Multiplex multiplex;
        multiplex.Send(builder, kSentMsec);
        EXPECT_EQ(multiplex.StateOf(1), row.state);
    }
    TsBuilder pat;
    pat.AddPat({{1, 0x100}});
    Multiplex multiplex;
    multiplex.Send(pat, kSentMsec);
    EXPECT_EQ(multiplex.StateOf(1), "missing: no map for 1 s");
}

TEST(MultiplexMonitor, CountsErrorsByTheirNamesAndPacketsByTheirSecond) {
    TsBuilder builder = Tables({{0x101, 0x02, {}}});
    for (int i = 0; i < 8; ++i) {
        builder.AddPcr(0x101, i * 40 * (kPcrPerSecond / 1000));
        (void)builder.AddPacket(0x102, false, Bytes{0});
    }
    auto& packets = builder.packets;
    packets.push_back(packets.back());  // a repetition is allowed,
    packets.push_back(packets.back());  // a second one is not
    packets.erase(packets.begin() + 5); // one of 0x102 lost
    packets[8][1] |= 0x80;              // a transport error, whose counter is not believed: one more lost
    packets[11][7] ^= 0x04;             // the clock leaps
    const auto whole = static_cast<double>(packets.size());
    for (const std::uint8_t first : {0, 0, 0, 0x47, 0}) { // a loss, and a byte
        packets.push_back(packets.back());
        packets.back()[0] = first;
        packets.back()[1] = 0x1F; // the null PID, which has no counter
        packets.back()[2] = 0xFF;
    }
    Multiplex multiplex;
    multiplex.monitor.Push(Render(packets), multiplex.now, {.bytes = 2, .losses = 1});
    multiplex.now += 600;
    multiplex.monitor.Push({}, multiplex.now);
    const MultiplexReading reading = multiplex.monitor.Read(multiplex.now + 500);
    EXPECT_EQ(reading.errors.continuity, 3U);
    EXPECT_EQ(reading.errors.transport, 1U);
    EXPECT_EQ(reading.errors.pat, 1U);
    EXPECT_EQ(reading.errors.pmt, 1U);
    EXPECT_EQ(reading.errors.pcrDiscontinuity, 2U) << "there and back";
    EXPECT_EQ(reading.errors.syncByte, 6U);
    EXPECT_EQ(reading.errors.syncLoss, 2U);
    EXPECT_EQ(reading.bitsPerSecond, (whole + 1) * kPacketSize * 8);
}

} // namespace
} // namespace vistrame::test
