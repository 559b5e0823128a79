#pragma once

#include <optional>
#include <string>

#include <json/value.h>

#include "DeviceManager/JsonDevice/JsonConnection.h"
#include "DeviceManager/JsonDevice/Vocabulary/Vocabulary.h"
#include "Tools/Command.h"
#include "Tools/Failure.h"

class Communicator;

namespace Tool {

class Console;
class Diagnostics;

/// One device while a command talks to it. For one thread.
class Session {
public:
    struct Frame {
        Console& console;
        Diagnostics& diagnostics;
        /// Milliseconds for every reply; unless set, what each method's own time-out is.
        std::optional<int> timeout;
        /// Whether what is printed has to say which device it is from.
        bool oneOfSeveral = false;
    };

    /// The communicator is borrowed.
    Session(Communicator& communicator, const Frame& frame);

    /// What the user calls the device; safe for a terminal.
    const std::string& name() const { return deviceName; }
    Communicator& communicator() { return device; }
    Console& console() { return frame.console; }
    std::optional<int> timeout() const { return frame.timeout; }

    /// Calls the method and returns its result, which converts to the type
    /// that the method has. Throws FailureException for everything that goes wrong.
    Json::Value call(const JsonDevice::Vocabulary::Operation& operation, const Json::Value& params);

    /// Does something that calls the library by other ways, and throws a
    /// FailureException for everything that it throws. `waitMs` is for the
    /// message of a time-out.
    template <class Work>
    auto guarded(int waitMs, const Work& work) {
        try {
            return work();
        } catch (...) {
            refuse(waitMs);
        }
    }

    /// For the user, beside the data.
    void note(const std::string& line);
    /// What the library said on this thread is told otherwise.
    void dropDiagnostics();

    /// Prints an answer at once, for commands that have one after another to give.
    void print(const Answer& answer);

private:
    /// Called in a handler: throws what the current exception means to a user.
    [[noreturn]] void refuse(int waitMs);

    Communicator& device;
    const std::string deviceName;
    const Frame frame;
    JsonDevice::JsonConnection connection;
};

/// The JSON form of an answer, or of a failure, of a device (empty: of none).
Json::Value document(const std::string& device, const Answer& answer);
Json::Value document(const std::string& device, const Failure& failure);

/// Each line with the name in front.
std::string prefixLines(const std::string& name, const std::string& text);

}  // namespace Tool
