#include <cstdlib>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "DeviceManager/JsonDevice/JsonColor.h"
#include "DeviceManager/JsonDevice/JsonText.h"
#include "DeviceManager/JsonDevice/MarshalTypes.h"
#include "DeviceManager/JsonDevice/Vocabulary/Vocabulary.h"
#include "Tests/Library/Refusal.h"

namespace JsonDevice {
namespace {

using Vocabulary::operations;

TEST(Vocabulary, HasAllMethods) {
    std::map<std::string_view, int> counts;
    for (const auto& operation : operations()) {
        ++counts[operation.interfaceName()];
    }
    const std::map<std::string_view, int> expected{
        {"RemoteInterface", 2},
        {"StatusInterface", 20},
        {"WarpInterface", 24},
        {"BlendingInterface", 14},
        {"BlackLevelInterface", 8},
        {"MaskingInterface", 7},
        {"ModelInterface", 2},
        {"IGInterface", 2},
        {"TestPatternInterface", 14},
        {"UserTestPatternInterface", 7},
        {"UploadTestPatternInterface", 3},
        {"PreWarpBlockPattern", 19},
        {"ProjectorBlockPatternInterface", 19},
        {"GridTestPatternInterface", 6},
        {"CheckPatternInterface", 2},
        {"ControlInterface", 16},
        {"ColorInterface", 73},
        {"GammaInterface", 10},
    };
    EXPECT_EQ(counts, expected);
    EXPECT_EQ(operations().size(), 248U);
}

TEST(Vocabulary, EachMethodIsFoundByItsString) {
    for (const auto& operation : operations()) {
        EXPECT_EQ(Vocabulary::find(operation.method), &operation);
        EXPECT_NE(operation.method.find("::"), std::string_view::npos);
    }
    EXPECT_EQ(Vocabulary::find("StatusInterface::getBackplaneTemperature"), nullptr);
    EXPECT_EQ(Vocabulary::find(""), nullptr);
}

TEST(Vocabulary, EachMethodSaysWhatItDoesOnOneLine) {
    for (const auto& operation : operations()) {
        const std::string_view summary = operation.summary;
        EXPECT_TRUE(summary.ends_with('.')) << operation.method;
        EXPECT_EQ(summary.find('\n'), std::string_view::npos) << operation.method;
        std::set<std::string_view> names;
        for (const auto& parameter : operation.parameters) {
            EXPECT_TRUE(names.insert(parameter.name).second) << operation.method << " " << parameter.name;
        }
    }
}

TEST(Vocabulary, EachTypeIsRegistered) {
    Vocabulary::registerAllTypes();
    const MarshalJson& registry = *MarshalJson::instance();
    for (const auto& operation : operations()) {
        if (operation.result.form != Wire::Form::nothing) {
            EXPECT_TRUE(registry.isRegistered(operation.result.name)) << operation.result.name;
        }
        for (const auto& parameter : operation.parameters) {
            EXPECT_TRUE(registry.isRegistered(parameter.type.name)) << parameter.type.name;
        }
    }
}

/// A type name and a JSON text that it reads and writes back.
struct Example {
    const char* type;
    const char* json;
};

constexpr const char* item = R"({"first":-3,"second":"\u00fc"})";
constexpr const char* items = R"([{"first":-3,"second":"\u00fc"},{"first":4,"second":""}])";
constexpr const char* proxy = R"({"image":null,"name":"n","xml":"<x/>"})";

const Example generalTypes[] = {
    {"char", "-7"},
    {"wchar_t", "252"},
    {"short", "-32768"},
    {"int", "-2147483648"},
    {"long", "-7"},
    {"long long", "2147483647"},
    {"unsigned char", "255"},
    {"unsigned short", "65535"},
    {"unsigned int", "4294967295"},
    {"unsigned long long", "4294967295"},
    {"float", "0.25"},
    {"double", "-1.5"},
    {"bool", "true"},
    {"std::string", "\"text\""},
    {"std::wstring", R"("\u00fc\u20ac")"},
    {"TestPatternInterface::TestPatternColour", "2"},
    {"std::vector<char>", "[1,-2]"},
    {"std::vector<short>", "[1,-2]"},
    {"std::vector<int>", "[1,-2]"},
    {"std::vector<long>", "[1,-2]"},
    {"std::vector<long long>", "[1,-2]"},
    {"std::vector<unsigned char>", "[1,255]"},
    {"std::vector<unsigned short>", "[1,65535]"},
    {"std::vector<unsigned int>", "[1,4294967295]"},
    {"std::vector<double>", "[1.0,-0.5]"},
    {"std::vector<float>", "[1.0,-0.5]"},
    {"std::vector<unsigned long long>", "[1,4294967295]"},
    {"std::vector<std::string>", R"(["a",""])"},
    {"std::vector<std::wstring>", R"(["\u00fc",""])"},
    {"uint", "4294967295"},
    {"signed int", "-7"},
    {"Point2I", nullptr},
    {"Point3D", nullptr},
    {"Point3F", nullptr},
    {"std::vector<Point2I>", "[]"},
    {"std::vector<Point3D>", "[]"},
    {"std::vector<Point3F>", "[]"},
    {"TestPatternItem", item},
    {"WarpItem", item},
    {"BlendItem", item},
    {"PointOfView", nullptr},
    {"std::vector<TestPatternItem>", items},
    {"std::vector<WarpItem>", items},
    {"std::vector<BlendItem>", items},
    {"GrayscaleImage", nullptr},
    {"RGBImage", nullptr},
    {"Json::Value", R"({"a":[1,null,"x"]})"},
};

const Example addedTypes[] = {
    {"BlendProxy", proxy},
    {"IGContentProxy", proxy},
    {"PairVectorStringVectorInt", R"({"first":["a"],"second":[1,2]})"},
    {"PairBoolPairVectorStringVectorInt", R"({"first":true,"second":{"first":["a"],"second":[1,2]}})"},
    {"Gamut", R"({"bx":1.0,"by":2.0,"bz":3.0,"gx":4.0,"gy":5.0,"gz":6.0,)"
              R"("rx":7.0,"ry":8.0,"rz":9.0,"wx":10.0,"wy":11.0,"wz":12.0})"},
    {"ColorInterface::ColorAdjustmentType", "3"},
    {"std::vector<ColorInterface::ColorAdjustmentType>", "[3,0,9]"},
    {"ColorAdjustmentItem", item},
    {"std::vector<ColorAdjustmentItem>", items},
};

/// Reads the example (or takes a new object where there is none), writes it,
/// reads that and writes it again.
void expectBothDirections(const Example& example) {
    SCOPED_TRACE(example.type);
    MarshalJson& registry = *MarshalJson::instance();
    ASSERT_TRUE(registry.isRegistered(example.type));
    const auto release = [&](void* object) { registry.destroy(example.type, object); };
    using Object = std::unique_ptr<void, decltype(release)>;
    Json::Value value;
    if (example.json != nullptr) {
        ASSERT_TRUE(JsonText::read(example.json, value));
    } else {
        const Object created(registry.create(example.type), release);
        ASSERT_NE(created, nullptr);
        value = registry.toJson(example.type, created.get(), {});
        ASSERT_TRUE(value.isObject());
        ASSERT_FALSE(value.empty());
    }
    const Object object(registry.fromJson(value, example.type), release);
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(JsonText::write(registry.toJson(example.type, object.get(), {})), JsonText::write(value));
}

TEST(RegisteredTypes, AllGeneralTypesConvertInBothDirections) {
    EXPECT_EQ(std::size(generalTypes), 47U);
    for (const Example& example : generalTypes) {
        expectBothDirections(example);
    }
}

TEST(RegisteredTypes, AllTypesOfTheAdaptersConvertInBothDirections) {
    Vocabulary::registerAllTypes();
    for (const Example& example : addedTypes) {
        EXPECT_EQ(refusalOf<KorvanExceptionBase>([&] { expectBothDirections(example); }), "nothing thrown")
            << example.type;
    }
    // Those with an image, with curves, and that which is never read back has ProxyMarshallersTest.
    for (const char* const name : {"BlackLevelProxy", "ControlCurveProxy", "MeshProxy"}) {
        EXPECT_TRUE(MarshalJson::instance()->isRegistered(name)) << name;
    }
}

/// A marshaller that says who it is.
class Tagged : public JType {
public:
    Json::Value toJson(const void*, const MarshalOptions&) const override { return "tagged"; }
    void* fromJson(const Json::Value&) const override { return nullptr; }
};

[[noreturn]] void registerColorTypesTwice() {
    MarshalJson& registry = *MarshalJson::instance();
    const auto tag = [&](const char* name) {
        registry.registerType<int>(name, std::make_shared<Tagged>(), []() -> void* { return nullptr; });
    };
    JsonColor::registerColorInterfaceTypes();
    for (const char* const name :
         {"Gamut", "ColorInterface::ColorAdjustmentType", "std::vector<ColorInterface::ColorAdjustmentType>",
          "ColorAdjustmentItem", "std::vector<ColorAdjustmentItem>"}) {
        tag(name);
    }
    JsonColor::registerColorInterfaceTypes();
    const std::vector<std::pair<int, std::wstring>> list;
    const bool replaced =
        registry.toJson("std::vector<ColorAdjustmentItem>", &list, {}) == Json::Value(Json::arrayValue);
    const auto kept = [&](const char* name) { return registry.toJson(name, nullptr, {}) == "tagged"; };
    const bool right = replaced && kept("Gamut") && kept("ColorInterface::ColorAdjustmentType") &&
                       kept("std::vector<ColorInterface::ColorAdjustmentType>") &&
                       kept("ColorAdjustmentItem") &&
                       !registry.isRegistered("std::vector<ColorAdjustmentItem>>");
    std::exit(right ? 0 : 1);
}

TEST(RegisteredTypes, TheListOfColorAdjustmentsIsRegisteredAnewAndNothingElse) {
    // In a process of its own, since the registry lives as long as the process.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(registerColorTypesTwice(), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace JsonDevice
