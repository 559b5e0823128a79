#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "DeviceManager/JsonDevice/GeometryMarshallers.h"
#include "DeviceManager/JsonDevice/JsonText.h"
#include "Tests/Library/Refusal.h"

namespace {

using JsonDevice::MarshalJson;

Json::Value parse(const std::string& text) {
    Json::Value value;
    EXPECT_TRUE(JsonDevice::JsonText::read(text, value)) << text;
    return value;
}

template <class Type>
std::unique_ptr<Type> read(const std::string& json, const std::string& typeName) {
    return std::unique_ptr<Type>(
        static_cast<Type*>(MarshalJson::instance()->fromJson(parse(json), typeName)));
}

template <class Type>
std::string written(const Type& object, const std::string& typeName) {
    return JsonDevice::JsonText::write(MarshalJson::instance()->toJson(typeName, &object, {}));
}

template <class Type>
std::string refusal(const std::string& json, const std::string& typeName) {
    return refusalOf([&] { read<Type>(json, typeName); });
}

TEST(PointMarshallers, WriteOneKeyForEachCoordinate) {
    EXPECT_EQ(written(Point2I{3, -4}, "Point2I"), "{\"x\":3,\"y\":-4}\n");
    EXPECT_EQ(written(Point3D{0.5, 1, -2}, "Point3D"), "{\"x\":0.5,\"y\":1.0,\"z\":-2.0}\n");
    EXPECT_EQ(written(Point3F{0.5F, 0.1F, 0}, "Point3F"),
              "{\"x\":0.5,\"y\":0.10000000149011612,\"z\":0.0}\n");
}

TEST(PointMarshallers, ReadWhatTheyWrite) {
    EXPECT_EQ(*read<Point2I>("{\"x\":3,\"y\":-4}", "Point2I"), (Point2I{3, -4}));
    EXPECT_EQ(*read<Point3D>("{\"x\":0.5,\"y\":1,\"z\":-2.25}", "Point3D"), (Point3D{0.5, 1, -2.25}));
    EXPECT_EQ(*read<Point3F>("{\"x\":0.5,\"y\":0.1,\"z\":0}", "Point3F"), (Point3F{0.5F, 0.1F, 0}));
}

TEST(PointMarshallers, PassOverOtherKeysAndDropFractions) {
    EXPECT_EQ(*read<Point2I>("{\"x\":1,\"y\":2,\"z\":3}", "Point2I"), (Point2I{1, 2}));
    EXPECT_EQ(*read<Point2I>("{\"x\":1.5,\"y\":2}", "Point2I"), (Point2I{1, 2}));
    EXPECT_EQ(*read<Point2I>("{\"x\":true,\"y\":-2.9}", "Point2I"), (Point2I{1, -2}));
}

TEST(PointMarshallers, NullIsNoPoint) {
    for (const char* name : {"Point2I", "Point3D", "Point3F", "PointOfView", "std::vector<Point2I>"}) {
        EXPECT_EQ(MarshalJson::instance()->fromJson(Json::Value(), name), nullptr) << name;
    }
}

TEST(PointMarshallers, RefuseOtherShapes) {
    for (const char* json : {"{}", "[1,2]", "7", "\"x\"", "{\"x\":1}", "{\"y\":1}", "{\"x\":1,\"y\":\"2\"}",
                             "{\"x\":1,\"y\":[]}", "{\"x\":1,\"y\":null}", "{\"x\":1,\"y\":5000000000}",
                             "{\"x\":1,\"y\":1e300}"}) {
        EXPECT_EQ(refusal<Point2I>(json, "Point2I"), "JSON value is not a Point2I") << json;
    }
    for (const char* json : {"{\"x\":1}", "{\"x\":1,\"y\":2}", "{\"x\":1,\"y\":2,\"z\":null}",
                             "{\"x\":1,\"y\":2,\"z\":\"3\"}", "[]"}) {
        EXPECT_EQ(refusal<Point3D>(json, "Point3D"), "JSON value is not a Point3D") << json;
        EXPECT_EQ(refusal<Point3F>(json, "Point3F"), "JSON value is not a Point3D") << json;
    }
}

TEST(PointMarshallers, VectorsAreArraysOfPoints) {
    const std::vector<Point2I> points{{1, 2}, {3, 4}};
    EXPECT_EQ(written(points, "std::vector<Point2I>"), "[{\"x\":1,\"y\":2},{\"x\":3,\"y\":4}]\n");
    EXPECT_EQ(*read<std::vector<Point2I>>("[{\"x\":1,\"y\":2},{\"x\":3,\"y\":4}]", "std::vector<Point2I>"),
              points);
    EXPECT_EQ(read<std::vector<Point3D>>("[]", "std::vector<Point3D>")->size(), 0u);
    EXPECT_EQ(read<std::vector<Point3F>>("[{\"x\":1,\"y\":2,\"z\":3}]", "std::vector<Point3F>")->at(0),
              (Point3F{1, 2, 3}));
    EXPECT_EQ(refusal<std::vector<Point2I>>("[{\"x\":1,\"y\":2},{\"x\":3}]", "std::vector<Point2I>"),
              "JSON value is not a Point2I");
    EXPECT_EQ(refusal<std::vector<Point3F>>("{}", "std::vector<Point3F>"),
              "JSON Value could not be converted to a vector");
}

TEST(PointOfViewMarshaller, CarriesTenNumbers) {
    const PointOfView view{1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
    const std::string json =
        "{\"bottom\":10.0,\"left\":7.0,\"pitch\":5.0,\"right\":8.0,\"roll\":6.0,\"top\":9.0,\"x\":1.0,"
        "\"y\":2.0,\"yaw\":4.0,\"z\":3.0}";
    EXPECT_EQ(written(view, "PointOfView"), json + "\n");
    EXPECT_EQ(*read<PointOfView>(json, "PointOfView"), view);
}

TEST(PointOfViewMarshaller, RefusesWhenOneIsMissing) {
    const Json::Value whole =
        MarshalJson::instance()->toJson("PointOfView", std::make_unique<PointOfView>().get(), {});
    for (const std::string& key : whole.getMemberNames()) {
        Json::Value part = whole;
        part.removeMember(key);
        const auto readIt = [&] { MarshalJson::instance()->fromJson(part, "PointOfView"); };
        EXPECT_EQ(refusalOf(readIt), "JSON value is not a Point3D") << key;
        part[key] = Json::Value();
        EXPECT_EQ(refusalOf(readIt), "JSON value is not a Point3D") << key << " null";
        part[key] = "1";
        EXPECT_EQ(refusalOf(readIt), "JSON value is not a Point3D") << key << " text";
    }
}

}  // namespace
