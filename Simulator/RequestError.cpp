#include "Simulator/RequestError.h"

#include <utility>

#include "Common/WideText.h"
#include "DeviceManager/JsonDevice/JsonText.h"

namespace JsonDevice {

RequestError::RequestError(int errorCode, std::string message, Json::Value errorData)
    : KorvanException(toWide(message)),
      code(errorCode),
      errorMessage(std::move(message)),
      data(std::move(errorData)) {}

RequestError::RequestError(const RequestError&) = default;
RequestError& RequestError::operator=(const RequestError&) = default;
RequestError::~RequestError() = default;

std::string RequestError::toReply(const Json::Value& id) const {
    std::string reply = "{\"error\":{\"code\":" + std::to_string(code);
    if (!data.isNull()) {
        reply += ",\"data\":";
        JsonText::append(reply, data);
    }
    reply += ",\"message\":";
    JsonText::appendString(reply, errorMessage);
    reply += "},\"id\":";
    JsonText::append(reply, id);
    reply += ",\"jsonrpc\":\"2.0\"}";
    return reply;
}

}  // namespace JsonDevice
