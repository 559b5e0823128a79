#pragma once

#include <memory>

#include "Common/Exceptions.h"
#include "DeviceManager/JsonDevice/MarshalTypes.h"

/// The marshallers of the host's proxies. Each reads a proxy through its own
/// accessors; a null proxy is JSON null.
namespace JsonDevice {

/// {"name", "xml", "image", "redFactor", "greenFactor", "blueFactor"}
class JTypeBlackLevelProxy : public JType {
public:
    Json::Value toJson(const void* object, const MarshalOptions&) const override;
    void* fromJson(const Json::Value& value) const override;
};

/// {"name", "xml", "image"}
class JTypeBlendProxy : public JType {
public:
    Json::Value toJson(const void* object, const MarshalOptions&) const override;
    void* fromJson(const Json::Value& value) const override;
};

/// {"name", "xml", "image"}
class JTypeIGContentProxy : public JType {
public:
    Json::Value toJson(const void* object, const MarshalOptions&) const override;
    void* fromJson(const Json::Value& value) const override;
};

/// The mesh's text form as one text. It is never read back: fromJson gives null.
class JTypeMeshProxy : public JType {
public:
    Json::Value toJson(const void* object, const MarshalOptions&) const override;
    void* fromJson(const Json::Value& value) const override;
};

/// {"bottom", "top", "left", "right", "name", "xml"}: the XML text of each
/// edge's curve, or null, and two texts. Reading parses the XML, which is
/// refused when it is no curve.
class JTypeControlCurveProxy : public JType {
public:
    Json::Value toJson(const void* object, const MarshalOptions&) const override;
    void* fromJson(const Json::Value& value) const override;
};

/// Registers the marshaller of a proxy where the name is absent. A proxy has no
/// default form: create raises KorvanException with the message, from the source.
template <class Proxy, class Marshaller>
void registerProxy(MarshalJson& registry, const char* typeName, const char* source, int line,
                   const wchar_t* message) {
    if (!registry.isRegistered(typeName)) {
        registry.registerType<Proxy>(typeName, std::make_shared<Marshaller>(),
                                     [=]() -> void* { throw KorvanException(source, line, message); });
    }
}

}  // namespace JsonDevice
