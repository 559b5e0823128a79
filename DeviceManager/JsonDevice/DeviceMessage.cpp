#include "DeviceManager/JsonDevice/DeviceMessage.h"

#include <algorithm>

#include "Common/Exceptions.h"
#include "DeviceManager/JsonDevice/JsonParser.h"
#include "DeviceManager/JsonDevice/JsonText.h"

namespace JsonDevice {

namespace {

constexpr const char* file = "DeviceManager/JsonDevice/DeviceMessage";
constexpr const char* errorCode = "error";

}  // namespace

DeviceMessage::DeviceMessage() = default;

DeviceMessage::DeviceMessage(const std::string& readCode) : method("get"), code(readCode) {
    if (code == errorCode) {
        params[errorCode] = true;
    } else {
        params.append(code);
    }
}

DeviceMessage::DeviceMessage(const std::string& writeCode, const Json::Value& value)
    : method("set"), code(writeCode) {
    if (value.isArray() || value.isObject()) {
        params = value;
    } else {
        params.append(code);
        params.append(value);
    }
}

DeviceMessage DeviceMessage::CreateObjMsg(const std::string& code, const std::string& method,
                                          const Json::Value& value) {
    DeviceMessage message(code, value);
    message.method = method;
    return message;
}

DeviceMessage DeviceMessage::CreateDebugGetResponse(const std::string& code, const Json::Value& value) {
    DeviceMessage message;
    message.method = "get";
    message.code = code;
    message.params = value;
    return message;
}

void DeviceMessage::addParameter(const Json::Value& value) {
    if (!params.isArray() && !params.isNull()) {
        throw KorvanExceptionRuntime(file, __LINE__, L"Parameter is not an array.");
    }
    params.append(value);
}

bool DeviceMessage::paramExists(const std::string& key) const {
    return params.isObject() && params.isMember(key);
}

Json::Value& DeviceMessage::operator[](const std::string& key) {
    if (!params.isObject()) {
        throw KorvanExceptionRuntime(file, __LINE__, L"Parameter is not an object.");
    }
    return params[key];
}

Json::Value DeviceMessage::getParamAt(unsigned int index) {
    const bool hasElements = params.isArray() || params.isNull();
    if (!hasElements || index > params.size()) {
        throw KorvanIndexOutOfBoundsException(file, 127, L"Index[index] is greater than size of params");
    }
    return params[index];
}

bool DeviceMessage::isResultError() const {
    if (code == errorCode) {
        return true;
    }
    if (params.isObject()) {
        return params.isMember(errorCode);
    }
    return params.isArray() && std::any_of(params.begin(), params.end(), [](const Json::Value& element) {
               return element.isString() && element == errorCode;
           });
}

bool DeviceMessage::isResultNull() const {
    return params.isNull();
}

std::string DeviceMessage::toString() const {
    return JsonText::write(JsonParser::convertToJsonValue(*this));
}

}  // namespace JsonDevice
