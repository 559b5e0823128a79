#pragma once

#include "DeviceManager/JsonDevice/JsonBlending.h"

namespace JsonDevice {

/// The blending adapter for projectors of the older protocol: the location that
/// is selected and reported is two higher on the wire, and blends and uniformity
/// corrections share it. All other operations keep the families apart and pass
/// locations as they are.
class JSONDEVICE_EXPORT JsonBlendingV1 : public JsonBlending {
public:
    using JsonBlending::JsonBlending;
    ~JsonBlendingV1() override;

    void selectBlend(int location) override;
    void selectUniformity(int location) override;
    int getBlendLocation() override;
    int getUniformityLocation() override;
};

}  // namespace JsonDevice
