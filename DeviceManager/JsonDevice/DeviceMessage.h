#pragma once

#include <string>

#include <json/value.h>

#include "Common/Export.h"

namespace JsonDevice {

/// One JSON-RPC 2.0 message (request, reply or notification) as the
/// message-level interpreter speaks it. A value; nothing in it is checked.
class JSONDEVICE_EXPORT DeviceMessage {
public:
    static constexpr unsigned int CMD_ID = 0;
    static constexpr unsigned int VALUE_ID = 1;
    /// The same number as CMD_ID on purpose.
    static constexpr unsigned int NO_ID = 0;

    /// Id 0, everything else empty or null.
    DeviceMessage();
    /// A request to read: method "get", params [code]; the code "error" makes params {"error": true} instead.
    DeviceMessage(
        const std::string& code);  // NOLINT(google-explicit-constructor): a code reads as its message
    /// A request to write: method "set", params [code, value]; a value that is an
    /// array or an object becomes the params itself, without the code.
    DeviceMessage(const std::string& code, const Json::Value& value);

    /// A request to write with another method.
    static DeviceMessage CreateObjMsg(const std::string& code, const std::string& method,
                                      const Json::Value& value);
    /// Method "get" with the value itself as params.
    static DeviceMessage CreateDebugGetResponse(const std::string& code, const Json::Value& value);

    int getId() const { return id; }
    const std::string& getMethod() const { return method; }
    void setMethod(const std::string& newMethod) { method = newMethod; }
    const std::string& getCode() const { return code; }
    void setCode(const std::string& newCode) { code = newCode; }
    const std::string& getErrorString() const { return errorString; }
    void setErrorString(const std::string& text) { errorString = text; }
    /// The "params" of a request, or the "result" of a reply.
    Json::Value getParams() const { return params; }
    Json::Value getValue() const { return params; }
    void setParams(const Json::Value& newParams) { params = newParams; }
    /// Appends to params, an array or null. Throws KorvanExceptionRuntime when it is something else.
    void addParameter(const Json::Value& value);

    /// Whether params is an object that has the member.
    bool paramExists(const std::string& key) const;
    /// The member of an object params, inserted as null when absent.
    /// Throws KorvanExceptionRuntime when params is not an object.
    Json::Value& operator[](const std::string& key);
    Json::Value& operator[](const char* key) { return (*this)[std::string(key)]; }
    /// A copy of an element. The index may equal the number of elements: that
    /// yields null (and an array grows by it).
    /// Throws KorvanIndexOutOfBoundsException for a greater one, and when params
    /// is neither an array nor null.
    Json::Value getParamAt(unsigned int index);
    Json::Value operator[](unsigned int index) { return getParamAt(index); }
    Json::Value operator[](int index) { return getParamAt(static_cast<unsigned int>(index)); }

    /// Whether this is a reply that reports an error: the code "error", an object with the member "error", or
    /// an array with the text "error" in it.
    bool isResultError() const;
    bool isResultNull() const;
    bool isResultNullOrError() const { return isResultError() || isResultNull(); }

    /// Messages are equal when their ids are.
    bool operator==(const DeviceMessage& other) const { return id == other.id; }
    bool operator==(const DeviceMessage& other) { return id == other.id; }

    /// The message as one line of JSON, ended by "\n".
    std::string toString() const;

protected:
    void setId(int newId) { id = newId; }

private:
    friend class JsonParser;

    int id = 0;
    std::string method;
    Json::Value params;
    std::string code;
    std::string errorString;
};

}  // namespace JsonDevice
