#pragma once

#include <vector>

#include "Platform/Devices/DeviceInterface.h"

/// A grid of lines over a background, for alignment. The device collects
/// settings and applies them when its command queue is flushed.
///
/// Numbers without a name are the device's own.
class JSONDEVICE_EXPORT GridTestPatternInterface : public DeviceInterface {
public:
    /// A device may know further ones.
    enum class Mode : int { off, lines, crossings };

    explicit GridTestPatternInterface(Device* device) : DeviceInterface(device, "GridTestPatternInterface") {}
    ~GridTestPatternInterface() override;

    virtual void setLineColor(int red, int green, int blue) = 0;
    virtual void setBackgroundColor(int red, int green, int blue) = 0;
    virtual void setRange(int, int, int, int) = 0;
    virtual void setLines(int, const std::vector<int>&) = 0;
    virtual void setMode(Mode mode) = 0;
    virtual void flushCommandQueue() = 0;
};
