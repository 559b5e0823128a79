#include "DeviceManager/JsonDevice/JsonProjectorBlockPattern.h"

#include <log4cxx/logger.h>

namespace JsonDevice {

namespace {

[[maybe_unused]] const log4cxx::LoggerPtr logger =
    log4cxx::Logger::getLogger("DeviceManager.JsonDevice.JsonProjectorBlockPattern");

}  // namespace

JsonProjectorBlockPattern::JsonProjectorBlockPattern(Device* device) : JsonBlockPattern(device) {}
JsonProjectorBlockPattern::JsonProjectorBlockPattern(Communicator* communicator)
    : JsonBlockPattern(communicator) {}
JsonProjectorBlockPattern::~JsonProjectorBlockPattern() = default;

void JsonProjectorBlockPattern::flushCommandQueue(bool) {
    flush();
}

}  // namespace JsonDevice
