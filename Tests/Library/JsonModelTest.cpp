#include <string>
#include <vector>

#include "DeviceManager/JsonDevice/JsonModel.h"
#include "Tests/Library/OperationRows.h"

namespace {

using namespace OperationRows;
using JsonDevice::JsonModel;

/// The adapter is made from a device only.
class ModelOnDevice {
public:
    explicit ModelOnDevice(Communicator* communicator) : device(communicator), model(&device) {}
    JsonModel* operator->() { return &model; }

private:
    class OneDevice : public Device {
    public:
        explicit OneDevice(Communicator* communicator) : communicator(communicator) {}
        Communicator* getCommunicator() override { return communicator; }
        std::string getMACAddress() const override { return ""; }

    private:
        Communicator* communicator;
    };
    OneDevice device;
    JsonModel model;
};

Row updated(const char* name, const std::string& result, bool expected) {
    Row row = returns<ModelOnDevice>(
        "ModelInterface::updatePositionOrientation",
        R"([{"x":1.0,"y":2.5,"z":-3.0},{"x":0.0,"y":90.0,"z":0.5}])", result,
        [](ModelOnDevice& model) {
            return model->updatePositionOrientation({1, 2.5, -3}, {0, 90, 0.5});
        },
        expected);
    row.name = name;
    return row;
}

Row perspective(const char* name, const std::string& json, const std::vector<float>& numbers) {
    Row row = returns<ModelOnDevice>(
        "ModelInterface::updatePerspectivePositionOrientation",
        "[" + json + R"(,{"x":1.0,"y":2.0,"z":3.0},{"x":4.0,"y":5.0,"z":6.0}])", "true",
        [=](ModelOnDevice& model) {
            return model->updatePerspectivePositionOrientation(numbers, {1, 2, 3}, {4, 5, 6});
        },
        true);
    row.name = name;
    return row;
}

const Table table({
    updated("ModelInterface::updatePositionOrientation", "true", true),
    updated("ModelInterface::updatePositionOrientation refused", "false", false),
    perspective("ModelInterface::updatePerspectivePositionOrientation", "[0.5,-1.0]", {0.5F, -1}),
    perspective("ModelInterface::updatePerspectivePositionOrientation of none", "[]", {}),
});

}  // namespace
