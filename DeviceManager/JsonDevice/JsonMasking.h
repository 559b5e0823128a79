#pragma once

#include <string>

#include "DeviceManager/JsonDevice/JsonAdapter.h"
#include "Platform/Devices/MaskingInterface.h"

namespace JsonDevice {

class JSONDEVICE_EXPORT JsonMasking : public JsonAdapter<MaskingInterface> {
public:
    explicit JsonMasking(Device* device);
    explicit JsonMasking(Communicator* communicator);
    ~JsonMasking() override;

    /// Adds "ControlCurveProxy" and the other proxy types of warps, blends and
    /// masks to the registry, where absent. The constructors do.
    static void registerMaskingTypes();

    void nameMask(int location, const std::wstring& name) override;
    void saveMask(int location, MeshProxy* mesh, BlendProxy* mask, BlendProxy* screenMask, BlendProxy* blend,
                  BlendProxy* bu) override;
    void deleteMask(int location) override;
    void previewMask(int location, MeshProxy* mesh, BlendProxy* mask, BlendProxy* screenMask,
                     BlendProxy* blend, BlendProxy* bu) override;
    void showMask() override;
    void selectMask(int location) override;
    int getMaskLocation() override;
};

}  // namespace JsonDevice
