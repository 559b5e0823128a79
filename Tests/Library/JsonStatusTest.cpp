#include "DeviceManager/JsonDevice/JsonExceptions.h"
#include "DeviceManager/JsonDevice/JsonStatus.h"
#include "Tests/Library/OperationRows.h"
#include "Tests/Support/ScriptedCommunicator.h"

namespace {

using namespace OperationRows;
using JsonDevice::JsonStatus;
using Names = std::vector<std::wstring>;
using Numbers = std::vector<int>;

template <class Value>
Row get(const std::string& name, const std::string& result, Value (JsonStatus::*operation)(),
        const Value& expected) {
    return returns<JsonStatus>(
        "StatusInterface::" + name, "[]", result, [=](JsonStatus& status) { return (status.*operation)(); },
        expected);
}

Row number(const std::string& name, int (JsonStatus::*operation)()) {
    return get(name, "41", operation, 41);
}

Row text(const std::string& name, std::wstring (JsonStatus::*operation)()) {
    return get(name, R"("1.4 \u00b5")", operation, std::wstring(L"1.4 \u00b5"));
}

const Table table({
    number("getLampCounter", &JsonStatus::getLampCounter),
    get("getLampHours", "[120,3,0]", &JsonStatus::getLampHours, Numbers{120, 3, 0}),
    number("getProjectorHours", &JsonStatus::getProjectorHours),
    number("getImageProcessorTemperature", &JsonStatus::getImageProcessorTemperature),
    number("getPanelDriverTemperature", &JsonStatus::getPanelDriverTemperature),
    number("getBackplaceTemperature", &JsonStatus::getBackplaneTemperature),
    number("getPostProcessingTemperature", &JsonStatus::getPostProcessingTemperature),
    number("getQuellFPGATemperature", &JsonStatus::getQuellFPGATemperature),
    text("getSoftware", &JsonStatus::getSoftware),
    text("getModel", &JsonStatus::getModel),
    text("getSerialNumber", &JsonStatus::getSerialNumber),
    get("getNativeResolution", "[3840,2160]", &JsonStatus::getNativeResolution, Numbers{3840, 2160}),
    text("getSampleRate", &JsonStatus::getSampleRate),
    text("getSyncType", &JsonStatus::getSyncType),
    number("getLampIntakeTemperature", &JsonStatus::getLampIntakeTemperature),
    number("getLampExhaustTemperature", &JsonStatus::getLampExhaustTemperature),
    number("getDMDHeatsinkTemperature", &JsonStatus::getDMDHeatsinkTemperature),
    returns<JsonStatus>(
        "StatusInterface::getAllTemperatures", "[]",
        R"({"first":true,"second":{"first":["lamp","board"],"second":[60,41,7]}})",
        [](JsonStatus& status) {
            Names names{L"old"};
            Numbers temperatures{-1};
            const bool known = status.getAllTemperatures(names, temperatures);
            return std::make_tuple(known, names, temperatures);
        },
        std::make_tuple(true, Names{L"lamp", L"board"}, Numbers{60, 41, 7})),
    text("getSync", &JsonStatus::getSync),
    number("getLampOvertempIndicator", &JsonStatus::getLampOvertempIndicator),
});

/// Calls getAllTemperatures against a device that gives this result.
bool allTemperatures(const std::string& result, Names& names, Numbers& temperatures) {
    ScriptedCommunicator device;
    device.expectAny().reply(R"({"id":1,"result":)" + result + "}");
    return JsonStatus(&device).getAllTemperatures(names, temperatures);
}

TEST(JsonStatus, EmptyListsEmptyBothVectors) {
    Names names{L"old"};
    Numbers temperatures{1, 2};
    EXPECT_FALSE(
        allTemperatures(R"({"first":false,"second":{"first":[],"second":[]}})", names, temperatures));
    EXPECT_TRUE(names.empty());
    EXPECT_TRUE(temperatures.empty());
}

TEST(JsonStatus, AFailedCallLeavesBothVectorsAlone) {
    Names names{L"old"};
    Numbers temperatures{1, 2};
    try {
        allTemperatures("[true,[[],[]]]", names, temperatures);
        FAIL();
    } catch (const KorvanParseException& e) {
        EXPECT_EQ(e.getMessage(), L"JSON Value could not be converted to a pair");
    }
    EXPECT_EQ(names, Names{L"old"});
    EXPECT_EQ(temperatures, (Numbers{1, 2}));
}

}  // namespace
