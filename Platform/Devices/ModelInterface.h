#pragma once

#include <vector>

#include "Platform/Devices/DeviceInterface.h"
#include "Platform/Devices/Point.h"

/// Tells a device where the viewer or the model is. Units and axes are the
/// device's; so is the answer, which is whether it took the position.
class JSONDEVICE_EXPORT ModelInterface : public DeviceInterface {
public:
    explicit ModelInterface(Device* device) : DeviceInterface(device, "ModelInterface") {}
    ~ModelInterface() override;

    virtual bool updatePositionOrientation(Point3D position, Point3D orientation) = 0;
    virtual bool updatePerspectivePositionOrientation(std::vector<float> perspective, Point3D position,
                                                      Point3D orientation) = 0;
};
