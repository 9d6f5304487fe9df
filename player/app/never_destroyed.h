#pragma once

#include <new>
#include <utility>

namespace vistrame {

// A process-wide object that is constructed before the entry point and never destroyed: at process exit COM
// is already uninitialised, and some references are kept until the very end on purpose.
template <typename T>
class NeverDestroyed {
public:
    template <typename... Arguments>
    explicit NeverDestroyed(Arguments&&... arguments) {
        new (storage_) T(std::forward<Arguments>(arguments)...);
    }
    NeverDestroyed(const NeverDestroyed&) = delete;
    NeverDestroyed& operator=(const NeverDestroyed&) = delete;
    ~NeverDestroyed() = default;

    T& operator*() { return *Get(); }
    T* operator->() { return Get(); }

private:
    T* Get() { return std::launder(reinterpret_cast<T*>(storage_)); }

    alignas(T) unsigned char storage_[sizeof(T)];
};

} // namespace vistrame
