#pragma once

#include <string>

#include "Platform/Devices/DeviceInterface.h"

class BlendProxy;
class MeshProxy;

/// The projector's edge blends and uniformity corrections, two families of
/// stored maps. Each is a mesh and four maps, in the order mask, screenMask,
/// blend, bu (BlendProxy). The proxies stay the caller's.
class JSONDEVICE_EXPORT BlendingInterface : public DeviceInterface {
public:
    explicit BlendingInterface(Device* device) : DeviceInterface(device, "BlendingInterface") {}
    ~BlendingInterface() override;

    virtual void nameBlend(int location, const std::wstring& name) = 0;
    virtual void nameUniformity(int location, std::wstring name) = 0;
    virtual void saveBlend(int location, MeshProxy* mesh, BlendProxy* mask, BlendProxy* screenMask,
                           BlendProxy* blend, BlendProxy* bu) = 0;
    virtual void saveUniformity(int location, MeshProxy* mesh, BlendProxy* mask, BlendProxy* screenMask,
                                BlendProxy* blend, BlendProxy* bu) = 0;
    virtual void deleteBlend(int location) = 0;
    virtual void deleteUniformity(int location) = 0;
    /// Puts a blend on the wall without storing it.
    virtual void previewBlend(int location, MeshProxy* mesh, BlendProxy* mask, BlendProxy* screenMask,
                              BlendProxy* blend, BlendProxy* bu) = 0;
    virtual void previewUniformity(int location, MeshProxy* mesh, BlendProxy* mask, BlendProxy* screenMask,
                                   BlendProxy* blend, BlendProxy* bu) = 0;
    /// Switches the blend on.
    virtual void showBlend() = 0;
    virtual void showUniformity() = 0;
    virtual void selectBlend(int location) = 0;
    virtual void selectUniformity(int location) = 0;
    /// The location of the active blend.
    virtual int getBlendLocation() = 0;
    virtual int getUniformityLocation() = 0;
};
