#pragma once

#include <string>

#include "Platform/Devices/DeviceInterface.h"

class IGContentProxy;

/// The contents of an image generator, by name. The proxies stay the caller's;
/// the answers are whether the device did it.
class JSONDEVICE_EXPORT IGInterface : public DeviceInterface {
public:
    explicit IGInterface(Device* device) : DeviceInterface(device, "IGInterface") {}
    ~IGInterface() override;

    virtual bool addContent(const std::wstring& name, IGContentProxy* content) = 0;
    virtual bool selectContent(const std::wstring& name) = 0;
};
