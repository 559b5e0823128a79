#include "DeviceManager/JsonDevice/JsonTestPattern.h"

#include <iterator>

#include <log4cxx/logger.h>

#include "DeviceManager/JsonDevice/TypedCall.h"
#include "DeviceManager/JsonDevice/Vocabulary/TestPattern.h"
#include "Platform/Devices/UploadTestPatternInterface.h"

namespace JsonDevice {

namespace {

[[maybe_unused]] const log4cxx::LoggerPtr logger =
    log4cxx::Logger::getLogger("DeviceManager.JsonDevice.JsonTestPattern");

namespace Methods = Vocabulary::TestPattern;

}  // namespace

JsonTestPattern::JsonTestPattern(Device* device, UploadTestPatternInterface* uploadInterface)
    : JsonAdapter(device), upload(uploadInterface) {}

JsonTestPattern::JsonTestPattern(Communicator* communicator, UploadTestPatternInterface* uploadInterface)
    : JsonAdapter(communicator), upload(uploadInterface) {}

JsonTestPattern::~JsonTestPattern() = default;

void JsonTestPattern::setInternalTestPattern(unsigned int pattern) {
    TypedCall::call(*connection, Methods::setInternalTestPattern, pattern);
}

int JsonTestPattern::getInternalTestPattern() {
    return TypedCall::call(*connection, Methods::getInternalTestPattern);
}

const std::vector<std::pair<int, std::wstring>>& JsonTestPattern::getInternalTestPatternList() {
    auto all = TypedCall::call(*connection, Methods::getInternalTestPatternList);
    if (upload != nullptr) {
        auto slots = upload->getAvailableUploadSlots();
        all.insert(all.end(), std::make_move_iterator(slots.begin()), std::make_move_iterator(slots.end()));
    }
    patterns = std::move(all);
    return patterns;
}

bool JsonTestPattern::isInternalTestPatternShowing() {
    return TypedCall::call(*connection, Methods::isInternalTestPatternShowing);
}

void JsonTestPattern::clearPointTestPattern() {
    TypedCall::call(*connection, Methods::clearPointTestPattern);
}

void JsonTestPattern::setPointTestPatternColor(TestPatternColour colour) {
    TypedCall::call(*connection, Methods::setPointTestPatternColor, colour);
}

void JsonTestPattern::enablePointTestPattern(bool enable) {
    TypedCall::call(*connection, Methods::enablePointTestPattern, enable);
}

void JsonTestPattern::addPointTestPattern(const std::vector<Point2I>& points) {
    TypedCall::call(*connection, Methods::addPointTestPattern, points);
}

void JsonTestPattern::setPointTestPattern(const std::vector<Point2I>& points) {
    TypedCall::call(*connection, Methods::setPointTestPattern, points);
}

void JsonTestPattern::flushUserTestPattern() {
    TypedCall::call(*connection, Methods::flushUserTestPattern);
}

void JsonTestPattern::clearUserTestPattern() {
    TypedCall::call(*connection, Methods::clearUserTestPattern);
}

void JsonTestPattern::showUserTestPatternGrid(int value1, int value2, int value3, int value4, int value5) {
    TypedCall::call(*connection, Methods::showUserTestPatternGrid, value1, value2, value3, value4, value5);
}

void JsonTestPattern::drawBoxes(const std::vector<Point2I>& corners, int value1, int value2, int value3,
                                int value4, int value5) {
    TypedCall::call(*connection, Methods::drawBoxes, corners, value1, value2, value3, value4, value5);
}

void JsonTestPattern::drawLines(int value1, int value2, int value3, int value4, int value5, int value6,
                                int value7) {
    TypedCall::call(*connection, Methods::drawLines, value1, value2, value3, value4, value5, value6, value7);
}

}  // namespace JsonDevice
