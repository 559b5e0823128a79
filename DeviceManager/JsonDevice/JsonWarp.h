#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "DeviceManager/JsonDevice/JsonAdapter.h"
#include "Platform/Devices/WarpInterface.h"

namespace JsonDevice {

class JSONDEVICE_EXPORT JsonWarp : public JsonAdapter<WarpInterface> {
public:
    explicit JsonWarp(Device* device);
    explicit JsonWarp(Communicator* communicator);
    ~JsonWarp() override;

    /// Adds "MeshProxy" and the other proxy types of warps, blends and masks to
    /// the registry, where absent. The constructors do.
    static void registerWarpTypes();

    int previewWarp(int location, MeshProxy* mesh, BlendProxy* mask, BlendProxy* screenMask,
                    BlendProxy* blend, BlendProxy* bu) override;
    int saveWarp(int location, MeshProxy* mesh, bool flag) override;
    int flushWarp() override;
    void evaluateWarp(MeshProxy* mesh, std::function<void(std::vector<WarpLineSegment>)> onSegments,
                      std::function<void(std::wstring)> onMessage, int ticket,
                      volatile int* currentTicket) override;
    void showWarp() override;
    void nameWarp(int location, const std::wstring& name) override;
    void deleteWarp(int location) override;
    int previewAll(int a1, int a2, int a3, int a4, int a5, int a6, MeshProxy* mesh, BlendProxy* mask,
                   BlendProxy* screenMask, BlendProxy* blend, BlendProxy* bu,
                   BlackLevelProxy* blackLevel) override;
    int saveAll(int a1, int a2, int a3, int a4, int a5, int a6, MeshProxy* mesh, BlendProxy* mask,
                BlendProxy* screenMask, BlendProxy* blend, BlendProxy* bu,
                BlackLevelProxy* blackLevel) override;
    int getHorizontalPreFilter() override;
    void setHorizontalPreFilter(unsigned int value) override;
    int getVerticalPreFilter() override;
    void setVerticalPreFilter(unsigned int value) override;
    int getLatency() override;
    void setLatency(unsigned int value) override;
    int getWarpLocation() override;
    void selectWarp(unsigned int location) override;
    int getMapControl() override;
    void setMapControl(unsigned int value) override;
    int getSharpness() override;
    void setSharpness(unsigned int value) override;
    bool doesQuellSupportCurrentWarpFormat() override;
    std::wstring getWarpXmlFromProjector(int location) override;
    std::wstring getBlendXmlFromProjector(int location) override;
    std::pair<int, int> getWarpMemLocRange() override;
    const NamesAndLocations& getWarpNamesAndLocations() override;
    const NamesAndLocations& getBlendNamesAndLocations() override;

private:
    /// Writes the maps as PGM files to the current folder, for people to look at.
    void dumpMaps(const BlendProxy* mask, const BlendProxy* screenMask, const BlendProxy* blend,
                  const BlendProxy* bu) const;

    NamesAndLocations warpNamesAndLocations;
    NamesAndLocations blendNamesAndLocations;
};

}  // namespace JsonDevice
