#pragma once

#include <chrono>
#include <string>

#include <log4cxx/logger.h>

#include "DeviceManager/JsonDevice/Clock.h"

namespace JsonDevice {

/// The two debug lines around a long save: one when it is made, one with the
/// time it took when it is told that the save is done. A save that fails has no
/// second line. Nothing is made text while debug output is off.
class SaveLog {
public:
    /// The operation's name has to outlive this object.
    SaveLog(const log4cxx::LoggerPtr& logger, const Clock& clock, const char* operation)
        : logger(logger), clock(clock), operation(operation) {
        LOG4CXX_DEBUG(logger, operation << " Begin");
        start = clock.now();
    }
    void done() const {
        const auto took = std::chrono::duration_cast<std::chrono::milliseconds>(clock.now() - start);
        LOG4CXX_DEBUG(logger, operation << " save done in "
                                        << std::to_string(static_cast<unsigned int>(took.count())) << " ms");
    }

private:
    const log4cxx::LoggerPtr& logger;
    const Clock& clock;
    const char* operation;
    Clock::TimePoint start;
};

}  // namespace JsonDevice
