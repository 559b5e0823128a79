#pragma once

#include "DeviceManager/JsonDevice/JsonBlockPattern.h"
#include "Platform/Devices/PreWarpBlockPatternInterface.h"

namespace JsonDevice {

class JSONDEVICE_EXPORT JsonPreWarpBlockPattern : public JsonBlockPattern<PreWarpBlockPatternInterface> {
public:
    explicit JsonPreWarpBlockPattern(Device* device);
    explicit JsonPreWarpBlockPattern(Communicator* communicator);
    ~JsonPreWarpBlockPattern() override;

    void flushCommandQueue() override;
};

}  // namespace JsonDevice
