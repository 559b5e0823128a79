#include "DeviceManager/JsonDevice/ProxyMarshallers.h"

#include <string>

#include "Common/WideText.h"
#include "DeviceManager/JsonDevice/Marshallers.h"
#include "DeviceManager/JsonDevice/SimpleProxies.h"
#include "Platform/Devices/GrayscaleImage.h"
#include "Platform/Devices/MeshProxy.h"
#include "Platform/Devices/RGBImage.h"

namespace JsonDevice {

namespace {

/// What the proxies of a picture have in common.
template <class Proxy>
Json::Value writePicture(const Proxy& proxy, const char* imageType) {
    Json::Value value(Json::objectValue);
    value["name"] = toUtf8(proxy.getName());
    value["xml"] = toUtf8(proxy.getXml());
    const auto* const image = proxy.getImage();
    value["image"] = image == nullptr ? Json::Value() : MarshalJson::instance()->toJson(imageType, image, {});
    return value;
}

bool isPicture(const Json::Value& value) {
    return hasMember(value, "name", Json::stringValue) && hasMember(value, "xml", Json::stringValue) &&
           value.isMember("image");
}

template <class Image>
std::unique_ptr<const Image> readImage(const Json::Value& value, const char* imageType) {
    const Json::Value& image = value["image"];
    return std::unique_ptr<const Image>(
        image.isNull() ? nullptr
                       : static_cast<const Image*>(MarshalJson::instance()->fromJson(image, imageType)));
}

std::wstring readText(const Json::Value& value, const char* key) {
    return toWide(value[key].asString());
}

}  // namespace

Json::Value JTypeBlackLevelProxy::toJson(const void* object, const MarshalOptions&) const {
    if (object == nullptr) {
        return Json::Value();
    }
    const auto& proxy = *static_cast<const BlackLevelProxy*>(object);
    Json::Value value = writePicture(proxy, "GrayscaleImage");
    double red = 1.0;
    double green = 1.0;
    double blue = 1.0;
    proxy.getFactors(red, green, blue);
    value["redFactor"] = red;
    value["greenFactor"] = green;
    value["blueFactor"] = blue;
    return value;
}

void* JTypeBlackLevelProxy::fromJson(const Json::Value& value) const {
    if (value.isNull()) {
        return nullptr;
    }
    if (!isPicture(value) || value["image"].isNull()) {
        throw KorvanParseException("DeviceManager/JsonDevice/JsonBlackLevel", __LINE__,
                                   L"JSON value is not a BlackLevelProxy");
    }
    const auto factor = [&](const char* key) {
        return value.isMember(key) && value[key].isNumeric() ? value[key].asDouble() : 1.0;
    };
    return static_cast<BlackLevelProxy*>(new SimpleBlackLevelProxy(
        readText(value, "name"), readText(value, "xml"), readImage<GrayscaleImage>(value, "GrayscaleImage"),
        factor("redFactor"), factor("greenFactor"), factor("blueFactor")));
}

Json::Value JTypeBlendProxy::toJson(const void* object, const MarshalOptions&) const {
    return object == nullptr ? Json::Value()
                             : writePicture(*static_cast<const BlendProxy*>(object), "GrayscaleImage");
}

void* JTypeBlendProxy::fromJson(const Json::Value& value) const {
    if (value.isNull()) {
        return nullptr;
    }
    if (!isPicture(value)) {
        throw KorvanParseException("DeviceManager/JsonDevice/JsonBlending", __LINE__,
                                   L"JSON value is not a BlendProxy");
    }
    return static_cast<BlendProxy*>(new SimpleBlendProxy(readText(value, "name"), readText(value, "xml"),
                                                         readImage<GrayscaleImage>(value, "GrayscaleImage")));
}

Json::Value JTypeIGContentProxy::toJson(const void* object, const MarshalOptions&) const {
    return object == nullptr ? Json::Value()
                             : writePicture(*static_cast<const IGContentProxy*>(object), "RGBImage");
}

void* JTypeIGContentProxy::fromJson(const Json::Value& value) const {
    if (value.isNull()) {
        return nullptr;
    }
    if (!isPicture(value)) {
        throw KorvanParseException("DeviceManager/JsonDevice/JsonIG", __LINE__,
                                   L"JSON value is not a IGContentProxy");
    }
    return static_cast<IGContentProxy*>(new SimpleIGContentProxy(
        readText(value, "name"), readText(value, "xml"), readImage<RGBImage>(value, "RGBImage")));
}

Json::Value JTypeMeshProxy::toJson(const void* object, const MarshalOptions&) const {
    return object == nullptr ? Json::Value()
                             : Json::Value(toUtf8(static_cast<const MeshProxy*>(object)->getText()));
}

void* JTypeMeshProxy::fromJson(const Json::Value&) const {
    return nullptr;
}

}  // namespace JsonDevice
