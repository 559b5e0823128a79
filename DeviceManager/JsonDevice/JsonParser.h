#pragma once

#include <functional>
#include <string>

#include <json/value.h>

#include "Common/Export.h"
#include "DeviceManager/JsonDevice/DeviceMessage.h"

namespace JsonDevice {

/// Converts between JSON trees and DeviceMessage.
class JSONDEVICE_EXPORT JsonParser {
public:
    JsonParser() = default;

    /// {"jsonrpc": "2.0", "id": 1, "method": "get"}
    static Json::Value buildBasicJsonValueMsg();
    /// The members "jsonrpc", "id", "method" and "params"; code and error string are not written.
    static Json::Value convertToJsonValue(const DeviceMessage& message);
    /// Reads a request, reply or notification. An "id" that is not a signed
    /// integer reads as 0; a "result" wins over "params"; the code is the first
    /// element of an array, when that is a text, or the member "code" of an
    /// object. A JSON-RPC "error" is not read.
    static DeviceMessage convertToMessage(Json::Value& v);
    /// Whether the tree carries "method" and "jsonrpc" as texts, with requireId
    /// an "id" that is a signed integer, and "params" (of a request) or
    /// "result" (of a reply) as an array or object.
    static bool containsBasicMessageKeys(const Json::Value& v, bool requireId, bool isRequest);
    /// Whether the key is a member whose value passes the test.
    static bool isMemberAndType(const Json::Value& v, const std::string& key,
                                std::function<bool(Json::Value)> test);

private:
    /// A copy of the member, null when absent. Throws KorvanParseException
    /// when that is null and the member is not optional.
    static Json::Value getObjectNamed(const Json::Value& v, const std::string& name, bool optional);
};

}  // namespace JsonDevice
