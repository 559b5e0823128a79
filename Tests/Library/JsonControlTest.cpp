#include "DeviceManager/JsonDevice/JsonControl.h"
#include "DeviceManager/JsonDevice/JsonExceptions.h"
#include "Tests/Library/OperationRows.h"
#include "Tests/Support/ScriptedCommunicator.h"

namespace {

using namespace OperationRows;
using JsonDevice::JsonControl;
using Items = std::vector<std::pair<int, std::wstring>>;

template <class Value>
Row get(const std::string& name, const std::string& result, Value (JsonControl::*operation)(),
        const Value& expected) {
    return returns<JsonControl>(
        "ControlInterface::" + name, "[]", result,
        [=](JsonControl& control) { return (control.*operation)(); }, expected);
}

template <class Value>
Row set(const std::string& name, void (JsonControl::*operation)(Value), Value value,
        const std::string& params) {
    return sends<JsonControl>("ControlInterface::" + name, params,
                              [=](JsonControl& control) { (control.*operation)(value); });
}

const Table table({
    set("setFactoryDefault", &JsonControl::setFactoryDefault, 4294967295U, "[4294967295]"),
    get("getInputSignal", "-3", &JsonControl::getInputSignal, -3),
    returns<JsonControl>(
        "ControlInterface::getInputSignalList", "[]",
        R"([{"first":1,"second":"DVI"},{"first":-2,"second":"\u00dcber"}])",
        [](JsonControl& control) { return control.getInputSignalList(); },
        Items{{1, L"DVI"}, {-2, L"\u00dcber"}}),
    set("setInputSignal", &JsonControl::setInputSignal, 2U, "[2]"),
    get("getSignalStatus", R"("1920 x 1080 @ 60 Hz")", &JsonControl::getSignalStatus,
        std::wstring(L"1920 x 1080 @ 60 Hz")),
    returns<JsonControl>(
        "ControlInterface::getOptionalInputSignalDescription", "[7]", R"("left eye")",
        [](JsonControl& control) { return control.getOptionalInputSignalDescription(7); },
        std::wstring(L"left eye")),
    get("getShutter", "1", &JsonControl::getShutter, 1),
    set("setShutter", &JsonControl::setShutter, 1U, "[1]"),
    get("getPower", "2", &JsonControl::getPower, 2),
    returns<JsonControl>(
        "ControlInterface::setPower", "[1]", "true", [](JsonControl& control) { return control.setPower(1); },
        true),
    get("requestAutoSetup", "true", &JsonControl::requestAutoSetup, true),
    get("isAutoSetupEnabled", "2", &JsonControl::isAutoSetupEnabled, 2),
    get("isSourceLocked", "-1", &JsonControl::isSourceLocked, -1),
    set("setSourceLocked", &JsonControl::setSourceLocked, -1, "[-1]"),
    get("getAutomaticInputCycling", "4294967295", &JsonControl::getAutomaticInputCycling, 4294967295U),
    set("setAutomaticInputCycling", &JsonControl::setAutomaticInputCycling, 4294967295U, "[4294967295]"),
});

TEST(JsonControl, TheListOfInputsIsOneThatChanges) {
    ScriptedCommunicator device;
    JsonControl control(&device);
    device.expectAny().reply(R"({"id":1,"result":[]})");
    const Items& inputs = control.getInputSignalList();
    EXPECT_TRUE(inputs.empty());
    device.expectAny().reply(R"({"id":2,"result":[{"first":1,"second":"DVI"}]})");
    EXPECT_EQ(&control.getInputSignalList(), &inputs);
    EXPECT_EQ(inputs, (Items{{1, L"DVI"}}));
}

TEST(JsonControl, TheListOfInputsIsEmptyAfterAFailure) {
    ScriptedCommunicator device;
    JsonControl control(&device);
    device.expectAny().reply(R"({"id":1,"result":[{"first":1,"second":"DVI"}]})");
    const Items& inputs = control.getInputSignalList();
    device.expectAny().reply(R"({"id":2,"error":{"code":1,"message":"no"}})");
    EXPECT_THROW(control.getInputSignalList(), JsonDevice::ErrorReplyException);
    EXPECT_TRUE(inputs.empty());
}

}  // namespace
