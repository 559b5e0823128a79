#include "DeviceManager/JsonDevice/JsonBlendingV1.h"

#include "DeviceManager/JsonDevice/OlderProtocol.h"

namespace JsonDevice {

JsonBlendingV1::~JsonBlendingV1() = default;

void JsonBlendingV1::selectBlend(int location) {
    JsonBlending::selectBlend(toOlderProtocol(location));
}

void JsonBlendingV1::selectUniformity(int location) {
    JsonBlendingV1::selectBlend(location);
}

int JsonBlendingV1::getBlendLocation() {
    return fromOlderProtocol(JsonBlending::getBlendLocation());
}

int JsonBlendingV1::getUniformityLocation() {
    return JsonBlendingV1::getBlendLocation();
}

}  // namespace JsonDevice
