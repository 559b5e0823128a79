#pragma once

#include <vector>

#include "Platform/Devices/DeviceInterface.h"
#include "Platform/Devices/Point.h"

/// The pattern that the caller draws from lines, boxes and a grid, alone.
///
/// Numbers without a name are the device's own, and so are the flags.
class JSONDEVICE_EXPORT UserTestPatternInterface : public DeviceInterface {
public:
    explicit UserTestPatternInterface(Device* device) : DeviceInterface(device, "UserTestPatternInterface") {}
    ~UserTestPatternInterface() override;

    /// Shows what was drawn; until then the device only collects it.
    virtual void flushUserTestPattern(bool flag) = 0;
    /// Forgets what was drawn.
    virtual void clearUserTestPattern(bool flag) = 0;
    virtual void showUserTestPatternGrid(int, int, int, int, int) = 0;
    virtual void drawBoxes(const std::vector<Point2I>& corners, int, int, int, int, int) = 0;
    virtual void drawLines(int, int, int, int, int, int, int) = 0;
    virtual bool isUserTestPatternDisplayed() = 0;
    /// How many boxes the device draws at most.
    virtual unsigned int getBoxLimit() const = 0;
};
