#include "DeviceManager/JsonDevice/JsonGamma.h"

#include <log4cxx/logger.h>

#include "DeviceManager/JsonDevice/TypedCall.h"
#include "DeviceManager/JsonDevice/Vocabulary/Gamma.h"

namespace JsonDevice {

namespace {

[[maybe_unused]] const log4cxx::LoggerPtr logger =
    log4cxx::Logger::getLogger("DeviceManager.JsonDevice.JsonGamma");

namespace Methods = Vocabulary::Gamma;

}  // namespace

JsonGamma::JsonGamma(Device* device) : JsonAdapter(device) {}
JsonGamma::JsonGamma(Communicator* communicator) : JsonAdapter(communicator) {}
JsonGamma::~JsonGamma() = default;

int JsonGamma::getType() {
    return TypedCall::call(*connection, Methods::getType);
}

void JsonGamma::setType(int type) {
    TypedCall::call(*connection, Methods::setType, type);
}

int JsonGamma::getGamma() {
    return TypedCall::call(*connection, Methods::getGamma);
}

void JsonGamma::setGamma(int gamma) {
    TypedCall::call(*connection, Methods::setGamma, gamma);
}

int JsonGamma::getGammaCorrection() {
    return TypedCall::call(*connection, Methods::getGammaCorrection);
}

void JsonGamma::setGammaCorrection(int correction) {
    TypedCall::call(*connection, Methods::setGammaCorrection, correction);
}

void JsonGamma::getGammaCorrectionRange(int& minimum, int& maximum) {
    minimum = TypedCall::call(*connection, Methods::getGammaCorrectionRangeMin);
    maximum = TypedCall::call(*connection, Methods::getGammaCorrectionRangeMax);
}

int JsonGamma::getSlope() {
    return TypedCall::call(*connection, Methods::getSlope);
}

void JsonGamma::setSlope(int slope) {
    TypedCall::call(*connection, Methods::setSlope, slope);
}

}  // namespace JsonDevice
