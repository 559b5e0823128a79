#include "DeviceManager/JsonDevice/JsonControl.h"

#include <log4cxx/logger.h>

#include "DeviceManager/JsonDevice/TypedCall.h"
#include "DeviceManager/JsonDevice/Vocabulary/Control.h"

namespace JsonDevice {

namespace {

[[maybe_unused]] const log4cxx::LoggerPtr logger =
    log4cxx::Logger::getLogger("DeviceManager.JsonDevice.JsonControl");

namespace Methods = Vocabulary::Control;

}  // namespace

JsonControl::JsonControl(Device* device) : JsonAdapter(device) {
    registerControlInterfaceTypes();
}

JsonControl::JsonControl(Communicator* communicator) : JsonAdapter(communicator) {
    registerControlInterfaceTypes();
}

JsonControl::~JsonControl() = default;

void JsonControl::registerControlInterfaceTypes() {}

void JsonControl::setFactoryDefault(unsigned int value) {
    TypedCall::call(*connection, Methods::setFactoryDefault, value);
}

int JsonControl::getInputSignal() {
    return TypedCall::call(*connection, Methods::getInputSignal);
}

const ControlInterface::InputSignals& JsonControl::getInputSignalList() {
    inputSignals.clear();
    inputSignals = TypedCall::call(*connection, Methods::getInputSignalList);
    return inputSignals;
}

void JsonControl::setInputSignal(unsigned int signal) {
    TypedCall::call(*connection, Methods::setInputSignal, signal);
}

std::wstring JsonControl::getSignalStatus() {
    return TypedCall::call(*connection, Methods::getSignalStatus);
}

std::wstring JsonControl::getOptionalInputSignalDescription(unsigned int signal) {
    return TypedCall::call(*connection, Methods::getOptionalInputSignalDescription, signal);
}

int JsonControl::getShutter() {
    return TypedCall::call(*connection, Methods::getShutter);
}

void JsonControl::setShutter(unsigned int value) {
    TypedCall::call(*connection, Methods::setShutter, value);
}

int JsonControl::getPower() {
    return TypedCall::call(*connection, Methods::getPower);
}

bool JsonControl::setPower(unsigned int value) {
    return TypedCall::call(*connection, Methods::setPower, value);
}

bool JsonControl::requestAutoSetup() {
    return TypedCall::call(*connection, Methods::requestAutoSetup);
}

int JsonControl::isAutoSetupEnabled() {
    return TypedCall::call(*connection, Methods::isAutoSetupEnabled);
}

int JsonControl::isSourceLocked() {
    return TypedCall::call(*connection, Methods::isSourceLocked);
}

void JsonControl::setSourceLocked(int value) {
    TypedCall::call(*connection, Methods::setSourceLocked, value);
}

unsigned int JsonControl::getAutomaticInputCycling() {
    return TypedCall::call(*connection, Methods::getAutomaticInputCycling);
}

void JsonControl::setAutomaticInputCycling(unsigned int value) {
    TypedCall::call(*connection, Methods::setAutomaticInputCycling, value);
}

}  // namespace JsonDevice
