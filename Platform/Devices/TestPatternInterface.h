#pragma once

#include <string>
#include <utility>
#include <vector>

#include "Platform/Devices/DeviceInterface.h"
#include "Platform/Devices/Point.h"

/// The patterns that a projector shows by itself: built-in ones, points at given
/// pixels, and one that the caller draws from lines, boxes and a grid.
///
/// Numbers without a name are the device's own, and so are their units.
class JSONDEVICE_EXPORT TestPatternInterface : public DeviceInterface {
public:
    /// Bit 0 is red, bit 1 green, bit 2 blue.
    enum class TestPatternColour : int { black, red, green, yellow, blue, magenta, cyan, white };

    explicit TestPatternInterface(Device* device) : DeviceInterface(device, "TestPatternInterface") {}
    ~TestPatternInterface() override;

    /// Shows a pattern of the list, by its number.
    virtual void setInternalTestPattern(unsigned int pattern) = 0;
    virtual int getInternalTestPattern() = 0;
    /// (number, name) of each; valid until the next call or the end of this object.
    virtual const std::vector<std::pair<int, std::wstring>>& getInternalTestPatternList() = 0;
    virtual bool isInternalTestPatternShowing() = 0;

    virtual void clearPointTestPattern() = 0;
    virtual void setPointTestPatternColor(TestPatternColour colour) = 0;
    virtual void enablePointTestPattern(bool enable) = 0;
    virtual void addPointTestPattern(const std::vector<Point2I>& points) = 0;
    /// Replaces all points.
    virtual void setPointTestPattern(const std::vector<Point2I>& points) = 0;

    /// Shows what was drawn; until then the device only collects it.
    virtual void flushUserTestPattern() = 0;
    /// Forgets what was drawn.
    virtual void clearUserTestPattern() = 0;
    virtual void showUserTestPatternGrid(int, int, int, int, int) = 0;
    virtual void drawBoxes(const std::vector<Point2I>& corners, int, int, int, int, int) = 0;
    virtual void drawLines(int, int, int, int, int, int, int) = 0;
};
