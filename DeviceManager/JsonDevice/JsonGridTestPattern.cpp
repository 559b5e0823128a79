#include "DeviceManager/JsonDevice/JsonGridTestPattern.h"

#include <log4cxx/logger.h>

#include "DeviceManager/JsonDevice/TypedCall.h"
#include "DeviceManager/JsonDevice/Vocabulary/GridTestPattern.h"

namespace JsonDevice {

namespace {

[[maybe_unused]] const log4cxx::LoggerPtr logger =
    log4cxx::Logger::getLogger("DeviceManager.JsonDevice.JsonGridTestPattern");

namespace Methods = Vocabulary::GridTestPattern;

}  // namespace

JsonGridTestPattern::JsonGridTestPattern(Device* device) : JsonAdapter(device) {}
JsonGridTestPattern::JsonGridTestPattern(Communicator* communicator) : JsonAdapter(communicator) {}
JsonGridTestPattern::~JsonGridTestPattern() = default;

void JsonGridTestPattern::setLineColor(int red, int green, int blue) {
    TypedCall::call(*connection, Methods::setLineColor, red, green, blue);
}

void JsonGridTestPattern::setBackgroundColor(int red, int green, int blue) {
    TypedCall::call(*connection, Methods::setBackgroundColor, red, green, blue);
}

void JsonGridTestPattern::setRange(int value1, int value2, int value3, int value4) {
    TypedCall::call(*connection, Methods::setRange, value1, value2, value3, value4);
}

void JsonGridTestPattern::setLines(int value, const std::vector<int>& lines) {
    TypedCall::call(*connection, Methods::setLines, value, lines);
}

void JsonGridTestPattern::setMode(Mode mode) {
    TypedCall::call(*connection, Methods::setMode, static_cast<int>(mode));
}

void JsonGridTestPattern::flushCommandQueue() {
    TypedCall::call(*connection, Methods::flushCommandQueue);
}

}  // namespace JsonDevice
