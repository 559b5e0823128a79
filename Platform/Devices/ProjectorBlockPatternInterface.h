#pragma once

#include "Platform/Devices/BlockPatternInterface.h"

/// Block patterns that are drawn on the projector's own pixels.
class JSONDEVICE_EXPORT ProjectorBlockPatternInterface : public BlockPatternInterface {
public:
    explicit ProjectorBlockPatternInterface(Device* device)
        : BlockPatternInterface(device, "ProjectorBlockPatternInterface") {}
    ~ProjectorBlockPatternInterface() override;

    virtual void flushCommandQueue(bool) = 0;
};
