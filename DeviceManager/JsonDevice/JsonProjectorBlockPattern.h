#pragma once

#include "DeviceManager/JsonDevice/JsonBlockPattern.h"
#include "Platform/Devices/ProjectorBlockPatternInterface.h"

namespace JsonDevice {

class JSONDEVICE_EXPORT JsonProjectorBlockPattern : public JsonBlockPattern<ProjectorBlockPatternInterface> {
public:
    explicit JsonProjectorBlockPattern(Device* device);
    explicit JsonProjectorBlockPattern(Communicator* communicator);
    ~JsonProjectorBlockPattern() override;

    /// The flag is not sent.
    void flushCommandQueue(bool flag) override;
};

}  // namespace JsonDevice
