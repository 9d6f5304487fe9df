#include "player/control/pipe_reader.h"

#include <array>
#include <cstdio>
#include <process.h>

#include "player/app/process_state.h"
#include "player/graph/feed_lock.h"
#include "player/graph/player_graph.h"
#include "contract/stream_pipe.h"

namespace vistrame {

DWORD ReaderThreadId = 0;

namespace {

constexpr int kConnectAttempts = 100;
constexpr DWORD kConnectRetryMsec = 20;

std::array<BYTE, 0x100000>
    StreamBuffer; // reused by every read: the feed filter has taken the bytes on return
constexpr DWORD kReadSize = StreamBuffer.size() - 1; // the analyzer's writes arrive in chunks of at most this

void Deliver(DWORD bytes) {
    const FeedLockHold hold(ThePlayerGraph());
    if (FeedData* feed = ThePlayerGraph().feedData.load(std::memory_order_acquire); feed != nullptr) {
        (void)feed->DeliverData(StreamBuffer.data(),
                                bytes); // what one delivery fails with is no reason to stop
    }
}

void PipeReaderThread(void* /*unused*/) {
    // Changes nothing: a client's handle blocks and reads bytes, whatever the pipe's type.
    (void)SetNamedPipeHandleState(PipeHandle, nullptr, nullptr, nullptr);
    for (;;) {
        DWORD bytes = 0;
        if (ReadFile(PipeHandle, StreamBuffer.data(), kReadSize, &bytes, nullptr) == FALSE) {
            EndProcessAtOnce();
        }
        ReaderThreadId = GetCurrentThreadId();
        Deliver(bytes); // also when a write of nothing was read
    }
}

} // namespace

HANDLE OpenStreamPipe(std::uint32_t pipeId) {
    std::array<char, 32> name{};
    (void)std::snprintf(name.data(), name.size(), kStreamPipeFormat, static_cast<unsigned>(pipeId));
    for (int attempt = 0; attempt < kConnectAttempts; ++attempt) {
        HANDLE pipe = CreateFileA(name.data(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
        if (pipe != INVALID_HANDLE_VALUE) {
            return pipe;
        }
        Sleep(kConnectRetryMsec);
    }
    return INVALID_HANDLE_VALUE;
}

void StartPipeReader() {
    (void)_beginthread(PipeReaderThread, 0, nullptr);
}

} // namespace vistrame
