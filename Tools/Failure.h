#pragma once

#include <exception>
#include <string>

#include <json/value.h>

#include "Tools/ExitStatus.h"

namespace Tool {

/// What went wrong, for people, for scripts and as an exit status.
struct Failure {
    ExitStatus status = ExitStatus::usage;
    /// One line without control characters.
    std::string message;
    /// What the device's error carried; 0 and null for other failures.
    int code = 0;
    Json::Value data{};
};

/// The tool's own exception; what the library throws is turned into one where
/// it leaves the library (Session).
class FailureException : public std::exception {
public:
    explicit FailureException(Failure f) : failure(std::move(f)) {}
    const char* what() const noexcept override { return failure.message.c_str(); }
    const Failure& get() const noexcept { return failure; }

private:
    Failure failure;
};

/// Throws the failure of a wrong command line.
[[noreturn]] void refuseUsage(const std::string& message);

/// {"kind": ..., "message": ..., "exitStatus": ...}, and what a device's error carried.
Json::Value toJson(const Failure& failure);

}  // namespace Tool
