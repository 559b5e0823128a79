#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "Common/Export.h"

/// A named lap timer: it starts when it is made, takes laps when told to, and
/// ends when it is destroyed. Each lap and the end is one report to whoever
/// listens in the process; while nobody listens, a timer costs one relaxed load.
///
/// Who listens may be changed from any thread at any time; a timer keeps the
/// listener that it found when it was made. One timer belongs to one thread.
class JSONDEVICE_EXPORT Instrumentation {
public:
    using Clock = std::chrono::steady_clock;
    struct Report {
        /// The timer's name.
        std::string_view timer;
        /// What was done in this lap; empty for the report at the end.
        std::string_view lap;
        /// Since the last lap, or since the start.
        Clock::duration lapTime;
        /// Since the start.
        Clock::duration total;
    };
    /// Called on the timer's thread. May be called from several threads at once.
    /// The texts are valid during the call only. What it throws is dropped, since
    /// timing must not change what is timed.
    using Listener = std::function<void(const Report&)>;

    /// Replaces the listener of the process; an empty function ends listening.
    /// A timer under way still reports to the listener that it started with.
    static void setListener(Listener listener);

    explicit Instrumentation(std::string_view name);
    Instrumentation(const Instrumentation&) = delete;
    Instrumentation& operator=(const Instrumentation&) = delete;
    ~Instrumentation();

    /// Reports what was done since the last lap.
    void lap(std::string_view what) noexcept;

private:
    void report(std::string_view what) noexcept;

    std::shared_ptr<const Listener> listener;
    std::string name;
    Clock::time_point start;
    Clock::time_point lastLap;
};
