#include "Platform/Devices/Device.h"

#include "Platform/Devices/DeviceInterface.h"

Device::Device() = default;
Device::~Device() = default;

DeviceInterface::~DeviceInterface() = default;

std::string DeviceInterface::getInterfaceType() const {
    return type;
}
