#pragma once

#include <string>
#include <utility>
#include <vector>

#include "DeviceManager/JsonDevice/JsonAdapter.h"
#include "Platform/Devices/BlackLevelInterface.h"

namespace JsonDevice {

/// Constructing one registers no type: before the first preview or save, a warp,
/// blending or masking adapter has been constructed or registerBlackLevelTypes called.
class JSONDEVICE_EXPORT JsonBlackLevel : public JsonAdapter<BlackLevelInterface> {
public:
    explicit JsonBlackLevel(Device* device);
    explicit JsonBlackLevel(Communicator* communicator);
    ~JsonBlackLevel() override;

    /// Adds "BlackLevelProxy" to the registry, where absent.
    static void registerBlackLevelTypes();

    void previewBlacklevel(int location, BlackLevelProxy* blackLevel) override;
    void saveBlacklevel(int location, BlackLevelProxy* blackLevel) override;
    void deleteBlackLevel(int location) override;
    void selectBlackLevel(int location) override;
    float getMaxBlackLevelGainValue() override;
    std::vector<std::pair<int, std::wstring>> getBlackLevelBlendNamesAndLocations() override;
    int getBlackLevelLocation() override;
    std::wstring getBlackLevelXmlFromProjector(int location) override;
};

}  // namespace JsonDevice
