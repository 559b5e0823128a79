#include "DeviceManager/JsonDevice/JsonBlackLevel.h"

#include <log4cxx/logger.h>

#include "DeviceManager/JsonDevice/ProxyMarshallers.h"
#include "DeviceManager/JsonDevice/TypedCall.h"
#include "DeviceManager/JsonDevice/Vocabulary/BlackLevel.h"
#include "Platform/Devices/BlackLevelProxy.h"

namespace JsonDevice {

namespace {

[[maybe_unused]] const log4cxx::LoggerPtr logger =
    log4cxx::Logger::getLogger("DeviceManager.JsonDevice.JsonBlackLevel");

namespace Methods = Vocabulary::BlackLevel;

}  // namespace

JsonBlackLevel::JsonBlackLevel(Device* device) : JsonAdapter(device) {}

JsonBlackLevel::JsonBlackLevel(Communicator* communicator) : JsonAdapter(communicator) {}

JsonBlackLevel::~JsonBlackLevel() = default;

void JsonBlackLevel::registerBlackLevelTypes() {
    registerProxy<BlackLevelProxy, JTypeBlackLevelProxy>(*MarshalJson::instance(), "BlackLevelProxy",
                                                         "DeviceManager/JsonDevice/JsonBlackLevel", __LINE__,
                                                         L"You cannot create an empty BlackLevelProxy");
}

void JsonBlackLevel::previewBlacklevel(int location, BlackLevelProxy* blackLevel) {
    TypedCall::call(*connection, Methods::previewBlacklevel, location, blackLevel);
}

void JsonBlackLevel::saveBlacklevel(int location, BlackLevelProxy* blackLevel) {
    TypedCall::call(*connection, Methods::saveBlacklevel, location, blackLevel);
}

void JsonBlackLevel::deleteBlackLevel(int location) {
    TypedCall::call(*connection, Methods::deleteBlackLevel, location);
}

void JsonBlackLevel::selectBlackLevel(int location) {
    TypedCall::call(*connection, Methods::selectBlackLevel, location);
}

float JsonBlackLevel::getMaxBlackLevelGainValue() {
    return TypedCall::call(*connection, Methods::getMaxBlackLevelGainValue);
}

std::vector<std::pair<int, std::wstring>> JsonBlackLevel::getBlackLevelBlendNamesAndLocations() {
    return TypedCall::call(*connection, Methods::getBlackLevelBlendNamesAndLocations);
}

int JsonBlackLevel::getBlackLevelLocation() {
    return TypedCall::call(*connection, Methods::getBlackLevelLocation);
}

std::wstring JsonBlackLevel::getBlackLevelXmlFromProjector(int location) {
    return TypedCall::call(*connection, Methods::getBlackLevelXmlFromProjector, location);
}

}  // namespace JsonDevice
