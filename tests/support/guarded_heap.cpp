// Global new and delete for hunting what uses memory after its delete, or past its end: linked into the
// programs by the option VISTRAME_GUARDED_HEAP (docs/debugging.md) and never shipped.
//
// Each object has pages of its own, so that its end touches a page that cannot be accessed, and its delete
// takes the pages away; the address comes round again after some two million more. Whoever touches it until
// then faults at the very place. New memory is filled, so that a member without a value shows, too.
//
// What is larger than kLargest, above all pictures, is the C heap's, and so is what libraries in C allocate.
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>

#include <windows.h>

namespace vistrame {
namespace {

constexpr std::size_t kPage = 4096;
constexpr std::size_t kPages = std::size_t{1} << 22; // 16 GB of addresses: a 64-bit process's
constexpr std::size_t kLargest = std::size_t{64} * 1024;
constexpr int kFill = 0xCD;

// Usable before any constructor has run, as the first new may come from one.
constinit SRWLOCK TheLock = SRWLOCK_INIT; // guards what follows
constinit char* Base = nullptr;
constinit std::size_t Next = 0;           // page that is handed out next, unless it is in use
std::atomic<unsigned char> Taken[kPages]; // by the object that begins at this page; 0: none does

// The first of `pages` pages and of one behind them that nobody has.
char* TakePages(std::size_t pages) {
    AcquireSRWLockExclusive(&TheLock);
    if (Base == nullptr) {
        Base = static_cast<char*>(VirtualAlloc(nullptr, kPages * kPage, MEM_RESERVE, PAGE_NOACCESS));
    }
    for (std::size_t at = Next; at <= Next + pages; ++at) {
        if (Next + pages >= kPages) {
            at = Next = 0;
        }
        if (Taken[at] != 0) {
            Next = at + Taken[at] + 1;
            at = Next - 1;
        }
    }
    Taken[Next] = static_cast<unsigned char>(pages);
    char* const first = Base + Next * kPage;
    Next += pages + 1;
    ReleaseSRWLockExclusive(&TheLock);
    return first;
}

void* Allocate(std::size_t size, std::size_t alignment) {
    const std::size_t room = (size + (size == 0 ? 1 : 0) + alignment - 1) / alignment * alignment;
    if (room > kLargest || alignment > kPage) {
        return _aligned_malloc(size, alignment);
    }
    const std::size_t pages = (room + kPage - 1) / kPage;
    char* const start = TakePages(pages);
    if (VirtualAlloc(start, pages * kPage, MEM_COMMIT, PAGE_READWRITE) == nullptr) {
        return nullptr;
    }
    std::memset(start, kFill, pages * kPage);
    return start + pages * kPage - room;
}

void* New(std::size_t size, std::size_t alignment) {
    void* const memory = Allocate(size, alignment);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void Delete(void* memory) {
    const auto offset = static_cast<std::size_t>(static_cast<char*>(memory) - Base);
    if (Base == nullptr || offset >= kPages * kPage) {
        _aligned_free(memory);
        return;
    }
    const std::size_t first = offset / kPage;
    const std::size_t pages = Taken[first];
    if (pages == 0 || VirtualFree(Base + first * kPage, pages * kPage, MEM_DECOMMIT) == FALSE) {
        __builtin_trap(); // deleted twice, or never made by new
    }
    Taken[first] = 0;
}

constexpr std::size_t kUsual = __STDCPP_DEFAULT_NEW_ALIGNMENT__;

} // namespace
} // namespace vistrame

// The forms for arrays and those that do not throw call these.
void* operator new(std::size_t size) {
    return vistrame::New(size, vistrame::kUsual);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return vistrame::New(size, static_cast<std::size_t>(alignment));
}
void operator delete(void* memory) noexcept {
    vistrame::Delete(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    vistrame::Delete(memory);
}
void operator delete(void* memory, std::align_val_t) noexcept {
    vistrame::Delete(memory);
}
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept {
    vistrame::Delete(memory);
}
