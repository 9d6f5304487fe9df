#include "tests/filters/play/failing_memory.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace vistrame::test {

namespace {

std::atomic<unsigned> failEvery = 0; // 0: none
std::atomic<unsigned> failTimes = 0;
std::atomic<unsigned> asked = 0;
std::atomic<unsigned> failed = 0;

bool Fails() {
    const unsigned every = failEvery;
    if (every == 0 || ++asked % every != 0) {
        return false;
    }
    return failed++ < failTimes;
}

} // namespace

FailingMemory::FailingMemory(unsigned every, unsigned times) {
    asked = 0;
    failed = 0;
    failTimes = times;
    failEvery = every;
}
FailingMemory::~FailingMemory() {
    failEvery = 0;
}

unsigned FailingMemory::Failed() {
    return failed;
}

} // namespace vistrame::test

void* operator new(std::size_t size) {
    void* memory = vistrame::test::Fails() ? nullptr : std::malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}
