#include "DeviceManager/JsonDevice/JsonUserTestPattern.h"

#include <log4cxx/logger.h>

#include "Common/Exceptions.h"
#include "DeviceManager/JsonDevice/TypedCall.h"
#include "DeviceManager/JsonDevice/Vocabulary/UserTestPattern.h"

namespace JsonDevice {

namespace {

[[maybe_unused]] const log4cxx::LoggerPtr logger =
    log4cxx::Logger::getLogger("DeviceManager.JsonDevice.JsonUserTestPattern");

namespace Methods = Vocabulary::UserTestPattern;

constexpr unsigned int generousBoxLimit = 65536;

}  // namespace

JsonUserTestPattern::JsonUserTestPattern(Device* device) : JsonAdapter(device) {}
JsonUserTestPattern::JsonUserTestPattern(Communicator* communicator) : JsonAdapter(communicator) {}
JsonUserTestPattern::~JsonUserTestPattern() = default;

void JsonUserTestPattern::flushUserTestPattern(bool flag) {
    TypedCall::call(*connection, Methods::flushUserTestPattern, flag);
}

void JsonUserTestPattern::clearUserTestPattern(bool flag) {
    TypedCall::call(*connection, Methods::clearUserTestPattern, flag);
}

void JsonUserTestPattern::showUserTestPatternGrid(int value1, int value2, int value3, int value4,
                                                  int value5) {
    TypedCall::call(*connection, Methods::showUserTestPatternGrid, value1, value2, value3, value4, value5);
}

void JsonUserTestPattern::drawBoxes(const std::vector<Point2I>& corners, int value1, int value2, int value3,
                                    int value4, int value5) {
    TypedCall::call(*connection, Methods::drawBoxes, corners, value1, value2, value3, value4, value5);
}

void JsonUserTestPattern::drawLines(int value1, int value2, int value3, int value4, int value5, int value6,
                                    int value7) {
    TypedCall::call(*connection, Methods::drawLines, value1, value2, value3, value4, value5, value6, value7);
}

bool JsonUserTestPattern::isUserTestPatternDisplayed() {
    return TypedCall::call(*connection, Methods::isUserTestPatternDisplayed);
}

unsigned int JsonUserTestPattern::getBoxLimit() const {
    try {
        return TypedCall::call(*connection, Methods::getBoxLimit);
    } catch (const KorvanParseException&) {
        return generousBoxLimit;
    }
}

}  // namespace JsonDevice
