#include "DeviceManager/JsonDevice/JsonColor.h"
#include "DeviceManager/JsonDevice/JsonExceptions.h"
#include "DeviceManager/JsonDevice/JsonText.h"
#include "Tests/Library/OperationRows.h"
#include "Tests/Library/Refusal.h"
#include "Tests/Support/ScriptedCommunicator.h"

namespace {

using namespace OperationRows;
using Items = std::vector<std::pair<int, std::wstring>>;
using Numbers = std::vector<int>;
using Type = ColorInterface::ColorAdjustmentType;
using Types = std::vector<Type>;

// Binary fractions, so that the text is exact.
const Gamut gamut{{0.625, 0.25, 0.125}, {0.25, 0.5, 0.75}, {0.125, 0.0625, -0.5}, {0.375, 0.5, 1.5}};
constexpr const char* gamutText = R"({"bx":0.125,"by":0.0625,"bz":-0.5,"gx":0.25,"gy":0.5,"gz":0.75,)"
                                  R"("rx":0.625,"ry":0.25,"rz":0.125,"wx":0.375,"wy":0.5,"wz":1.5})";

template <class Value>
Row get(const std::string& name, const std::string& result, Value (JsonColor::*operation)(),
        const Value& expected) {
    return returns<JsonColor>(
        "ColorInterface::" + name, "[]", result, [=](JsonColor& color) { return (color.*operation)(); },
        expected);
}

Row getInt(const std::string& name, int (JsonColor::*operation)()) {
    return get(name, "-17", operation, -17);
}

Row getUnsigned(const std::string& name, unsigned int (JsonColor::*operation)()) {
    return get(name, "4294967295", operation, 4294967295U);
}

Row setInt(const std::string& name, void (JsonColor::*operation)(int)) {
    return sends<JsonColor>("ColorInterface::" + name, "[-17]",
                            [=](JsonColor& color) { (color.*operation)(-17); });
}

Row setUnsigned(const std::string& name, void (JsonColor::*operation)(unsigned int)) {
    return sends<JsonColor>("ColorInterface::" + name, "[4294967295]",
                            [=](JsonColor& color) { (color.*operation)(4294967295U); });
}

std::string text(const Numbers& list) {
    std::string text = "[";
    for (const int number : list) {
        text += (text.size() > 1 ? "," : "") + std::to_string(number);
    }
    return text + "]";
}

/// A list that replaces the caller's; true because it has the expected length.
template <class Operation>
Row numbers(const std::string& name, const std::string& params, std::size_t length, Operation operation) {
    Numbers sent(length, -4);
    sent.front() = 9;
    return returns<JsonColor>(
        "ColorInterface::" + name, params, text(sent),
        [=](JsonColor& color) {
            Numbers list{1, 2, 3};
            const bool complete = operation(color, list);
            return std::pair(complete, list);
        },
        std::pair(true, sent));
}

Row temperatureRange() {
    const auto run = [](Communicator& communicator) {
        JsonColor color(&communicator);
        unsigned int minimum = 1;
        unsigned int maximum = 2;
        color.getColorTemperatureRange(minimum, maximum);
        return std::pair(minimum, maximum);
    };
    return {"getColorTemperatureRange",
            {{"ColorInterface::getColorTemperatureMin", "[]", "3200"},
             {"ColorInterface::getColorTemperatureMax", "[]", "9300"}},
            [=](Communicator& communicator) { EXPECT_EQ(run(communicator), std::pair(3200U, 9300U)); },
            [=](Communicator& communicator) { run(communicator); }};
}

const Table table({
    getInt("getSelectedColorAdjustment", &JsonColor::getSelectedColorAdjustment),
    getInt("getRedOfRed", &JsonColor::getRedOfRed),
    getInt("getRedOfRedMin", &JsonColor::getRedOfRedMin),
    getInt("getRedOfRedMax", &JsonColor::getRedOfRedMax),
    getInt("getGreenOfRed", &JsonColor::getGreenOfRed),
    getInt("getGreenOfRedMin", &JsonColor::getGreenOfRedMin),
    getInt("getGreenOfRedMax", &JsonColor::getGreenOfRedMax),
    getInt("getBlueOfRed", &JsonColor::getBlueOfRed),
    getInt("getBlueOfRedMin", &JsonColor::getBlueOfRedMin),
    getInt("getBlueOfRedMax", &JsonColor::getBlueOfRedMax),
    getInt("getRedOfGreen", &JsonColor::getRedOfGreen),
    getInt("getRedOfGreenMin", &JsonColor::getRedOfGreenMin),
    getInt("getRedOfGreenMax", &JsonColor::getRedOfGreenMax),
    getInt("getGreenOfGreen", &JsonColor::getGreenOfGreen),
    getInt("getGreenOfGreenMin", &JsonColor::getGreenOfGreenMin),
    getInt("getGreenOfGreenMax", &JsonColor::getGreenOfGreenMax),
    getInt("getBlueOfGreen", &JsonColor::getBlueOfGreen),
    getInt("getBlueOfGreenMin", &JsonColor::getBlueOfGreenMin),
    getInt("getBlueOfGreenMax", &JsonColor::getBlueOfGreenMax),
    getInt("getRedOfBlue", &JsonColor::getRedOfBlue),
    getInt("getRedOfBlueMin", &JsonColor::getRedOfBlueMin),
    getInt("getRedOfBlueMax", &JsonColor::getRedOfBlueMax),
    getInt("getGreenOfBlue", &JsonColor::getGreenOfBlue),
    getInt("getGreenOfBlueMin", &JsonColor::getGreenOfBlueMin),
    getInt("getGreenOfBlueMax", &JsonColor::getGreenOfBlueMax),
    getInt("getBlueOfBlue", &JsonColor::getBlueOfBlue),
    getInt("getBlueOfBlueMin", &JsonColor::getBlueOfBlueMin),
    getInt("getBlueOfBlueMax", &JsonColor::getBlueOfBlueMax),
    setInt("setSelectedColorAdjustment", &JsonColor::setSelectedColorAdjustment),
    setInt("setRedOfRed", &JsonColor::setRedOfRed),
    setInt("setGreenOfRed", &JsonColor::setGreenOfRed),
    setInt("setBlueOfRed", &JsonColor::setBlueOfRed),
    setInt("setRedOfGreen", &JsonColor::setRedOfGreen),
    setInt("setGreenOfGreen", &JsonColor::setGreenOfGreen),
    setInt("setBlueOfGreen", &JsonColor::setBlueOfGreen),
    setInt("setRedOfBlue", &JsonColor::setRedOfBlue),
    setInt("setGreenOfBlue", &JsonColor::setGreenOfBlue),
    setInt("setBlueOfBlue", &JsonColor::setBlueOfBlue),
    numbers("getSaturationValueRanges", "[]", 18,
            [](JsonColor& color, Numbers& list) { return color.getSaturationValueRanges(list); }),
    numbers("getSaturationValues", "[]", 9,
            [](JsonColor& color, Numbers& list) { return color.getSaturationValues(list); }),
    sends<JsonColor>("ColorInterface::setColorXY", "[[3,-4],5]",
                     [](JsonColor& color) {
                         Numbers list{3, -4};
                         color.setColorXY(list, 5);
                         EXPECT_EQ(list, (Numbers{3, -4}));
                     }),
    getUnsigned("getRedX", &JsonColor::getRedX),
    getUnsigned("getRedY", &JsonColor::getRedY),
    getUnsigned("getGreenX", &JsonColor::getGreenX),
    getUnsigned("getGreenY", &JsonColor::getGreenY),
    getUnsigned("getBlueX", &JsonColor::getBlueX),
    getUnsigned("getBlueY", &JsonColor::getBlueY),
    getUnsigned("getWhiteX", &JsonColor::getWhiteX),
    getUnsigned("getWhiteY", &JsonColor::getWhiteY),
    setInt("setRedX", &JsonColor::setRedX),
    setInt("setRedY", &JsonColor::setRedY),
    setInt("setGreenX", &JsonColor::setGreenX),
    setInt("setGreenY", &JsonColor::setGreenY),
    setInt("setBlueX", &JsonColor::setBlueX),
    setInt("setBlueY", &JsonColor::setBlueY),
    setInt("setWhiteX", &JsonColor::setWhiteX),
    setInt("setWhiteY", &JsonColor::setWhiteY),
    getUnsigned("getColorXYMin", &JsonColor::getColorXYMin),
    getUnsigned("getColorXYMax", &JsonColor::getColorXYMax),
    numbers("getXYValues", R"(["W\u00e4nde"])", 8,
            [](JsonColor& color, Numbers& list) { return color.getXYValues(list, L"W\u00e4nde"); }),
    getUnsigned("getColorTemperature", &JsonColor::getColorTemperature),
    setUnsigned("setColorTemperature", &JsonColor::setColorTemperature),
    getUnsigned("getColorTemperatureMin", &JsonColor::getColorTemperatureMin),
    getUnsigned("getColorTemperatureMax", &JsonColor::getColorTemperatureMax),
    temperatureRange(),
    getUnsigned("getColorEnable", &JsonColor::getColorEnable),
    setUnsigned("setColorEnable", &JsonColor::setColorEnable),
    get("recalcColorXY", "true", &JsonColor::recalcColorXY, true),
    get("recalcColorSat", "true", &JsonColor::recalcColorSat, true),
    returns<JsonColor>(
        "ColorInterface::getGamut", R"(["sim"])", gamutText,
        [](JsonColor& color) { return color.getGamut(L"sim"); }, gamut),
    sends<JsonColor>("ColorInterface::setGamut", std::string(R"(["sim",)") + gamutText + "]",
                     [](JsonColor& color) { color.setGamut(L"sim", gamut); }),
    sends<JsonColor>("ColorInterface::overwriteMaxDrives", std::string("[") + gamutText + "]",
                     [](JsonColor& color) { color.overwriteMaxDrives(gamut); }),
    returns<JsonColor>(
        "ColorInterface::getColorAdjustmentList", "[]", R"([{"first":2,"second":"Matrix"}])",
        [](JsonColor& color) { return color.getColorAdjustmentList(); }, Items{{2, L"Matrix"}}),
    get("getColorAdjustmentTypes", "[0,3,77]", &JsonColor::getColorAdjustmentTypes,
        Types{Type::none, Type::chromaticity, static_cast<Type>(77)}),
});

TEST(JsonColor, CannotTellWhetherAColorMatcherIsEnabled) {
    ScriptedCommunicator device;
    JsonColor color(&device);
    try {
        color.isColorMatcherEnabled();
        FAIL();
    } catch (const char* text) {
        EXPECT_STREQ(text, "Not Implemented");
    }
    EXPECT_TRUE(device.requests().empty());
}

TEST(JsonColor, ListsOfAnotherLengthAreStoredAndSaidToBeSo) {
    using Operation = std::function<bool(JsonColor&, Numbers&)>;
    const std::vector<std::pair<int, Operation>> operations{
        {18, [](JsonColor& color, Numbers& list) { return color.getSaturationValueRanges(list); }},
        {9, [](JsonColor& color, Numbers& list) { return color.getSaturationValues(list); }},
        {8, [](JsonColor& color, Numbers& list) { return color.getXYValues(list, L""); }},
    };
    for (const auto& [length, operation] : operations) {
        for (const int got : {0, length - 1, length, length + 1}) {
            ScriptedCommunicator device;
            JsonColor color(&device);
            const Numbers sent(static_cast<std::size_t>(got), 5);
            device.expectAny().reply(R"({"id":1,"result":)" + text(sent) + "}");
            Numbers list{1, 2, 3};
            EXPECT_EQ(operation(color, list), got == length) << got << " of " << length;
            EXPECT_EQ(list, sent);
            device.expectAny().reply(R"({"id":2,"result":[1,"a"]})");
            EXPECT_THROW(operation(color, list), KorvanParseException);
            EXPECT_EQ(list, sent);
        }
    }
}

TEST(JsonColor, HalfARangeOfTemperaturesIsStored) {
    ScriptedCommunicator device;
    JsonColor color(&device);
    unsigned int minimum = 1;
    unsigned int maximum = 2;
    device.expectAny().reply(R"({"id":1,"result":3200})");
    device.expectAny().reply(R"({"id":2,"error":{"code":1,"message":"no"}})");
    EXPECT_THROW(color.getColorTemperatureRange(minimum, maximum), JsonDevice::ErrorReplyException);
    EXPECT_EQ(minimum, 3200U);
    EXPECT_EQ(maximum, 2U);
}

TEST(JsonColor, TheListOfAdjustmentsIsOneThatChangesAndIsEmptyAfterAFailure) {
    ScriptedCommunicator device;
    JsonColor color(&device);
    device.expectAny().reply(R"({"id":1,"result":[{"first":1,"second":"Matrix"}]})");
    const Items& list = color.getColorAdjustmentList();
    EXPECT_EQ(list.size(), 1U);
    device.expectAny().reply(R"({"id":2,"result":[]})");
    EXPECT_EQ(&color.getColorAdjustmentList(), &list);
    EXPECT_TRUE(list.empty());
    device.expectAny().reply(R"({"id":3,"result":[{"first":1,"second":"Matrix"}]})");
    color.getColorAdjustmentList();
    device.expectAny().reply(R"({"id":4,"error":{"code":1,"message":"no"}})");
    EXPECT_THROW(color.getColorAdjustmentList(), JsonDevice::ErrorReplyException);
    EXPECT_TRUE(list.empty());
}

TEST(JsonColor, AGamutThatLacksACoordinateIsRefused) {
    const JTypeGamut marshaller;
    const auto refusal = [&](const Json::Value& value) {
        return refusalOf([&] { delete static_cast<Gamut*>(marshaller.fromJson(value)); });
    };
    Json::Value complete;
    ASSERT_TRUE(JsonDevice::JsonText::read(gamutText, complete));
    EXPECT_EQ(refusal(complete), "nothing thrown");
    EXPECT_EQ(marshaller.fromJson(Json::Value()), nullptr);
    const std::string refused = "JSON value is not a Gamut";
    for (const std::string& key : complete.getMemberNames()) {
        Json::Value changed = complete;
        changed.removeMember(key);
        EXPECT_EQ(refusal(changed), refused) << key;
        changed[key] = Json::Value();
        EXPECT_EQ(refusal(changed), refused) << key << " is null";
        changed[key] = "0.5";
        EXPECT_EQ(refusal(changed), refused) << key << " is a text";
        changed[key] = 1;
        EXPECT_EQ(refusal(changed), "nothing thrown") << key << " is an integer";
    }
    for (const Json::Value& value :
         {Json::Value(Json::objectValue), Json::Value(Json::arrayValue), Json::Value(1), Json::Value("rx")}) {
        EXPECT_EQ(refusal(value), refused);
    }
    ScriptedCommunicator device;
    device.expectAny().reply(R"({"id":1,"result":{"rx": 0.64, "ry": 0.33}})");
    EXPECT_EQ(refusalOf([&] { JsonColor(&device).getGamut(L"sim"); }), refused);
}

}  // namespace
