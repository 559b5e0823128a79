#include "Platform/Timing/Instrumentation.h"

#include <atomic>
#include <mutex>
#include <utility>

namespace {

struct ListenerPlace {
    std::atomic<bool> occupied = false;
    std::mutex lock;
    std::shared_ptr<const Instrumentation::Listener> listener;
};

ListenerPlace& place() {
    static ListenerPlace instance;
    return instance;
}

}  // namespace

void Instrumentation::setListener(Listener listener) {
    auto shared = listener ? std::make_shared<const Listener>(std::move(listener)) : nullptr;
    ListenerPlace& here = place();
    {
        const std::lock_guard guard(here.lock);
        here.occupied.store(shared != nullptr, std::memory_order_relaxed);
        here.listener.swap(shared);
    }
    // The former listener goes here, outside the lock: what it holds may use a timer.
}

Instrumentation::Instrumentation(std::string_view name) {
    ListenerPlace& here = place();
    if (!here.occupied.load(std::memory_order_relaxed)) {
        return;
    }
    {
        const std::lock_guard guard(here.lock);
        listener = here.listener;
    }
    if (listener) {
        this->name = name;
        start = lastLap = Clock::now();
    }
}

Instrumentation::~Instrumentation() {
    report({});
}

void Instrumentation::lap(std::string_view what) noexcept {
    report(what);
}

void Instrumentation::report(std::string_view what) noexcept {
    if (!listener) {
        return;
    }
    const Clock::time_point now = Clock::now();
    try {
        (*listener)(Report{name, what, now - lastLap, now - start});
    } catch (...) {
    }
    // What the listener took for itself is no part of the next lap.
    lastLap = now;
}
