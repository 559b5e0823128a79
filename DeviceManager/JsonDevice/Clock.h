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

    /// The clock that connections are made with: the machine's steady clock,
    /// unless another one was set.
    static const Clock& standard();
    /// Null: the machine's again. Not owned; for what is constructed from now on.
    static void setStandard(const Clock* clock);
};

}  // namespace JsonDevice
