#pragma once

#include <string>

#include <json/value.h>

#include "Common/Exceptions.h"

/// What went wrong in a call, by type, for callers that do not want to read
/// texts. All are KorvanParseException, and their texts, files and lines are
/// the ones that exception has always carried.
namespace JsonDevice {

/// The device answered the request with an error.
class JSONDEVICE_EXPORT ErrorReplyException : public KorvanParseException {
public:
    ErrorReplyException(std::string file, int line, std::wstring message, const Json::Value& error);
    ErrorReplyException(const ErrorReplyException&);
    ErrorReplyException& operator=(const ErrorReplyException&);
    ~ErrorReplyException() override;

    /// The error object's "code"; 0 when there is none.
    int getCode() const noexcept { return code; }
    /// The error object's "message"; when the error is a plain text, that text; else empty.
    const std::string& getErrorMessage() const noexcept { return errorMessage; }
    /// The error object's "data"; null when there is none.
    const Json::Value& getData() const noexcept { return data; }

private:
    int code = 0;
    std::string errorMessage;
    Json::Value data;
};

/// No reply came within the reply time-out.
class JSONDEVICE_EXPORT NoReplyException : public KorvanParseException {
public:
    using KorvanParseException::KorvanParseException;
    ~NoReplyException() override;
};

/// What the device sent is not a reply to the request: no JSON, no id, another
/// id, or a record beyond the largest size.
class JSONDEVICE_EXPORT BrokenProtocolException : public KorvanParseException {
public:
    using KorvanParseException::KorvanParseException;
    ~BrokenProtocolException() override;
};

}  // namespace JsonDevice
