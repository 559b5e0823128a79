#include "DeviceManager/JsonDevice/JsonParser.h"

#include "Common/Exceptions.h"
#include "Common/WideText.h"

namespace JsonDevice {

Json::Value JsonParser::buildBasicJsonValueMsg() {
    Json::Value message(Json::objectValue);
    message["jsonrpc"] = "2.0";
    message["id"] = 1;
    message["method"] = "get";
    return message;
}

Json::Value JsonParser::convertToJsonValue(const DeviceMessage& message) {
    Json::Value v(Json::objectValue);
    v["jsonrpc"] = "2.0";
    v["id"] = message.id;
    v["method"] = message.method;
    v["params"] = message.params;
    return v;
}

DeviceMessage JsonParser::convertToMessage(Json::Value& v) {
    DeviceMessage message;
    if (!v.isObject()) {
        return message;
    }
    const auto textOf = [](const Json::Value& value) {
        return value.isConvertibleTo(Json::stringValue) ? value.asString() : std::string();
    };
    const Json::Value id = getObjectNamed(v, "id", true);
    message.id = id.type() == Json::intValue && id.isInt() ? id.asInt() : 0;
    message.method = textOf(v.get("method", ""));
    message.params = getObjectNamed(v, "result", true);
    if (message.params.isNull()) {
        message.params = v["params"];
    }
    const Json::Value& body = message.params;
    if (body.isArray() && !body.empty() && body[0].isString()) {
        message.code = body[0].asString();
    } else if (body.isObject()) {
        message.code = textOf(body["code"]);
    }
    return message;
}

bool JsonParser::containsBasicMessageKeys(const Json::Value& v, bool requireId, bool isRequest) {
    const auto isText = [](const Json::Value& value) { return value.isString(); };
    const auto isInteger = [](const Json::Value& value) {
        return value.type() == Json::intValue && value.isInt();
    };
    const auto isTree = [](const Json::Value& value) { return value.isArray() || value.isObject(); };
    return isMemberAndType(v, "method", isText) && isMemberAndType(v, "jsonrpc", isText) &&
           (!requireId || isMemberAndType(v, "id", isInteger)) &&
           isMemberAndType(v, isRequest ? "params" : "result", isTree);
}

bool JsonParser::isMemberAndType(const Json::Value& v, const std::string& key,
                                 std::function<bool(Json::Value)> test) {
    return v.isObject() && v.isMember(key) && test(v[key]);
}

Json::Value JsonParser::getObjectNamed(const Json::Value& v, const std::string& name, bool optional) {
    const Json::Value found = v.isObject() ? v[name] : Json::Value();
    if (!optional && found.isNull()) {
        throw KorvanParseException("DeviceManager/JsonDevice/JsonParser", 31,
                                   L"JsonObject doesn't contain object:" + toWide(name));
    }
    return found;
}

}  // namespace JsonDevice
