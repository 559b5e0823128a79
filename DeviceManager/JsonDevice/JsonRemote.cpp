#include "DeviceManager/JsonDevice/JsonRemote.h"

#include <log4cxx/logger.h>

#include "DeviceManager/JsonDevice/TypedCall.h"
#include "DeviceManager/JsonDevice/Vocabulary/Remote.h"

namespace JsonDevice {

namespace {

[[maybe_unused]] const log4cxx::LoggerPtr logger =
    log4cxx::Logger::getLogger("DeviceManager.JsonDevice.JsonRemote");

}  // namespace

JsonRemote::JsonRemote(Device* device) : JsonAdapter(device) {}
JsonRemote::JsonRemote(Communicator* communicator) : JsonAdapter(communicator) {}
JsonRemote::~JsonRemote() = default;

void JsonRemote::sendKeyCode(int keyCode) {
    TypedCall::call(*connection, Vocabulary::Remote::sendKeyCode, keyCode);
}

void JsonRemote::sendOSD(int osd) {
    TypedCall::call(*connection, Vocabulary::Remote::sendOSD, osd);
}

}  // namespace JsonDevice
