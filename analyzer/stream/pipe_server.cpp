#include "analyzer/stream/pipe_server.h"

#include "analyzer/base/text.h"
#include "contract/stream_pipe.h"

namespace vistrame {

namespace {

// The pipe takes this much before a write waits: 1 s at 8 Mbit/s, so that a reader that pauses for a moment
// does not hold the pace up.
constexpr DWORD kPipeBytes = DWORD{1} << 20;

} // namespace

PipeServer::PipeServer()
    : done_(CreateEventA(nullptr, TRUE, FALSE, nullptr)),
      cancel_(CreateEventA(nullptr, TRUE, FALSE, nullptr)) {}

bool PipeServer::Create(std::uint32_t pipeId) {
    Close();
    (void)ResetEvent(cancel_.get());
    const std::string name = Format(kStreamPipeFormat, static_cast<unsigned>(pipeId));
    pipe_ = AdoptHandle(CreateNamedPipeA(name.c_str(), PIPE_ACCESS_OUTBOUND | FILE_FLAG_OVERLAPPED,
                                         PIPE_TYPE_BYTE | PIPE_WAIT, 1, kPipeBytes, 0, 0, nullptr));
    if (!pipe_) {
        return false;
    }
    operation_ = {};
    operation_.hEvent = done_.get();
    connected_ = ConnectNamedPipe(pipe_.get(), &operation_) || GetLastError() == ERROR_PIPE_CONNECTED;
    connecting_ = !connected_ && GetLastError() == ERROR_IO_PENDING;
    return connected_ || connecting_;
}

void PipeServer::Close() {
    if (connecting_) {
        DWORD ignored = 0;
        (void)CancelIo(pipe_.get()); // what was not under way any more is finished
        (void)GetOverlappedResult(pipe_.get(), &operation_, &ignored, TRUE);
    }
    pipe_.reset();
    connecting_ = false;
    connected_ = false;
}

bool PipeServer::Connected() {
    if (connecting_ && IsSignalled(done_.get())) {
        DWORD ignored = 0;
        connected_ = GetOverlappedResult(pipe_.get(), &operation_, &ignored, FALSE);
        connecting_ = false;
    }
    return connected_;
}

bool PipeServer::Write(std::span<const std::uint8_t> bytes) {
    while (connected_ && !bytes.empty()) {
        operation_ = {};
        operation_.hEvent = done_.get();
        DWORD written = 0;
        if (!WriteFile(pipe_.get(), bytes.data(), static_cast<DWORD>(bytes.size()), nullptr, &operation_) &&
            GetLastError() != ERROR_IO_PENDING) {
            connected_ = false;
            break;
        }
        const HANDLE events[] = {done_.get(), cancel_.get()};
        const bool cancelled = WaitForMultipleObjects(2, events, FALSE, INFINITE) != WAIT_OBJECT_0;
        if (cancelled) {
            (void)CancelIo(pipe_.get()); // the result below says how far it came
        }
        connected_ = GetOverlappedResult(pipe_.get(), &operation_, &written, TRUE) && !cancelled;
        bytes = bytes.subspan(written);
    }
    return connected_;
}

} // namespace vistrame
