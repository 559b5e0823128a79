#include "DeviceManager/JsonDevice/Clock.h"

#include <atomic>

namespace JsonDevice {

namespace {

std::atomic<const Clock*> replaced = nullptr;

}  // namespace

Clock::~Clock() = default;

Clock::TimePoint Clock::now() const {
    return std::chrono::steady_clock::now();
}

const Clock& Clock::standard() {
    static const Clock steady;
    const Clock* const other = replaced;
    return other == nullptr ? steady : *other;
}

void Clock::setStandard(const Clock* clock) {
    replaced = clock;
}

}  // namespace JsonDevice
