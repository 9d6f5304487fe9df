#include <memory>
#include <thread>
#include <utility>

#include "filters/base/guarded.h"
#include "filters/base/worker_thread.h"

namespace vistrame {

void WorkerThread::Start(std::function<void()> work) {
    handle_ = std::make_unique<std::thread>([work = std::move(work)] {
                  (void)Guarded([&] {
                      work();
                      return S_OK;
                  });
              }).release();
}

void WorkerThread::Join() {
    if (handle_ != nullptr) {
        const std::unique_ptr<std::thread> thread(static_cast<std::thread*>(std::exchange(handle_, nullptr)));
        thread->join();
    }
}

} // namespace vistrame
