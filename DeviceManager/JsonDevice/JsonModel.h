#pragma once

#include <vector>

#include "DeviceManager/JsonDevice/JsonAdapter.h"
#include "Platform/Devices/ModelInterface.h"

namespace JsonDevice {

class JSONDEVICE_EXPORT JsonModel : public JsonAdapter<ModelInterface> {
public:
    explicit JsonModel(Device* device);
    ~JsonModel() override;

    /// Adds nothing: the types of this interface are among the general ones.
    static void registerStatusInterfaceTypes();

    bool updatePositionOrientation(Point3D position, Point3D orientation) override;
    bool updatePerspectivePositionOrientation(std::vector<float> perspective, Point3D position,
                                              Point3D orientation) override;
};

}  // namespace JsonDevice
