#pragma once

#include <atomic>
#include <chrono>

#include "DeviceManager/JsonDevice/Clock.h"

/// A clock that stands still until it is moved; for its lifetime everything
/// that is constructed takes the time from it.
class ManualClock : public JsonDevice::Clock {
public:
    ManualClock() { setStandard(this); }
    ~ManualClock() override { setStandard(nullptr); }

    TimePoint now() const override { return TimePoint(std::chrono::milliseconds(milliseconds)); }
    void advance(int ms) { milliseconds += ms; }

private:
    std::atomic<long long> milliseconds{1000};
};
