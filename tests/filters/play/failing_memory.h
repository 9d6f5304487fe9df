// Memory of this program that runs out as a test wants it.
#pragma once

namespace vistrame::test {

// While it lives, every `every`-th allocation of the program fails, at most `times` of them. What a test
// itself does meanwhile must do without memory of its own, or be ready.
class FailingMemory {
public:
    explicit FailingMemory(unsigned every, unsigned times = ~0U);
    ~FailingMemory();
    FailingMemory(const FailingMemory&) = delete;
    FailingMemory& operator=(const FailingMemory&) = delete;

    // How many have failed so far.
    static unsigned Failed();
};

} // namespace vistrame::test
