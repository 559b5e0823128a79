#pragma once

#include <chrono>

#include "Common/Export.h"

namespace JsonDevice {

/// Where the time for time-outs comes from; tests put their own in its place,
/// so that waiting costs no time. Any thread may ask.
class JSONDEVICE_EXPORT Clock {
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    Clock() = default;
    Clock(const Clock&) = delete;
    Clock& operator=(const Clock&) = delete;
    virtual ~Clock();
    virtual TimePoint now() const;

    /// The machine's steady clock.
    static const Clock& steady();
};

}  // namespace JsonDevice
