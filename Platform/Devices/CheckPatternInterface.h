#pragma once

#include "Platform/Devices/DeviceInterface.h"

/// The pattern that a camera looks at while it calibrates the picture.
class JSONDEVICE_EXPORT CheckPatternInterface : public DeviceInterface {
public:
    explicit CheckPatternInterface(Device* device) : DeviceInterface(device, "CheckPatternInterface") {}
    ~CheckPatternInterface() override;

    /// `sync` waits for the camera, `subliminal` shows the pattern so that only
    /// a camera sees it, `sine` makes waves of the checks.
    virtual void displayCheckPattern(int xSize, int ySize, int xShift, int yShift, bool sync, bool subliminal,
                                     bool sine) = 0;
    virtual void clearCheckPattern(bool sync) = 0;
};
