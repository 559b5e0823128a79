#include "DeviceManager/JsonDevice/JsonModel.h"

#include <log4cxx/logger.h>

#include "DeviceManager/JsonDevice/TypedCall.h"
#include "DeviceManager/JsonDevice/Vocabulary/Model.h"

namespace JsonDevice {

namespace {

[[maybe_unused]] const log4cxx::LoggerPtr logger =
    log4cxx::Logger::getLogger("DeviceManager.JsonDevice.JsonModel");

namespace Methods = Vocabulary::Model;

}  // namespace

JsonModel::JsonModel(Device* device) : JsonAdapter(device) {}

JsonModel::~JsonModel() = default;

void JsonModel::registerStatusInterfaceTypes() {}

bool JsonModel::updatePositionOrientation(Point3D position, Point3D orientation) {
    return TypedCall::call(*connection, Methods::updatePositionOrientation, position, orientation);
}

bool JsonModel::updatePerspectivePositionOrientation(std::vector<float> perspective, Point3D position,
                                                     Point3D orientation) {
    return TypedCall::call(*connection, Methods::updatePerspectivePositionOrientation, perspective, position,
                           orientation);
}

}  // namespace JsonDevice
