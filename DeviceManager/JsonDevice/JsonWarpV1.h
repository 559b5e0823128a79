#pragma once

#include "DeviceManager/JsonDevice/JsonWarp.h"

namespace JsonDevice {

/// The warp adapter for projectors of the older protocol: the location that is
/// selected and reported is two higher on the wire. All other operations pass
/// locations as they are.
class JSONDEVICE_EXPORT JsonWarpV1 : public JsonWarp {
public:
    using JsonWarp::JsonWarp;
    ~JsonWarpV1() override;

    int getWarpLocation() override;
    void selectWarp(unsigned int location) override;
};

}  // namespace JsonDevice
