#include <functional>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "DeviceManager/JsonDevice/JsonIG.h"
#include "DeviceManager/JsonDevice/JsonText.h"
#include "DeviceManager/JsonDevice/JsonWarp.h"
#include "DeviceManager/JsonDevice/ProxyMarshallers.h"
#include "DeviceManager/JsonDevice/SimpleProxies.h"
#include "Platform/Curves/CubicControlCurve.h"
#include "Platform/Devices/ControlCurveProxy.h"
#include "Platform/Devices/MeshProxy.h"
#include "Platform/Devices/RasterGrayscaleImage.h"
#include "Platform/Devices/RasterRGBImage.h"
#include "Tests/Library/Refusal.h"

namespace JsonDevice {
namespace {

/// A mask's edges with curves of its own.
class Edges : public ControlCurveProxy {
public:
    const ControlCurve* getBottom() const override { return bottom.get(); }
    const ControlCurve* getTop() const override { return top.get(); }
    const ControlCurve* getLeft() const override { return nullptr; }
    const ControlCurve* getRight() const override { return nullptr; }
    std::wstring getName() const override { return L"K\u00fcche"; }
    std::wstring getXml() const override { return L"<mask/>"; }

    std::unique_ptr<CubicControlCurve> bottom;
    std::unique_ptr<CubicControlCurve> top;
};

class ProxyMarshallers : public testing::Test {
protected:
    ProxyMarshallers() {
        JsonWarp::registerWarpTypes();
        JsonIG::registerIGTypes();
    }

    template <class Proxy>
    std::unique_ptr<Proxy> readValue(const Json::Value& value, const std::string& typeName) {
        return std::unique_ptr<Proxy>(static_cast<Proxy*>(registry.fromJson(value, typeName)));
    }
    template <class Proxy>
    std::unique_ptr<Proxy> read(const std::string& text, const std::string& typeName) {
        Json::Value value;
        EXPECT_TRUE(JsonText::read(text, value)) << text;
        return readValue<Proxy>(value, typeName);
    }
    template <class Proxy>
    std::string write(const Proxy& proxy, const std::string& typeName) {
        return JsonText::write(registry.toJson(typeName, &proxy, {}));
    }

