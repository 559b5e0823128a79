#include "DeviceManager/JsonDevice/JsonExceptions.h"

#include <utility>

namespace JsonDevice {

ErrorReplyException::ErrorReplyException(std::string file, int line, std::wstring message,
                                         const Json::Value& error)
    : KorvanParseException(std::move(file), line, std::move(message)) {
    if (error.isString()) {
        errorMessage = error.asString();
    } else if (error.isObject()) {
        const Json::Value number = error["code"];
        const Json::Value text = error["message"];
        code = number.isInt() ? number.asInt() : 0;
        errorMessage = text.isString() ? text.asString() : std::string();
        data = error["data"];
    }
}

ErrorReplyException::ErrorReplyException(const ErrorReplyException&) = default;
ErrorReplyException& ErrorReplyException::operator=(const ErrorReplyException&) = default;
ErrorReplyException::~ErrorReplyException() = default;
NoReplyException::~NoReplyException() = default;
BrokenProtocolException::~BrokenProtocolException() = default;

}  // namespace JsonDevice
