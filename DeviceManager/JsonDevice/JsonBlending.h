#pragma once

#include <string>

#include "DeviceManager/JsonDevice/JsonAdapter.h"
#include "Platform/Devices/BlendingInterface.h"

namespace JsonDevice {

class JSONDEVICE_EXPORT JsonBlending : public JsonAdapter<BlendingInterface> {
public:
    explicit JsonBlending(Device* device);
    explicit JsonBlending(Communicator* communicator);
    ~JsonBlending() override;

    /// Adds "BlendProxy" and the other proxy types of warps, blends and masks to
    /// the registry, where absent. The constructors do.
    static void registerBlendingTypes();

    void nameBlend(int location, const std::wstring& name) override;
    void nameUniformity(int location, std::wstring name) override;
    void saveBlend(int location, MeshProxy* mesh, BlendProxy* mask, BlendProxy* screenMask, BlendProxy* blend,
                   BlendProxy* bu) override;
    void saveUniformity(int location, MeshProxy* mesh, BlendProxy* mask, BlendProxy* screenMask,
                        BlendProxy* blend, BlendProxy* bu) override;
    void deleteBlend(int location) override;
    void deleteUniformity(int location) override;
    void previewBlend(int location, MeshProxy* mesh, BlendProxy* mask, BlendProxy* screenMask,
                      BlendProxy* blend, BlendProxy* bu) override;
    void previewUniformity(int location, MeshProxy* mesh, BlendProxy* mask, BlendProxy* screenMask,
                           BlendProxy* blend, BlendProxy* bu) override;
    void showBlend() override;
    void showUniformity() override;
    void selectBlend(int location) override;
    void selectUniformity(int location) override;
    int getBlendLocation() override;
    int getUniformityLocation() override;
};

}  // namespace JsonDevice
