#include "DeviceManager/JsonDevice/Clock.h"

namespace JsonDevice {

Clock::~Clock() = default;

Clock::TimePoint Clock::now() const {
    return std::chrono::steady_clock::now();
}

const Clock& Clock::steady() {
    static const Clock clock;
    return clock;
}

}  // namespace JsonDevice
