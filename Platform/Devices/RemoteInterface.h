#pragma once

#include "Platform/Devices/DeviceInterface.h"

/// The projector's remote control.
class JSONDEVICE_EXPORT RemoteInterface : public DeviceInterface {
public:
    explicit RemoteInterface(Device* device) : DeviceInterface(device, "RemoteInterface") {}
    ~RemoteInterface() override;

    /// Presses a key; the codes are the device's.
    virtual void sendKeyCode(int keyCode) = 0;
    /// Switches the on-screen display; the values are the device's.
    virtual void sendOSD(int osd) = 0;
};