    MarshalJson& registry = *MarshalJson::instance();
};

TEST_F(ProxyMarshallers, ANullProxyIsJsonNull) {
    for (const char* name :
         {"MeshProxy", "BlendProxy", "BlackLevelProxy", "ControlCurveProxy", "IGContentProxy"}) {
        EXPECT_TRUE(registry.toJson(name, nullptr, {}).isNull()) << name;
        EXPECT_EQ(registry.fromJson(Json::Value(), name), nullptr) << name;
    }
}

TEST_F(ProxyMarshallers, NoProxyHasADefaultForm) {
    const auto created = [&](const char* name) {
        return refusalOf<KorvanException>([&] { registry.create(name); });
    };
    EXPECT_EQ(created("BlackLevelProxy"), "You cannot create an empty BlackLevelProxy");
    EXPECT_EQ(created("BlendProxy"), "You cannot create an empty BlendProxy");
    EXPECT_EQ(created("IGContentProxy"), "You cannot create an empty IGContentProxy");
    EXPECT_EQ(created("ControlCurveProxy"), "You cannot create a ControlCurveProxy");
    EXPECT_EQ(created("MeshProxy"), "You cannot create a MeshProxy");
    try {
        registry.create("BlendProxy");
        FAIL();
    } catch (const KorvanParseException&) {
        FAIL() << "it is not a matter of parsing";
    } catch (const KorvanException& error) {
        EXPECT_EQ(error.getFile(), "DeviceManager/JsonDevice/JsonBlending");
    }
}

TEST_F(ProxyMarshallers, AMeshIsItsTextAndIsNeverReadBack) {
    SimpleMeshProxy mesh(L"name", Mesh(4, 2, 2, 2));
    const MeshProxy& proxy = mesh;
    const Json::Value value = registry.toJson("MeshProxy", &proxy, {});
    EXPECT_EQ(value, Json::Value("mesh 1\nsize 4 2\ngrid 2 2\n0 0 4 0\n0 2 4 2\n"));
    EXPECT_EQ(Mesh::fromText(value.asString()), mesh.getMesh());
    EXPECT_EQ(registry.fromJson(value, "MeshProxy"), nullptr);
    EXPECT_EQ(registry.fromJson(Json::Value(7), "MeshProxy"), nullptr);
}

TEST_F(ProxyMarshallers, AProxyWithoutImageSaysNull) {
    const SimpleBlendProxy blend(L"Nord \u2192", L"<b/>", nullptr);
    EXPECT_EQ(write<BlendProxy>(blend, "BlendProxy"),
              "{\"image\":null,\"name\":\"Nord \\u2192\",\"xml\":\"<b/>\"}\n");
    const SimpleIGContentProxy content(L"c", L"", nullptr);
    EXPECT_EQ(write<IGContentProxy>(content, "IGContentProxy"),
              "{\"image\":null,\"name\":\"c\",\"xml\":\"\"}\n");
    const SimpleBlackLevelProxy black(L"n", L"x", nullptr, 0.5, 2, 1);
    EXPECT_EQ(write<BlackLevelProxy>(black, "BlackLevelProxy"),
              "{\"blueFactor\":1.0,\"greenFactor\":2.0,\"image\":null,\"name\":\"n\",\"redFactor\":0.5,"
              "\"xml\":\"x\"}\n");
}

TEST_F(ProxyMarshallers, ImagesTravelInTheirDefaultEncodingAndReadBack) {
    const float pixels[] = {0, 0.5, 1, 0.25};
    const SimpleBlendProxy blend(L"n", L"x", std::make_unique<RasterGrayscaleImage>(2, 2, pixels));
    const Json::Value value = registry.toJson("BlendProxy", static_cast<const BlendProxy*>(&blend), {});
    const GrayscaleImage* const sent = blend.getImage();
    EXPECT_EQ(value["image"], registry.toJson("GrayscaleImage", sent, {}));
    EXPECT_EQ(value["image"]["h"], 2);
    const auto back = readValue<BlendProxy>(value, "BlendProxy");
    ASSERT_NE(back->getImage(), nullptr);
    EXPECT_NEAR(back->getImage()->getCenterValue(1, 0), 0.5, 1.0 / 2048);
    EXPECT_NEAR(back->getImage()->getCenterValue(1, 1), 0.25, 1.0 / 2048);

    const SimpleBlackLevelProxy black(L"n", L"x", std::make_unique<RasterGrayscaleImage>(2, 2, pixels), 0.5,
                                      1, 2);
    const Json::Value blackValue =
        registry.toJson("BlackLevelProxy", static_cast<const BlackLevelProxy*>(&black), {});
    const auto blackBack = readValue<BlackLevelProxy>(blackValue, "BlackLevelProxy");
    EXPECT_NEAR(blackBack->getImage()->getCenterValue(0, 1), 1, 1.0 / 2048);
    double red = 0;
    double green = 0;
    double blue = 0;
    blackBack->getFactors(red, green, blue);
    EXPECT_EQ(red, 0.5);
    EXPECT_EQ(green, 1);
    EXPECT_EQ(blue, 2);

    const float colours[] = {0.25, 0.5, 1};
    const SimpleIGContentProxy content(L"n", L"x", std::make_unique<RasterRGBImage>(1, 1, colours, true));
    const Json::Value contentValue =
        registry.toJson("IGContentProxy", static_cast<const IGContentProxy*>(&content), {});
    const auto contentBack = readValue<IGContentProxy>(contentValue, "IGContentProxy");
    float r = 0;
    float g = 0;
    float b = 0;
    contentBack->getImage()->getCenterValue(0, 0, r, g, b);
    EXPECT_NEAR(r, 0.25, 1.0 / 2048);
    EXPECT_NEAR(g, 0.5, 1.0 / 2048);
    EXPECT_NEAR(b, 1, 1.0 / 2048);
}

TEST_F(ProxyMarshallers, FactorsCountOnlyWhenTheyAreNumbers) {
    const float pixel = 1;
    const SimpleBlackLevelProxy black(L"n", L"x", std::make_unique<RasterGrayscaleImage>(1, 1, &pixel), 3, 3,
                                      3);
    Json::Value value = registry.toJson("BlackLevelProxy", static_cast<const BlackLevelProxy*>(&black), {});
    value.removeMember("redFactor");
    value["greenFactor"] = "2";
    value["blueFactor"] = true;
    const auto back = readValue<BlackLevelProxy>(value, "BlackLevelProxy");
    double red = 9;
    double green = 9;
    double blue = 9;
    back->getFactors(red, green, blue);
    EXPECT_EQ(red, 1);
    EXPECT_EQ(green, 1);
    EXPECT_EQ(blue, 1);
    value["blueFactor"] = 2;
    readValue<BlackLevelProxy>(value, "BlackLevelProxy")->getFactors(red, green, blue);
    EXPECT_EQ(blue, 2);
}

TEST_F(ProxyMarshallers, WhatIsWrongWithAnImagePassesThrough) {
    for (const char* name : {"BlendProxy", "BlackLevelProxy"}) {
        EXPECT_EQ(refusalOf([&] { read<void*>(R"({"name":"","xml":"","image":7})", name).release(); }),
                  refusalOf([&] { registry.fromJson(Json::Value(7), "GrayscaleImage"); }));
    }
    EXPECT_NE(refusalOf([&] { read<void*>(R"({"name":"","xml":"","image":7})", "BlendProxy").release(); }),
              "nothing thrown");
}

TEST_F(ProxyMarshallers, FactorsThatAProxyLeavesAloneAreOne) {
    class Plain : public BlackLevelProxy {
    public:
        const GrayscaleImage* getImage() const override { return nullptr; }
        std::wstring getName() const override { return L""; }
        std::wstring getXml() const override { return L""; }
        void getFactors(double&, double& green, double&) const override { green = 0.25; }
    };
    EXPECT_EQ(write<BlackLevelProxy>(Plain(), "BlackLevelProxy"),
              "{\"blueFactor\":1.0,\"greenFactor\":0.25,\"image\":null,\"name\":\"\",\"redFactor\":1.0,"
              "\"xml\":\"\"}\n");
}

TEST_F(ProxyMarshallers, ProxiesWithoutImageReadBack) {
    const auto blend =
        read<BlendProxy>("{\"image\":null,\"name\":\"\\u2192\",\"xml\":\"<b/>\",\"more\":1}", "BlendProxy");
    EXPECT_EQ(blend->getName(), L"\u2192");
    EXPECT_EQ(blend->getXml(), L"<b/>");
    EXPECT_EQ(blend->getImage(), nullptr);
    const auto content =
        read<IGContentProxy>("{\"image\":null,\"name\":\"n\",\"xml\":\"x\"}", "IGContentProxy");
    EXPECT_EQ(content->getName(), L"n");
    EXPECT_EQ(content->getXml(), L"x");
    EXPECT_EQ(content->getImage(), nullptr);
}

TEST_F(ProxyMarshallers, RefuseOtherShapes) {
    const auto refused = [&](const char* name, const std::string& json) {
        return refusalOf([&] { read<void*>(json, name).release(); });
    };
    for (const char* json :
         {"{}", "[]", "1", "\"x\"", "true", "{\"name\":\"n\",\"xml\":\"x\"}",
          "{\"name\":\"n\",\"image\":null}", "{\"xml\":\"x\",\"image\":null}",
          "{\"name\":null,\"xml\":\"x\",\"image\":null}", "{\"name\":\"n\",\"xml\":{},\"image\":null}",
          "{\"name\":[],\"xml\":\"x\",\"image\":null}"}) {
        EXPECT_EQ(refused("BlendProxy", json), "JSON value is not a BlendProxy") << json;
        EXPECT_EQ(refused("BlackLevelProxy", json), "JSON value is not a BlackLevelProxy") << json;
        EXPECT_EQ(refused("IGContentProxy", json), "JSON value is not a IGContentProxy") << json;
        EXPECT_EQ(refused("ControlCurveProxy", json), "JSON value is not a ControlCurveProxy") << json;
    }
    EXPECT_EQ(refused("BlackLevelProxy", "{\"name\":\"n\",\"xml\":\"x\",\"image\":null}"),
              "JSON value is not a BlackLevelProxy");
}

TEST_F(ProxyMarshallers, CurvesTravelAsTheirXml) {
    Edges edges;
    edges.bottom = std::make_unique<CubicControlCurve>(
        std::vector<CubicControlCurve::ControlPoint>{{0, 0.1}, {0.5, 0.3}, {1, 0.1}});
    const Json::Value value =
        registry.toJson("ControlCurveProxy", static_cast<ControlCurveProxy*>(&edges), {});
    EXPECT_EQ(JsonText::write(value),
              "{\"bottom\":\"<CubicControlCurve><Point x=\\\"0\\\" y=\\\"0.1\\\"/><Point x=\\\"0.5\\\" "
              "y=\\\"0.3\\\"/><Point x=\\\"1\\\" y=\\\"0.1\\\"/></CubicControlCurve>\",\"left\":null,"
              "\"name\":\"K\\u00fcche\",\"right\":null,\"top\":null,\"xml\":\"<mask/>\"}\n");
    const auto back = readValue<ControlCurveProxy>(value, "ControlCurveProxy");
    EXPECT_EQ(back->getName(), L"K\u00fcche");
    EXPECT_EQ(back->getXml(), L"<mask/>");
    EXPECT_EQ(back->getTop(), nullptr);
    EXPECT_EQ(back->getLeft(), nullptr);
    EXPECT_EQ(back->getRight(), nullptr);
    const auto* const bottom = dynamic_cast<const CubicControlCurve*>(back->getBottom());
    ASSERT_NE(bottom, nullptr);
    EXPECT_EQ(*bottom, *edges.bottom);
}

TEST_F(ProxyMarshallers, EachEdgeIsReadIntoItsOwnPlace) {
    Json::Value value(Json::objectValue);
    value["name"] = value["xml"] = "";
    for (const char* edge : {"bottom", "top", "left", "right"}) {
        value[edge] = std::string("<CubicControlCurve><Point x='0' y='") + std::to_string(edge[0]) +
                      "'/></CubicControlCurve>";
    }
    const auto proxy = readValue<ControlCurveProxy>(value, "ControlCurveProxy");
    EXPECT_EQ(proxy->getBottom()->evaluate(0), 'b');
    EXPECT_EQ(proxy->getTop()->evaluate(0), 't');
    EXPECT_EQ(proxy->getLeft()->evaluate(0), 'l');
    EXPECT_EQ(proxy->getRight()->evaluate(0), 'r');
}

TEST_F(ProxyMarshallers, RefuseCurvesThatAreNone) {
    Json::Value good(Json::objectValue);
    good["bottom"] = good["left"] = good["right"] = Json::Value();
    good["name"] = good["xml"] = "";
    good["top"] = "<CubicControlCurve><Point x='0' y='1'/></CubicControlCurve>";
    EXPECT_NE(readValue<ControlCurveProxy>(good, "ControlCurveProxy"), nullptr);

    const auto refused = [&](const std::function<void(Json::Value&)>& change) {
        Json::Value value = good;
        change(value);
        return refusalOf([&] { readValue<ControlCurveProxy>(value, "ControlCurveProxy"); });
    };
    const std::string refusal = "JSON value is not a ControlCurveProxy";
    for (const char* key : {"bottom", "top", "left", "right", "name", "xml"}) {
        EXPECT_EQ(refused([&](Json::Value& value) { value.removeMember(key); }), refusal) << key;
        EXPECT_EQ(refused([&](Json::Value& value) { value[key] = 1; }), refusal) << key;
    }
    EXPECT_EQ(refused([](Json::Value& value) { value["name"] = Json::Value(); }), refusal);
    for (const char* xml : {"", "<", "<Curve/>", "<CubicControlCurve/>", "<!DOCTYPE a><CubicControlCurve/>",
                            "<CubicControlCurve><Point x='a' y='1'/></CubicControlCurve>"}) {
        for (const char* edge : {"bottom", "top", "left", "right"}) {
            EXPECT_EQ(refused([&](Json::Value& value) { value[edge] = xml; }), refusal) << xml;
        }
    }
}

}  // namespace
}  // namespace JsonDevice
