#pragma once

namespace Tool {

/// What the tool's exit status says. Scripts rely on the numbers.
enum class ExitStatus : int {
    done = 0,
    /// The device answered with an error.
    deviceError = 1,
    /// The command line is wrong, or a file that it names cannot be read.
    usage = 2,
    /// No connection could be made, or it broke.
    notConnected = 3,
    timedOut = 4,
    /// The device sent something that is no answer, or a result of another type.
    brokenProtocol = 5,
    /// Of several devices, some did what was asked and some did not.
    someFailed = 6,
    /// What there was to say could not be written (EX_IOERR of sysexits.h).
    cannotWrite = 74,
    /// Ended by SIGINT.
    interrupted = 130,
};

}  // namespace Tool
