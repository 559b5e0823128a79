#include "DeviceManager/JsonDevice/JsonWarp.h"

#include <log4cxx/logger.h>

#include "Common/Exceptions.h"
#include "DeviceManager/JsonDevice/FoldScan.h"
#include "DeviceManager/JsonDevice/JsonBlackLevel.h"
#include "DeviceManager/JsonDevice/JsonBlending.h"
#include "DeviceManager/JsonDevice/JsonMasking.h"
#include "DeviceManager/JsonDevice/ProxyMarshallers.h"
#include "DeviceManager/JsonDevice/TypedCall.h"
#include "DeviceManager/JsonDevice/Vocabulary/Warp.h"
#include "Platform/Devices/BlendProxy.h"
#include "Platform/Devices/GrayscaleImage.h"
#include "Platform/Devices/MACAddressFilename.h"
#include "Platform/Devices/MeshProxy.h"
#include "Platform/Timing/Instrumentation.h"

namespace JsonDevice {

namespace {

[[maybe_unused]] const log4cxx::LoggerPtr logger =
    log4cxx::Logger::getLogger("DeviceManager.JsonDevice.JsonWarp");

namespace Methods = Vocabulary::Warp;

}  // namespace

JsonWarp::JsonWarp(Device* device) : JsonAdapter(device) {
    registerWarpTypes();
}

JsonWarp::JsonWarp(Communicator* communicator) : JsonAdapter(communicator) {
    registerWarpTypes();
}

JsonWarp::~JsonWarp() = default;

void JsonWarp::registerWarpTypes() {
    MarshalJson& registry = *MarshalJson::instance();
    registerProxy<MeshProxy, JTypeMeshProxy>(registry, "MeshProxy", "DeviceManager/JsonDevice/JsonWarp",
                                             __LINE__, L"You cannot create a MeshProxy");
    if (!registry.isRegistered("BlackLevelProxy")) {
        JsonBlackLevel::registerBlackLevelTypes();
    }
    if (!registry.isRegistered("BlendProxy")) {
        JsonBlending::registerBlendingTypes();
    }
    if (!registry.isRegistered("ControlCurveProxy")) {
        JsonMasking::registerMaskingTypes();
    }
}

void JsonWarp::dumpMaps(const BlendProxy* mask, const BlendProxy* screenMask, const BlendProxy* blend,
                        const BlendProxy* bu) const {
    const Device* const device = getDevice();
    if (device == nullptr) {
        return;
    }
    const auto dump = [&](const BlendProxy* proxy, const char* word) {
        const GrayscaleImage* const image = proxy == nullptr ? nullptr : proxy->getImage();
        if (image != nullptr) {
            image->exportAsPGM(makeMACAddressFilename(device->getMACAddress(), word, ".pgm"), 65535);
        }
    };
    dump(blend, "blend");
    dump(mask, "mask");
    dump(screenMask, "screenMask");
    dump(bu, "bu");
}

int JsonWarp::previewWarp(int location, MeshProxy* mesh, BlendProxy* mask, BlendProxy* screenMask,
                          BlendProxy* blend, BlendProxy* bu) {
    const Instrumentation lap("JsonWarp::previewWarp");
    return TypedCall::call(*connection, Methods::previewWarp, location, mesh, mask, screenMask, blend, bu);
}

int JsonWarp::saveWarp(int location, MeshProxy* mesh, bool) {
    const Instrumentation lap("JsonWarp::saveWarp");
    return TypedCall::call(*connection, Methods::saveWarp, location, mesh);
}

int JsonWarp::flushWarp() {
    return 0;
}

void JsonWarp::evaluateWarp(MeshProxy* mesh, std::function<void(std::vector<WarpLineSegment>)> onSegments,
                            std::function<void(std::wstring)>, int ticket, volatile int* currentTicket) {
    const Instrumentation lap("JsonWarp::evaluateWarp");
    if (mesh == nullptr) {
        throw KorvanExceptionRuntime("DeviceManager/JsonDevice/JsonWarp", __LINE__,
                                     L"There is no mesh to evaluate");
    }
    const auto segments = findFolds(*mesh, ticket, currentTicket);
    if (segments && onSegments) {
        onSegments(*segments);
    }
}

void JsonWarp::showWarp() {
    const Instrumentation lap("JsonWarp::showWarp");
    TypedCall::call(*connection, Methods::showWarp);
}

void JsonWarp::nameWarp(int location, const std::wstring& name) {
    TypedCall::call(*connection, Methods::nameWarp, location, name);
}

void JsonWarp::deleteWarp(int location) {
    TypedCall::call(*connection, Methods::deleteWarp, location);
}

int JsonWarp::previewAll(int a1, int a2, int a3, int a4, int a5, int a6, MeshProxy* mesh, BlendProxy* mask,
                         BlendProxy* screenMask, BlendProxy* blend, BlendProxy* bu,
                         BlackLevelProxy* blackLevel) {
    const Instrumentation lap("JsonWarp::previewAll");
    return TypedCall::call(*connection, Methods::previewAll, a1, a2, a3, a4, a5, a6, mesh, mask, screenMask,
                           blend, bu, blackLevel);
}

int JsonWarp::saveAll(int a1, int a2, int a3, int a4, int a5, int a6, MeshProxy* mesh, BlendProxy* mask,
                      BlendProxy* screenMask, BlendProxy* blend, BlendProxy* bu,
                      BlackLevelProxy* blackLevel) {
    const Instrumentation lap("JsonWarp::saveAll");
    if (logger->isTraceEnabled()) {
        dumpMaps(mask, screenMask, blend, bu);
    }
    return TypedCall::call(*connection, Methods::saveAll, a1, a2, a3, a4, a5, a6, mesh, mask, screenMask,
                           blend, bu, blackLevel);
}

int JsonWarp::getHorizontalPreFilter() {
    return TypedCall::call(*connection, Methods::getHorizontalPreFilter);
}

void JsonWarp::setHorizontalPreFilter(unsigned int value) {
    TypedCall::call(*connection, Methods::setHorizontalPreFilter, static_cast<int>(value));
}

int JsonWarp::getVerticalPreFilter() {
    return TypedCall::call(*connection, Methods::getVerticalPreFilter);
}

void JsonWarp::setVerticalPreFilter(unsigned int value) {
    TypedCall::call(*connection, Methods::setVerticalPreFilter, static_cast<int>(value));
}

int JsonWarp::getLatency() {
    return TypedCall::call(*connection, Methods::getLatency);
}

void JsonWarp::setLatency(unsigned int value) {
    TypedCall::call(*connection, Methods::setLatency, static_cast<int>(value));
}

int JsonWarp::getWarpLocation() {
    return TypedCall::call(*connection, Methods::getWarpLocation);
}

void JsonWarp::selectWarp(unsigned int location) {
    TypedCall::call(*connection, Methods::selectWarp, static_cast<int>(location));
}

int JsonWarp::getMapControl() {
    return TypedCall::call(*connection, Methods::getMapControl);
}

void JsonWarp::setMapControl(unsigned int value) {
    TypedCall::call(*connection, Methods::setMapControl, static_cast<int>(value));
}

int JsonWarp::getSharpness() {
    return TypedCall::call(*connection, Methods::getSharpness);
}

void JsonWarp::setSharpness(unsigned int value) {
    TypedCall::call(*connection, Methods::setSharpness, static_cast<int>(value));
}

bool JsonWarp::doesQuellSupportCurrentWarpFormat() {
    return TypedCall::call(*connection, Methods::doesQuellSupportCurrentWarpFormat);
}

std::wstring JsonWarp::getWarpXmlFromProjector(int location) {
    return TypedCall::call(*connection, Methods::getWarpXmlFromProjector, location);
}

std::wstring JsonWarp::getBlendXmlFromProjector(int location) {
    return TypedCall::call(*connection, Methods::getBlendXmlFromProjector, location);
}

std::pair<int, int> JsonWarp::getWarpMemLocRange() {
    return {1, 4};
}

const JsonWarp::NamesAndLocations& JsonWarp::getWarpNamesAndLocations() {
    warpNamesAndLocations = TypedCall::call(*connection, Methods::getWarpNamesAndLocations);
    return warpNamesAndLocations;
}

const JsonWarp::NamesAndLocations& JsonWarp::getBlendNamesAndLocations() {
    blendNamesAndLocations = TypedCall::call(*connection, Methods::getBlendNamesAndLocations);
    return blendNamesAndLocations;
}

}  // namespace JsonDevice
