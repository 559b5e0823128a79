#pragma once

#include <string>

#include "Platform/Devices/DeviceInterface.h"

class BlendProxy;
class MeshProxy;

/// The projector's stored masks. Each is a mesh and four maps, in the order
/// mask, screenMask, blend, bu (BlendProxy). The proxies stay the caller's.
class JSONDEVICE_EXPORT MaskingInterface : public DeviceInterface {
public:
    explicit MaskingInterface(Device* device) : DeviceInterface(device, "MaskingInterface") {}
    ~MaskingInterface() override;

    virtual void nameMask(int location, const std::wstring& name) = 0;
    virtual void saveMask(int location, MeshProxy* mesh, BlendProxy* mask, BlendProxy* screenMask,
                          BlendProxy* blend, BlendProxy* bu) = 0;
    virtual void deleteMask(int location) = 0;
    /// Puts a mask on the wall without storing it.
    virtual void previewMask(int location, MeshProxy* mesh, BlendProxy* mask, BlendProxy* screenMask,
                             BlendProxy* blend, BlendProxy* bu) = 0;
    /// Switches the mask on.
    virtual void showMask() = 0;
    virtual void selectMask(int location) = 0;
    /// The location of the active mask.
    virtual int getMaskLocation() = 0;
};
