#pragma once

#include "Platform/Devices/BlockPatternInterface.h"

/// Block patterns that are drawn before the picture is warped.
class JSONDEVICE_EXPORT PreWarpBlockPatternInterface : public BlockPatternInterface {
public:
    explicit PreWarpBlockPatternInterface(Device* device)
        : BlockPatternInterface(device, "PreWarpBlockPatternInterface") {}
    ~PreWarpBlockPatternInterface() override;

    virtual void flushCommandQueue() = 0;
};
