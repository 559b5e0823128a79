#include "DeviceManager/JsonDevice/JsonWarpV1.h"

#include "DeviceManager/JsonDevice/OlderProtocol.h"

namespace JsonDevice {

JsonWarpV1::~JsonWarpV1() = default;

int JsonWarpV1::getWarpLocation() {
    return fromOlderProtocol(JsonWarp::getWarpLocation());
}

void JsonWarpV1::selectWarp(unsigned int location) {
    JsonWarp::selectWarp(location + olderProtocolOffset);
}

}  // namespace JsonDevice
