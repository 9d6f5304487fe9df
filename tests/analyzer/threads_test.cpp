// The analyzer's portable parts that two threads use: what receives and what sends, what sends and what
// shows.
#include <gtest/gtest.h>

#include "analyzer/measure/multiplex_monitor.h"
#include "analyzer/source/live_source.h"
#include "tests/support/together.h"
#include "tests/transport/ts_builder.h"

namespace vistrame::test {
namespace {

class Source final : public LiveSource {
public:
    using LiveSource::End;
    using LiveSource::Receive;
};

TEST(Threads, AStreamIsReceivedMeasuredAndReadAtTheSameTime) {
    TsBuilder builder;
    AddProgramme(builder, {.pictures = 25});
    const Bytes stream = Render(builder.packets);
    Source source;
    MultiplexMonitor monitor;
    std::atomic<std::size_t> received = 0;
    std::size_t taken = 0;
    std::atomic<double> now = 0;
    const auto receive = [&] {
        source.Receive(stream);
        received += stream.size();
    };
    const auto send = [&] {
        const Bytes packets = source.Take();
        taken += packets.size();
        monitor.Push(packets, now = now + 40, source.TakeErrors());
        now > 5000 ? monitor.Break() : void();
    };
    const auto show = [&] {
        const MultiplexReading reading = monitor.Read(now);
        EXPECT_LE(reading.programmes.size(), 1U);
        (void)monitor.Mapped(1);
        (void)monitor.Revision();
    };
    Together({receive, send, show});
    source.End();
    EXPECT_TRUE(source.Ended());
    EXPECT_GT(taken, 0U);
    EXPECT_LE(taken, received);
}

} // namespace
} // namespace vistrame::test
