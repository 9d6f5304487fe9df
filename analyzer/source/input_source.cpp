#include <chrono>
#include <thread>

#include <windows.h>

#include "analyzer/source/network_source.h"
#include "transport/clock.h"

namespace vistrame {

namespace {

// Standard input, which may be a file that comes as fast as it is read: each PCR waits for its moment.
//
// The thread may stand in a read that nothing ends but the writer; it is left to the end of the process then.
class InputSource final : public LiveSource {
public:
    void Run() {
        std::vector<std::uint8_t> chunk(std::size_t{1} << 16);
        HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
        DWORD read = 0;
        while (ReadFile(input, chunk.data(), static_cast<DWORD>(chunk.size()), &read, nullptr) && read > 0) {
            Receive(ByteSpan(chunk).first(read));
        }
        End();
    }

private:
    using Clock = std::chrono::steady_clock;

    void OnPcr(std::uint64_t pcr, Pid pid) override {
        constexpr std::int64_t kJump = kPcrPerSecond; // what is further off is another clock
        constexpr auto kLate = std::chrono::seconds(1);
        pid_ = pid_ == kNullPid ? pid : pid_;
        if (pid != pid_) {
            return;
        }
        const std::int64_t interval = PcrDifference(pcr, last_);
        last_ = pcr;
        due_ += std::chrono::microseconds(interval > 0 && interval < kJump ? interval / 27 : 0);
        if (Clock::now() - due_ > kLate) {
            due_ = Clock::now();
        }
        std::this_thread::sleep_until(due_);
    }

    Pid pid_ = kNullPid;
    std::uint64_t last_ = 0;
    Clock::time_point due_;
};

} // namespace

std::shared_ptr<LiveSource> MakeInputSource() {
    auto input = std::make_shared<InputSource>();
    std::thread([input] { input->Run(); }).detach();
    return input;
}

} // namespace vistrame
