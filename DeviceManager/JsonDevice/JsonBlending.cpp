#include "DeviceManager/JsonDevice/JsonBlending.h"

#include <log4cxx/logger.h>

#include "DeviceManager/JsonDevice/JsonMasking.h"
#include "DeviceManager/JsonDevice/JsonWarp.h"
#include "DeviceManager/JsonDevice/ProxyMarshallers.h"
#include "DeviceManager/JsonDevice/SaveLog.h"
#include "DeviceManager/JsonDevice/TypedCall.h"
#include "DeviceManager/JsonDevice/Vocabulary/Blending.h"
#include "Platform/Devices/BlendProxy.h"

namespace JsonDevice {

namespace {

[[maybe_unused]] const log4cxx::LoggerPtr logger =
    log4cxx::Logger::getLogger("DeviceManager.JsonDevice.JsonBlending");

namespace Methods = Vocabulary::Blending;

}  // namespace

JsonBlending::JsonBlending(Device* device) : JsonAdapter(device) {
    registerBlendingTypes();
}

JsonBlending::JsonBlending(Communicator* communicator) : JsonAdapter(communicator) {
    registerBlendingTypes();
}

JsonBlending::~JsonBlending() = default;

void JsonBlending::registerBlendingTypes() {
    MarshalJson& registry = *MarshalJson::instance();
    registerProxy<BlendProxy, JTypeBlendProxy>(registry, "BlendProxy",
                                               "DeviceManager/JsonDevice/JsonBlending", __LINE__,
                                               L"You cannot create an empty BlendProxy");
    if (!registry.isRegistered("MeshProxy")) {
        JsonWarp::registerWarpTypes();
    }
    if (!registry.isRegistered("ControlCurveProxy")) {
        JsonMasking::registerMaskingTypes();
    }
}

void JsonBlending::nameBlend(int location, const std::wstring& name) {
    TypedCall::call(*connection, Methods::nameBlend, location, name);
}

void JsonBlending::nameUniformity(int location, std::wstring name) {
    TypedCall::call(*connection, Methods::nameUniformity, location, name);
}

void JsonBlending::saveBlend(int location, MeshProxy* mesh, BlendProxy* mask, BlendProxy* screenMask,
                             BlendProxy* blend, BlendProxy* bu) {
    const SaveLog log(logger, connection->getClock(), "JsonBlending::saveBlend");
    TypedCall::call(*connection, Methods::saveBlend, location, mesh, mask, screenMask, blend, bu);
    log.done();
}

void JsonBlending::saveUniformity(int location, MeshProxy* mesh, BlendProxy* mask, BlendProxy* screenMask,
                                  BlendProxy* blend, BlendProxy* bu) {
    TypedCall::call(*connection, Methods::saveUniformity, location, mesh, mask, screenMask, blend, bu);
}

void JsonBlending::deleteBlend(int location) {
    TypedCall::call(*connection, Methods::deleteBlend, location);
}

void JsonBlending::deleteUniformity(int location) {
    TypedCall::call(*connection, Methods::deleteUniformity, location);
}

void JsonBlending::previewBlend(int location, MeshProxy* mesh, BlendProxy* mask, BlendProxy* screenMask,
                                BlendProxy* blend, BlendProxy* bu) {
    TypedCall::call(*connection, Methods::previewBlend, location, mesh, mask, screenMask, blend, bu);
}

void JsonBlending::previewUniformity(int location, MeshProxy* mesh, BlendProxy* mask, BlendProxy* screenMask,
                                     BlendProxy* blend, BlendProxy* bu) {
    TypedCall::call(*connection, Methods::previewUniformity, location, mesh, mask, screenMask, blend, bu);
}

void JsonBlending::showBlend() {
    TypedCall::call(*connection, Methods::showBlend);
}

void JsonBlending::showUniformity() {
    TypedCall::call(*connection, Methods::showUniformity);
}

void JsonBlending::selectBlend(int location) {
    TypedCall::call(*connection, Methods::selectBlend, location);
}

void JsonBlending::selectUniformity(int location) {
    TypedCall::call(*connection, Methods::selectUniformity, location);
}

int JsonBlending::getBlendLocation() {
    return TypedCall::call(*connection, Methods::getBlendLocation);
}

int JsonBlending::getUniformityLocation() {
    return TypedCall::call(*connection, Methods::getUniformityLocation);
}

}  // namespace JsonDevice
