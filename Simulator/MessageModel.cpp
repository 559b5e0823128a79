#include "Simulator/MessageModel.h"

#include "DeviceManager/JsonDevice/JsonText.h"
#include "Simulator/MemberOf.h"

namespace JsonDevice::Simulation {

namespace {

[[noreturn]] void refuseParams(const std::string& expected) {
    throw RequestError(ErrorCode::invalidParams, "Invalid params: expected " + expected);
}

/// The reply to "get" and "set": the value in force.
Json::Value valueOf(Code& code, const Json::Value*) {
    return code.read();
}

Json::Value setValue(Code& code, const Json::Value* value) {
    const CodeDescription& description = code.getDescription();
    if (description.readOnly) {
        throw RequestError(ErrorCode::readOnly, "'" + description.code + "' is read-only");
    }
    code.write(*value);
    return code.read();
}

/// What a value must be like.
Json::Value attributesOf(Code& code, const Json::Value*) {
    const CodeDescription& description = code.getDescription();
    Json::Value attributes(Json::objectValue);
    attributes["code"] = description.code;
    attributes["type"] = code.getType();
    attributes["readOnly"] = description.readOnly;
    if (description.range) {
        // Whole numbers as such, so that they look like the values they bound.
        const auto number = [](double bound) {
            const auto whole = static_cast<Json::Int64>(bound);
            return static_cast<double>(whole) == bound ? Json::Value(whole) : Json::Value(bound);
        };
        attributes["minimum"] = number(description.range->minimum);
        attributes["maximum"] = number(description.range->maximum);
    }
    if (!description.unit.empty()) {
        attributes["unit"] = description.unit;
    }
    return attributes;
}

/// What there is to know of the value.
Json::Value propertiesOf(Code& code, const Json::Value*) {
    Json::Value properties(Json::objectValue);
    properties["code"] = code.getDescription().code;
    properties["summary"] = code.getDescription().summary;
    properties["value"] = code.read();
    properties["default"] = code.readDefault();
    properties["methods"] = Json::Value(Json::arrayValue);
    for (const std::string& method : code.methods) {
        properties["methods"].append(method);
    }
    return properties;
}

}  // namespace

MessageModel::MessageModel(RequestDispatcher& dispatcher, CodeTable& codeTable)
    : Feature(dispatcher, codeTable) {
    serve("get", false, valueOf);
    serve("set", true, setValue);
    serve("getAttributes", false, attributesOf);
    serve("getProperties", false, propertiesOf);
    codes.addListener([this](const Code& changed) { tell(changed); });
}

void MessageModel::serve(const char* method, bool takesValue, Answer answer) {
    requests.bindRaw(method, [this, takesValue, answer](const Json::Value& params, Caller& caller) {
        listeners.insert(&caller);
        const Json::Value* code = nullptr;
        const Json::Value* value = nullptr;
        if (params.isArray() && params.size() == (takesValue ? 2U : 1U)) {
            code = &params[0];
            value = takesValue ? &params[1] : nullptr;
        } else if (params.isObject() && params.size() == (takesValue ? 2U : 1U)) {
            code = memberOf(params, "code");
            value = takesValue ? memberOf(params, "value") : nullptr;
        }
        if (code == nullptr || !code->isString() || (takesValue && value == nullptr)) {
            refuseParams(takesValue ? "a code and a value" : "a code");
        }
        return answer(codes.find(code->asString()), value);
    });
}

void MessageModel::forget(Caller& caller) {
    listeners.erase(&caller);
}

void MessageModel::tell(const Code& changed) const {
    std::string record;
    for (Caller* listener : listeners) {
        if (listener == asking) {
            continue;
        }
        if (record.empty()) {
            record = "{\"jsonrpc\":\"2.0\",\"method\":\"notify\",\"params\":[";
            JsonText::appendString(record, changed.getDescription().code);
            record += ',';
            JsonText::append(record, changed.read());
            record += "]}";
        }
        listener->notify(record);
    }
}

}  // namespace JsonDevice::Simulation
