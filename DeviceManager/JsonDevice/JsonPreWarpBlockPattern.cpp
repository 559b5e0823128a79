#include "DeviceManager/JsonDevice/JsonPreWarpBlockPattern.h"

#include <log4cxx/logger.h>

namespace JsonDevice {

namespace {

[[maybe_unused]] const log4cxx::LoggerPtr logger =
    log4cxx::Logger::getLogger("DeviceManager.JsonDevice.JsonPreWarpBlockPattern");

}  // namespace

JsonPreWarpBlockPattern::JsonPreWarpBlockPattern(Device* device) : JsonBlockPattern(device) {}
JsonPreWarpBlockPattern::JsonPreWarpBlockPattern(Communicator* communicator)
    : JsonBlockPattern(communicator) {}
JsonPreWarpBlockPattern::~JsonPreWarpBlockPattern() = default;

void JsonPreWarpBlockPattern::flushCommandQueue() {
    flush();
}

}  // namespace JsonDevice
