#include "DeviceManager/JsonDevice/JsonStatus.h"

#include <memory>
#include <utility>

#include <log4cxx/logger.h>

#include "DeviceManager/JsonDevice/Marshallers.h"
#include "DeviceManager/JsonDevice/TypedCall.h"
#include "DeviceManager/JsonDevice/Vocabulary/Status.h"

namespace JsonDevice {

namespace {

[[maybe_unused]] const log4cxx::LoggerPtr logger =
    log4cxx::Logger::getLogger("DeviceManager.JsonDevice.JsonStatus");

namespace Methods = Vocabulary::Status;

using Names = std::vector<std::wstring>;
using Numbers = std::vector<int>;
using Lists = std::pair<Names, Numbers>;
using KnownLists = std::pair<bool, Lists>;

auto namesAndNumbers() {
    return std::make_shared<JTypePair<Lists>>(
        std::make_shared<JTypeVector<std::wstring>>(std::make_shared<JTypeWString<std::wstring>>()),
        std::make_shared<JTypeVector<int>>(std::make_shared<JTypeInteger<int>>()));
}

}  // namespace

JsonStatus::JsonStatus(Device* device) : JsonAdapter(device) {
    registerStatusInterfaceTypes();
}

JsonStatus::JsonStatus(Communicator* communicator) : JsonAdapter(communicator) {
    registerStatusInterfaceTypes();
}

JsonStatus::~JsonStatus() = default;

void JsonStatus::registerStatusInterfaceTypes() {
    MarshalJson& registry = *MarshalJson::instance();
    if (!registry.isRegistered("std::vector<std::wstring>")) {
        registry.registerType<Names, JTypeVector<std::wstring>>(
            "std::vector<std::wstring>", std::make_shared<JTypeWString<std::wstring>>());
    }
    if (!registry.isRegistered("std::vector<int>")) {
        registry.registerType<Numbers, JTypeVector<int>>("std::vector<int>",
                                                         std::make_shared<JTypeInteger<int>>());
    }
    if (!registry.isRegistered("PairVectorStringVectorInt")) {
        registry.registerType<Lists>("PairVectorStringVectorInt", namesAndNumbers(),
                                     []() -> void* { return new Lists(); });
    }
    if (!registry.isRegistered("PairBoolPairVectorStringVectorInt")) {
        registry.registerType<KnownLists, JTypePair<KnownLists>>(
            "PairBoolPairVectorStringVectorInt", std::make_shared<JTypeBool<bool>>(), namesAndNumbers());
    }
}

int JsonStatus::getLampCounter() {
    return TypedCall::call(*connection, Methods::getLampCounter);
}

std::vector<int> JsonStatus::getLampHours() {
    return TypedCall::call(*connection, Methods::getLampHours);
}

int JsonStatus::getProjectorHours() {
    return TypedCall::call(*connection, Methods::getProjectorHours);
}

int JsonStatus::getImageProcessorTemperature() {
    return TypedCall::call(*connection, Methods::getImageProcessorTemperature);
}

int JsonStatus::getPanelDriverTemperature() {
    return TypedCall::call(*connection, Methods::getPanelDriverTemperature);
}

int JsonStatus::getBackplaneTemperature() {
    return TypedCall::call(*connection, Methods::getBackplaneTemperature);
}

int JsonStatus::getPostProcessingTemperature() {
    return TypedCall::call(*connection, Methods::getPostProcessingTemperature);
}

int JsonStatus::getQuellFPGATemperature() {
    return TypedCall::call(*connection, Methods::getQuellFPGATemperature);
}

std::wstring JsonStatus::getSoftware() {
    return TypedCall::call(*connection, Methods::getSoftware);
}

std::wstring JsonStatus::getModel() {
    return TypedCall::call(*connection, Methods::getModel);
}

std::wstring JsonStatus::getSerialNumber() {
    return TypedCall::call(*connection, Methods::getSerialNumber);
}

std::vector<int> JsonStatus::getNativeResolution() {
    return TypedCall::call(*connection, Methods::getNativeResolution);
}

std::wstring JsonStatus::getSampleRate() {
    return TypedCall::call(*connection, Methods::getSampleRate);
}

std::wstring JsonStatus::getSyncType() {
    return TypedCall::call(*connection, Methods::getSyncType);
}

int JsonStatus::getLampIntakeTemperature() {
    return TypedCall::call(*connection, Methods::getLampIntakeTemperature);
}

int JsonStatus::getLampExhaustTemperature() {
    return TypedCall::call(*connection, Methods::getLampExhaustTemperature);
}

int JsonStatus::getDMDHeatsinkTemperature() {
    return TypedCall::call(*connection, Methods::getDMDHeatsinkTemperature);
}

bool JsonStatus::getAllTemperatures(std::vector<std::wstring>& names, std::vector<int>& temperatures) {
    auto [known, lists] = TypedCall::call(*connection, Methods::getAllTemperatures);
    names = std::move(lists.first);
    temperatures = std::move(lists.second);
    return known;
}

std::wstring JsonStatus::getSync() {
    return TypedCall::call(*connection, Methods::getSync);
}

int JsonStatus::getLampOvertempIndicator() {
    return TypedCall::call(*connection, Methods::getLampOvertempIndicator);
}

}  // namespace JsonDevice
