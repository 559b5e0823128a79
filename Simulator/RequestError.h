#pragma once

#include <string>

#include <json/value.h>

#include "Common/Exceptions.h"

namespace JsonDevice {

/// The codes of JSON-RPC 2.0, and those that a device of this project adds in
/// the range left to implementations.
namespace ErrorCode {
inline constexpr int parseError = -32700;
inline constexpr int invalidRequest = -32600;
inline constexpr int methodNotFound = -32601;
inline constexpr int invalidParams = -32602;
inline constexpr int internalError = -32603;
/// The device could not do what it was asked.
inline constexpr int deviceError = -32000;
inline constexpr int unknownCode = -32001;
inline constexpr int readOnly = -32002;
inline constexpr int outOfRange = -32003;
/// Nothing is stored under that location or name.
inline constexpr int notFound = -32004;
}  // namespace ErrorCode

/// Raised by a function that serves requests; the reply is an error with this
/// code, message and data.
class JSONDEVICE_EXPORT RequestError : public KorvanException {
public:
    RequestError(int code, std::string message, Json::Value data = {});
    RequestError(const RequestError&);
    RequestError& operator=(const RequestError&);
    ~RequestError() override;

    int getCode() const noexcept { return code; }
    /// UTF-8.
    const std::string& getErrorMessage() const noexcept { return errorMessage; }
    /// Null when there is none; the reply then has no "data".
    const Json::Value& getData() const noexcept { return data; }

    /// The text of the error reply to the request of that id, without a line end.
    std::string toReply(const Json::Value& id) const;

private:
    int code;
    std::string errorMessage;
    Json::Value data;
};

}  // namespace JsonDevice
