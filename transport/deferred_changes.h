#pragma once

#include <deque>
#include <functional>
#include <utility>

namespace vistrame {

// Puts off what a handler asks for until the handler has returned, so that nothing changes under whoever
// called it.
//
// Threads    none of its own, not thread-safe.
// Errors     a handler or a change that throws leaves everything in order; the changes behind it wait for the
//            next Ask() or Call().
class DeferredChanges {
public:
    // Carries the change out at once, or behind those already asked for when a handler or a change is
    // running.
    void Ask(std::function<void()> change) {
        changes_.push_back(std::move(change));
        if (!inHandler_) {
            CarryOut();
        }
    }

    // Runs a handler, then what it asked for.
    template <typename Handler>
    void Call(Handler handler) {
        {
            const Raised raised(inHandler_);
            handler();
        }
        CarryOut();
    }

    bool InHandler() const { return inHandler_; }

private:
    // A mark that is up for as long as this lives: a handler may throw.
    class Raised {
    public:
        explicit Raised(bool& mark) : mark_(mark) { mark_ = true; }
        Raised(const Raised&) = delete;
        Raised& operator=(const Raised&) = delete;
        ~Raised() { mark_ = false; }

    private:
        bool& mark_;
    };

    // A change may call a handler, whose own changes then queue up behind it.
    void CarryOut() {
        if (carryingOut_) {
            return;
        }
        const Raised raised(carryingOut_);
        while (!changes_.empty()) {
            const auto change = std::move(changes_.front());
            changes_.pop_front();
            change();
        }
    }

    std::deque<std::function<void()>> changes_;
    bool inHandler_ = false;
    bool carryingOut_ = false;
};

} // namespace vistrame
