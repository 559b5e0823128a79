#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "Platform/Devices/DeviceInterface.h"
#include "Platform/Devices/WarpLineSegment.h"

class BlackLevelProxy;
class BlendProxy;
class MeshProxy;

/// The projector's warp engine. A warp is a mesh; what is saved or previewed
/// with it are four maps, in the order mask, screenMask, blend, bu (BlendProxy).
/// The proxies stay the caller's. Where nothing else is said, results are the
/// device's own and so are the values of the settings.
class JSONDEVICE_EXPORT WarpInterface : public DeviceInterface {
public:
    using NamesAndLocations = std::vector<std::pair<int, std::wstring>>;

    explicit WarpInterface(Device* device) : DeviceInterface(device, "WarpInterface") {}
    ~WarpInterface() override;

    /// Puts a warp with its maps on the wall without storing it.
    virtual int previewWarp(int location, MeshProxy* mesh, BlendProxy* mask, BlendProxy* screenMask,
                            BlendProxy* blend, BlendProxy* bu) = 0;
    virtual int saveWarp(int location, MeshProxy* mesh, bool flag) = 0;
    /// Finishes what earlier operations left under way; 0 when that succeeded.
    virtual int flushWarp() = 0;
    /// Looks for places where the mesh folds over. onSegments gets what was
    /// found, nothing included; it is not called when the scan was cancelled.
    /// onMessage gets what there is to say to the user.
    ///
    /// The scan is cancelled when *currentTicket becomes another value than
    /// ticket; another thread may change it at any time, best by an atomic store.
    virtual void evaluateWarp(MeshProxy* mesh, std::function<void(std::vector<WarpLineSegment>)> onSegments,
                              std::function<void(std::wstring)> onMessage, int ticket,
                              volatile int* currentTicket) = 0;
    /// Switches the warp on.
    virtual void showWarp() = 0;
    virtual void nameWarp(int location, const std::wstring& name) = 0;
    virtual void deleteWarp(int location) = 0;
    /// Puts a warp, its maps and a black level on the wall without storing them.
    /// The meaning of the six numbers is the device's.
    virtual int previewAll(int a1, int a2, int a3, int a4, int a5, int a6, MeshProxy* mesh, BlendProxy* mask,
                           BlendProxy* screenMask, BlendProxy* blend, BlendProxy* bu,
                           BlackLevelProxy* blackLevel) = 0;
    /// Stores what previewAll shows.
    virtual int saveAll(int a1, int a2, int a3, int a4, int a5, int a6, MeshProxy* mesh, BlendProxy* mask,
                        BlendProxy* screenMask, BlendProxy* blend, BlendProxy* bu,
                        BlackLevelProxy* blackLevel) = 0;
    virtual int getHorizontalPreFilter() = 0;
    virtual void setHorizontalPreFilter(unsigned int value) = 0;
    virtual int getVerticalPreFilter() = 0;
    virtual void setVerticalPreFilter(unsigned int value) = 0;
    virtual int getLatency() = 0;
    virtual void setLatency(unsigned int value) = 0;
    /// The location of the active warp.
    virtual int getWarpLocation() = 0;
    virtual void selectWarp(unsigned int location) = 0;
    virtual int getMapControl() = 0;
    virtual void setMapControl(unsigned int value) = 0;
    virtual int getSharpness() = 0;
    virtual void setSharpness(unsigned int value) = 0;
    virtual bool doesQuellSupportCurrentWarpFormat() = 0;
    virtual std::wstring getWarpXmlFromProjector(int location) = 0;
    virtual std::wstring getBlendXmlFromProjector(int location) = 0;
    /// The first and the last location that can hold a warp.
    virtual std::pair<int, int> getWarpMemLocRange() = 0;
    /// The stored warps. Valid until the next call of this operation.
    virtual const NamesAndLocations& getWarpNamesAndLocations() = 0;
    /// The stored blends. Valid until the next call of this operation.
    virtual const NamesAndLocations& getBlendNamesAndLocations() = 0;
};
