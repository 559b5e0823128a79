#pragma once

#include <string>

#include "Platform/DeviceControl/BaseInterface.h"

class Device;

/// What the interface classes have in common: the device they speak to (null
/// when an implementation was made from a transport alone) and their name.
class JSONDEVICE_EXPORT DeviceInterface : public BaseInterface {
public:
    DeviceInterface(Device* device, const char* interfaceType) : device(device), type(interfaceType) {}
    ~DeviceInterface() override;

    std::string getInterfaceType() const override;
    Device* getDevice() const { return device; }

private:
    Device* device;
    const char* type;
};
