#pragma once

#include <string>
#include <utility>
#include <vector>

#include "Platform/Devices/DeviceInterface.h"

class BlackLevelProxy;

/// The projector's black level corrections. The proxies stay the caller's.
class JSONDEVICE_EXPORT BlackLevelInterface : public DeviceInterface {
public:
    explicit BlackLevelInterface(Device* device) : DeviceInterface(device, "BlackLevelInterface") {}
    ~BlackLevelInterface() override;

    /// Puts a correction on the wall without storing it.
    virtual void previewBlacklevel(int location, BlackLevelProxy* blackLevel) = 0;
    virtual void saveBlacklevel(int location, BlackLevelProxy* blackLevel) = 0;
    virtual void deleteBlackLevel(int location) = 0;
    virtual void selectBlackLevel(int location) = 0;
    /// The largest gain that the device can apply, in its own unit.
    virtual float getMaxBlackLevelGainValue() = 0;
    /// The stored corrections.
    virtual std::vector<std::pair<int, std::wstring>> getBlackLevelBlendNamesAndLocations() = 0;
    /// The location of the active correction.
    virtual int getBlackLevelLocation() = 0;
    virtual std::wstring getBlackLevelXmlFromProjector(int location) = 0;
};
