#include "DeviceManager/JsonDevice/JsonMasking.h"

#include <memory>
#include <utility>

#include <log4cxx/logger.h>
#include <xercesc/dom/DOMElement.hpp>

#include "Common/WideText.h"
#include "DeviceManager/JsonDevice/JsonBlending.h"
#include "DeviceManager/JsonDevice/JsonWarp.h"
#include "DeviceManager/JsonDevice/Marshallers.h"
#include "DeviceManager/JsonDevice/ProxyMarshallers.h"
#include "DeviceManager/JsonDevice/TypedCall.h"
#include "DeviceManager/JsonDevice/Vocabulary/Masking.h"
#include "DeviceManager/JsonDevice/XmlDocument.h"
#include "Platform/Curves/CubicControlCurve.h"
#include "Platform/Curves/CurveXml.h"
#include "Platform/Devices/ControlCurveProxy.h"

namespace JsonDevice {

namespace {

[[maybe_unused]] const log4cxx::LoggerPtr logger =
    log4cxx::Logger::getLogger("DeviceManager.JsonDevice.JsonMasking");

namespace Methods = Vocabulary::Masking;

constexpr const char* source = "DeviceManager/JsonDevice/JsonMasking";

/// What the registry makes of a mask's edges that it reads.
class JsonControlCurveProxy : public ControlCurveProxy {
public:
    using Curve = std::unique_ptr<const ControlCurve>;

    JsonControlCurveProxy(std::wstring name, std::wstring xml, Curve bottom, Curve top, Curve left,
                          Curve right)
        : name(std::move(name)),
          xml(std::move(xml)),
          bottom(std::move(bottom)),
          top(std::move(top)),
          left(std::move(left)),
          right(std::move(right)) {}

    const ControlCurve* getBottom() const override { return bottom.get(); }
    const ControlCurve* getTop() const override { return top.get(); }
    const ControlCurve* getLeft() const override { return left.get(); }
    const ControlCurve* getRight() const override { return right.get(); }
    std::wstring getName() const override { return name; }
    std::wstring getXml() const override { return xml; }

private:
    std::wstring name;
    std::wstring xml;
    Curve bottom;
    Curve top;
    Curve left;
    Curve right;
};

Json::Value writeCurve(const ControlCurve* curve) {
    return curve == nullptr ? Json::Value() : Json::Value(toUtf8(curve->toXml()));
}

[[noreturn]] void refuseCurves(int line) {
    throw KorvanParseException(source, line, L"JSON value is not a ControlCurveProxy");
}

JsonControlCurveProxy::Curve readCurve(const Json::Value& value) {
    if (value.isNull()) {
        return nullptr;
    }
    try {
        const XmlDocument document(value.asString());
        return Korvan::Transforms::makeCubicControlCurveFromXmlNode(&document.getRoot());
    } catch (const KorvanParseException&) {
        refuseCurves(__LINE__);
    }
}

}  // namespace

JsonMasking::JsonMasking(Device* device) : JsonAdapter(device) {
    registerMaskingTypes();
}

JsonMasking::JsonMasking(Communicator* communicator) : JsonAdapter(communicator) {
    registerMaskingTypes();
}

JsonMasking::~JsonMasking() = default;

Json::Value JTypeControlCurveProxy::toJson(const void* object, const MarshalOptions&) const {
    if (object == nullptr) {
        return Json::Value();
    }
    const auto& proxy = *static_cast<const ControlCurveProxy*>(object);
    Json::Value value(Json::objectValue);
    value["bottom"] = writeCurve(proxy.getBottom());
    value["top"] = writeCurve(proxy.getTop());
    value["left"] = writeCurve(proxy.getLeft());
    value["right"] = writeCurve(proxy.getRight());
    value["name"] = toUtf8(proxy.getName());
    value["xml"] = toUtf8(proxy.getXml());
    return value;
}

void* JTypeControlCurveProxy::fromJson(const Json::Value& value) const {
    if (value.isNull()) {
        return nullptr;
    }
    bool whole = value.isObject();
    for (const char* const edge : {"top", "bottom", "left", "right"}) {
        whole = whole && value.isMember(edge) && (value[edge].isString() || value[edge].isNull());
    }
    if (!whole || !value["name"].isString() || !value["xml"].isString()) {
        refuseCurves(__LINE__);
    }
    return static_cast<ControlCurveProxy*>(new JsonControlCurveProxy(
        toWide(value["name"].asString()), toWide(value["xml"].asString()), readCurve(value["bottom"]),
        readCurve(value["top"]), readCurve(value["left"]), readCurve(value["right"])));
}

void JsonMasking::registerMaskingTypes() {
    MarshalJson& registry = *MarshalJson::instance();
    registerProxy<ControlCurveProxy, JTypeControlCurveProxy>(registry, "ControlCurveProxy", source, __LINE__,
                                                             L"You cannot create a ControlCurveProxy");
    if (!registry.isRegistered("MeshProxy")) {
        JsonWarp::registerWarpTypes();
    }
    if (!registry.isRegistered("BlendProxy")) {
        JsonBlending::registerBlendingTypes();
    }
}

void JsonMasking::nameMask(int location, const std::wstring& name) {
    TypedCall::call(*connection, Methods::nameMask, location, name);
}

void JsonMasking::saveMask(int location, MeshProxy* mesh, BlendProxy* mask, BlendProxy* screenMask,
                           BlendProxy* blend, BlendProxy* bu) {
    TypedCall::call(*connection, Methods::saveMask, location, mesh, mask, screenMask, blend, bu);
}

void JsonMasking::deleteMask(int location) {
    TypedCall::call(*connection, Methods::deleteMask, location);
}

void JsonMasking::previewMask(int location, MeshProxy* mesh, BlendProxy* mask, BlendProxy* screenMask,
                              BlendProxy* blend, BlendProxy* bu) {
    TypedCall::call(*connection, Methods::previewMask, location, mesh, mask, screenMask, blend, bu);
}

void JsonMasking::showMask() {
    TypedCall::call(*connection, Methods::showMask);
}

void JsonMasking::selectMask(int location) {
    TypedCall::call(*connection, Methods::selectMask, location);
}

int JsonMasking::getMaskLocation() {
    return TypedCall::call(*connection, Methods::getMaskLocation);
}

}  // namespace JsonDevice
