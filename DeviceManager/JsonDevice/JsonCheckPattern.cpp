#include "DeviceManager/JsonDevice/JsonCheckPattern.h"

#include <string>

#include <log4cxx/logger.h>

#include "DeviceManager/JsonDevice/Logging.h"
#include "DeviceManager/JsonDevice/TypedCall.h"
#include "DeviceManager/JsonDevice/Vocabulary/CheckPattern.h"

namespace JsonDevice {

namespace {

const log4cxx::LoggerPtr logger = log4cxx::Logger::getLogger("DeviceManager.JsonDevice.JsonCheckPattern");

namespace Methods = Vocabulary::CheckPattern;

}  // namespace

JsonCheckPattern::JsonCheckPattern(Device* device) : JsonAdapter(device) {}
JsonCheckPattern::~JsonCheckPattern() = default;

void JsonCheckPattern::displayCheckPattern(int xSize, int ySize, int xShift, int yShift, bool sync,
                                           bool subliminal, bool sine) {
    JSONDEVICE_LOG(logger, Debug,
                   "JSONRPC:displayCheckPattern from Gridsense xSize:" + std::to_string(xSize) +
                       ", ySize:" + std::to_string(ySize) + ", xShift:" + std::to_string(xShift) +
                       ", yShift:" + std::to_string(yShift) + ", sync:" + std::to_string(sync) +
                       ", subliminal:" + std::to_string(subliminal) + ", sine:" + std::to_string(sine));
    TypedCall::call(*connection, Methods::displayCheckPattern, xSize, ySize, xShift, yShift, sync, subliminal,
                    sine);
}

void JsonCheckPattern::clearCheckPattern(bool sync) {
    JSONDEVICE_LOG(logger, Debug,
                   "JSONRPC:clearCheckPattern from Gridsense : clearing sync:" + std::to_string(sync));
    TypedCall::call(*connection, Methods::clearCheckPattern, sync);
}

}  // namespace JsonDevice
