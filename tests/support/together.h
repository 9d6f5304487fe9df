#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <initializer_list>
#include <thread>
#include <vector>

namespace vistrame::test {

// Each piece of work again and again on a thread of its own, all at the same time, for a while. `release`
// then frees those that wait; it is called until all have come back.
inline void Together(
    std::initializer_list<std::function<void()>> works, const std::function<void()>& release = [] {}) {
    std::atomic<bool> over = false;
    std::atomic<std::size_t> back = 0;
    std::vector<std::jthread> threads;
    for (const auto& work : works) {
        threads.emplace_back([&] {
            while (!over) {
                work();
            }
            ++back;
        });
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(700));
    for (over = true; back < works.size(); std::this_thread::sleep_for(std::chrono::milliseconds(1))) {
        release();
    }
}

} // namespace vistrame::test
