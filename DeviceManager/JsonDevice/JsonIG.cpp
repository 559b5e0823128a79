#include "DeviceManager/JsonDevice/JsonIG.h"

#include <log4cxx/logger.h>

#include "DeviceManager/JsonDevice/ProxyMarshallers.h"
#include "DeviceManager/JsonDevice/SaveLog.h"
#include "DeviceManager/JsonDevice/TypedCall.h"
#include "DeviceManager/JsonDevice/Vocabulary/IG.h"
#include "Platform/Devices/IGContentProxy.h"

namespace JsonDevice {

namespace {

[[maybe_unused]] const log4cxx::LoggerPtr logger =
    log4cxx::Logger::getLogger("DeviceManager.JsonDevice.JsonIG");

namespace Methods = Vocabulary::IG;

}  // namespace

JsonIG::JsonIG(Device* device) : JsonAdapter(device) {
    registerIGTypes();
}

JsonIG::JsonIG(Communicator* communicator) : JsonAdapter(communicator) {
    registerIGTypes();
}

JsonIG::~JsonIG() = default;

void JsonIG::registerIGTypes() {
    registerProxy<IGContentProxy, JTypeIGContentProxy>(*MarshalJson::instance(), "IGContentProxy",
                                                       "DeviceManager/JsonDevice/JsonIG", __LINE__,
                                                       L"You cannot create an empty IGContentProxy");
}

bool JsonIG::addContent(const std::wstring& name, IGContentProxy* content) {
    const SaveLog log(logger, connection->getClock(), "JsonIG::addContent");
    const bool answer = TypedCall::call(*connection, Methods::addContent, name, content);
    log.done();
    return answer;
}

bool JsonIG::selectContent(const std::wstring& name) {
    return TypedCall::call(*connection, Methods::selectContent, name);
}

}  // namespace JsonDevice
