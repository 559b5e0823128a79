#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "DeviceManager/JsonDevice/JsonBlackLevel.h"
#include "DeviceManager/JsonDevice/JsonBlending.h"
#include "DeviceManager/JsonDevice/JsonBlendingV1.h"
#include "DeviceManager/JsonDevice/JsonControl.h"
#include "DeviceManager/JsonDevice/JsonExceptions.h"
#include "DeviceManager/JsonDevice/JsonIG.h"
#include "DeviceManager/JsonDevice/JsonMasking.h"
#include "DeviceManager/JsonDevice/JsonModel.h"
#include "DeviceManager/JsonDevice/JsonWarp.h"
#include "DeviceManager/JsonDevice/JsonWarpV1.h"
#include "DeviceManager/JsonDevice/SimpleProxies.h"
#include "Platform/Devices/Device.h"
#include "Platform/Devices/MeshProxy.h"
#include "Platform/Devices/RasterGrayscaleImage.h"
#include "Platform/Devices/RasterRGBImage.h"
#include "Platform/Transport/TcpCommunicator.h"
#include "Simulator/Simulator.h"
#include "Tests/Simulator/DirectCommunicator.h"

namespace JsonDevice {
namespace {

using Simulation::Projector;
using Simulation::Protocol;

constexpr int width = 32;
constexpr int height = 18;

Json::Value size(int w, int h) {
    Json::Value value;
    value.append(w);
    value.append(h);
    return value;
}

std::unique_ptr<SimpleBlendProxy> map(std::wstring name, int w = width, int h = height, float value = 0.5F) {
    auto image = std::make_unique<RasterGrayscaleImage>(w, h, nullptr);
    for (int y = 0; y < h; ++y) {
        for (int x = 0; x < w; ++x) {
            image->setValue(x, y, value);
        }
    }
    return std::make_unique<SimpleBlendProxy>(name, L"<" + name + L"/>", std::move(image));
}

/// What the function's request is answered with: the code of the error, or 0.
template <class Call>
int errorOf(Call call) {
    try {
        call();
        return 0;
    } catch (const ErrorReplyException& e) {
        return e.getCode();
    }
}

class GeometryTest : public testing::Test {
protected:
    GeometryTest() : GeometryTest(Protocol::Current) {}
    explicit GeometryTest(Protocol protocol)
        : projector(std::chrono::steady_clock::now, protocol), communicator(projector), device(communicator) {
        projector.set("nativeResolution", size(width, height));
        Mesh shifted(width, height, 3, 3);
        shifted.setControlPoint(1, 1, {width / 2.0F + 2, height / 2.0F});
        mesh = std::make_unique<SimpleMeshProxy>(L"mesh", std::move(shifted));
        for (const wchar_t* const name : {L"mask", L"screenMask", L"blend", L"bu"}) {
            maps.push_back(map(name));
        }
    }
    struct TestDevice : Device {
        explicit TestDevice(Communicator& c) : communicator(c) {}
        Communicator* getCommunicator() override { return &communicator; }
        std::string getMACAddress() const override { return {}; }
        Communicator& communicator;
    };

    Projector projector;
    DirectCommunicator communicator;
    TestDevice device;
    std::unique_ptr<SimpleMeshProxy> mesh;
    std::vector<std::unique_ptr<SimpleBlendProxy>> maps;
};

TEST_F(GeometryTest, AWarpIsSavedNamedListedSelectedAndDeleted) {
    JsonWarp warp(&communicator);
    EXPECT_TRUE(warp.getWarpNamesAndLocations().empty());
    EXPECT_EQ(warp.saveWarp(2, mesh.get(), false), 0);
    warp.nameWarp(2, L"Dome \u00e9");
    using Items = std::vector<std::pair<int, std::wstring>>;
    EXPECT_EQ(warp.getWarpNamesAndLocations(), (Items{{2, L"Dome \u00e9"}}));
    EXPECT_EQ(warp.getWarpXmlFromProjector(2), mesh->getXml());
    EXPECT_EQ(warp.getWarpLocation(), 0);
    warp.selectWarp(2);
    EXPECT_EQ(warp.getWarpLocation(), 2);
    EXPECT_EQ(projector.get("warpLocation"), 2);
    warp.deleteWarp(2);
    EXPECT_EQ(warp.getWarpLocation(), 0);
    EXPECT_TRUE(warp.getWarpNamesAndLocations().empty());
}

TEST_F(GeometryTest, WhatADeviceWouldRefuseIsRefused) {
    JsonWarp warp(&communicator);
    for (const int location : {-1, 0, 5}) {
        EXPECT_EQ(errorOf([&] { warp.saveWarp(location, mesh.get(), false); }), ErrorCode::outOfRange)
            << location;
    }
    EXPECT_EQ(errorOf([&] { warp.saveWarp(1, nullptr, false); }), ErrorCode::invalidParams);
    EXPECT_EQ(errorOf([&] { warp.selectWarp(3); }), ErrorCode::notFound);
    EXPECT_EQ(errorOf([&] { warp.nameWarp(3, L"x"); }), ErrorCode::notFound);
    EXPECT_EQ(errorOf([&] { warp.deleteWarp(3); }), ErrorCode::notFound);
    EXPECT_EQ(errorOf([&] { warp.getWarpXmlFromProjector(3); }), ErrorCode::notFound);
    EXPECT_EQ(errorOf([&] { warp.getBlendXmlFromProjector(9); }), ErrorCode::outOfRange);

    SimpleMeshProxy other(L"other", Mesh(width + 1, height, 2, 2));
    EXPECT_EQ(errorOf([&] { warp.saveWarp(1, &other, false); }), ErrorCode::outOfRange);
    const auto small = map(L"small", width - 1, height);
    EXPECT_EQ(errorOf([&] {
                  warp.previewWarp(1, mesh.get(), maps[0].get(), small.get(), maps[2].get(), maps[3].get());
              }),
              ErrorCode::outOfRange);
    struct Broken : SimpleMeshProxy {
        Broken() : SimpleMeshProxy(L"broken", Mesh(2, 2, 2, 2)) {}
        std::wstring getText() const override { return L"mesh 1 size"; }
    } broken;
    EXPECT_EQ(errorOf([&] { warp.saveWarp(1, &broken, false); }), ErrorCode::invalidParams);
    EXPECT_TRUE(warp.getWarpNamesAndLocations().empty());
    // And it goes on.
    EXPECT_EQ(warp.saveWarp(1, mesh.get(), false), 0);
}

TEST_F(GeometryTest, SavingAllStoresAllOrNothing) {
    JsonWarp warp(&communicator);
    JsonBlackLevel black(&communicator);
    auto levels = std::make_unique<RasterGrayscaleImage>(width, height, nullptr);
    SimpleBlackLevelProxy level(L"floor", L"<floor/>", std::move(levels), 0.5, 0.25, 1.0);
    const auto save = [&](int w, int b, int l) {
        return warp.saveAll(w, b, l, 0, 0, 0, mesh.get(), maps[0].get(), maps[1].get(), maps[2].get(),
                            maps[3].get(), &level);
    };
    EXPECT_EQ(errorOf([&] { save(1, 2, 7); }), ErrorCode::outOfRange);
    EXPECT_TRUE(warp.getWarpNamesAndLocations().empty());
    EXPECT_TRUE(warp.getBlendNamesAndLocations().empty());
    EXPECT_EQ(save(1, 2, 3), 0);
    using Items = std::vector<std::pair<int, std::wstring>>;
    EXPECT_EQ(warp.getWarpNamesAndLocations(), (Items{{1, L"warp 1"}}));
    EXPECT_EQ(warp.getBlendNamesAndLocations(), (Items{{2, L"blend"}}));
    EXPECT_EQ(warp.getBlendXmlFromProjector(2), L"<blend/>");
    EXPECT_EQ(black.getBlackLevelBlendNamesAndLocations(), (Items{{3, L"floor"}}));
    EXPECT_EQ(black.getBlackLevelXmlFromProjector(3), L"<floor/>");
    EXPECT_EQ(save(4, 0, 0), 0);
    EXPECT_EQ(warp.getBlendNamesAndLocations().size(), 1U);
}

TEST_F(GeometryTest, BlendsUniformitiesAndMasksAreKeptApart) {
    JsonBlending blending(&communicator);
    JsonMasking masking(&communicator);
    JsonWarp warp(&communicator);
    blending.saveBlend(1, mesh.get(), maps[0].get(), maps[1].get(), maps[2].get(), maps[3].get());
    blending.saveUniformity(2, mesh.get(), maps[0].get(), maps[1].get(), maps[2].get(), maps[3].get());
    masking.saveMask(3, nullptr, maps[0].get(), nullptr, nullptr, nullptr);
    blending.selectBlend(1);
    blending.selectUniformity(2);
    masking.selectMask(3);
    EXPECT_EQ(blending.getBlendLocation(), 1);
    EXPECT_EQ(blending.getUniformityLocation(), 2);
    EXPECT_EQ(masking.getMaskLocation(), 3);
    EXPECT_EQ(errorOf([&] { blending.selectBlend(2); }), ErrorCode::notFound);
    EXPECT_EQ(errorOf([&] { blending.selectUniformity(1); }), ErrorCode::notFound);
    blending.nameBlend(1, L"left edge");
    EXPECT_EQ(warp.getBlendNamesAndLocations().at(0).second, L"left edge");
    blending.deleteBlend(1);
    blending.deleteUniformity(2);
    masking.deleteMask(3);
    EXPECT_EQ(blending.getBlendLocation(), 0);
    EXPECT_EQ(blending.getUniformityLocation(), 0);
    EXPECT_EQ(masking.getMaskLocation(), 0);
}

TEST_F(GeometryTest, WhatIsActiveHasItsEffectOnThePicture) {
    JsonWarp warp(&communicator);
    JsonBlending blending(&communicator);
    EXPECT_EQ(projector.getScene().warp, nullptr);
    warp.saveWarp(1, mesh.get(), false);
    EXPECT_EQ(projector.getScene().warp, nullptr);
    warp.selectWarp(1);
    ASSERT_NE(projector.getScene().warp, nullptr);
    EXPECT_TRUE(*projector.getScene().warp == mesh->getMesh());
    warp.selectWarp(0);
    EXPECT_EQ(projector.getScene().warp, nullptr);
    warp.previewWarp(1, mesh.get(), maps[0].get(), nullptr, maps[2].get(), nullptr);
    const Simulation::Scene previewed = projector.getScene();
    ASSERT_NE(previewed.mask, nullptr);
    ASSERT_NE(previewed.blend, nullptr);
    EXPECT_EQ(previewed.blend->getCenterValue(3, 3), 0.5F);
    const auto darker = map(L"darker", width, height, 0.25F);
    blending.previewBlend(1, nullptr, nullptr, nullptr, darker.get(), nullptr);
    EXPECT_EQ(projector.getScene().blend->getCenterValue(3, 3), 0.25F);
}

TEST_F(GeometryTest, SettingsOfTheWarpEngineAreReadBackAndBounded) {
    JsonWarp warp(&communicator);
    warp.setSharpness(7);
    warp.setLatency(2);
    warp.setMapControl(3);
    warp.setHorizontalPreFilter(1);
    warp.setVerticalPreFilter(4);
    EXPECT_EQ(warp.getSharpness(), 7);
    EXPECT_EQ(warp.getLatency(), 2);
    EXPECT_EQ(warp.getMapControl(), 3);
    EXPECT_EQ(warp.getHorizontalPreFilter(), 1);
    EXPECT_EQ(warp.getVerticalPreFilter(), 4);
    EXPECT_EQ(errorOf([&] { warp.setSharpness(99); }), ErrorCode::outOfRange);
    EXPECT_TRUE(warp.doesQuellSupportCurrentWarpFormat());
}

TEST_F(GeometryTest, FactoryDefaultForgetsWhatWasStored) {
    JsonWarp warp(&communicator);
    JsonControl control(&communicator);
    warp.saveWarp(1, mesh.get(), false);
    warp.selectWarp(1);
    warp.setSharpness(7);
    control.setFactoryDefault(0);
    EXPECT_TRUE(warp.getWarpNamesAndLocations().empty());
    EXPECT_EQ(warp.getWarpLocation(), 0);
    EXPECT_EQ(projector.getScene().warp, nullptr);
}

TEST_F(GeometryTest, ViewerAndContents) {
    JsonModel model(&device);
    JsonIG generator(&communicator);
    EXPECT_TRUE(model.updatePositionOrientation(Point3D{1, 2, 3}, Point3D{4, 5, 6}));
    EXPECT_EQ(projector.get("position")["z"], 3.0);
    EXPECT_TRUE(model.updatePerspectivePositionOrientation({0.5F, 2}, Point3D{}, Point3D{}));
    EXPECT_EQ(projector.get("perspective")[1], 2.0);
    EXPECT_FALSE(generator.selectContent(L"city"));
    SimpleIGContentProxy content(L"city", L"", std::make_unique<RasterRGBImage>(2, 2, nullptr, true));
    EXPECT_TRUE(generator.addContent(L"city", &content));
    EXPECT_FALSE(generator.addContent(L"", &content));
    EXPECT_TRUE(generator.selectContent(L"city"));
    EXPECT_EQ(projector.get("content"), "city");
}

class OlderGeometryTest : public GeometryTest {
protected:
    OlderGeometryTest() : GeometryTest(Protocol::Older) {}
};

TEST_F(OlderGeometryTest, SelectedLocationsAreTwoHigherOnTheWire) {
    JsonWarpV1 warp(&communicator);
    JsonBlendingV1 blending(&communicator);
    warp.saveWarp(2, mesh.get(), false);
    warp.selectWarp(2);
    EXPECT_EQ(warp.getWarpLocation(), 2);
    EXPECT_EQ(projector.get("warpLocation"), 2);
    EXPECT_EQ(JsonWarp(&communicator).getWarpLocation(), 4);
    blending.saveBlend(1, mesh.get(), nullptr, nullptr, maps[2].get(), nullptr);
    blending.selectBlend(1);
    EXPECT_EQ(blending.getBlendLocation(), 1);
    blending.saveUniformity(3, mesh.get(), nullptr, nullptr, maps[2].get(), nullptr);
    blending.selectUniformity(3);
    EXPECT_EQ(projector.get("uniformityLocation"), 3);
    EXPECT_EQ(blending.getUniformityLocation(), 3) << "one selection for both";
    EXPECT_EQ(errorOf([&] { blending.selectBlend(2); }), ErrorCode::notFound);
    EXPECT_EQ(errorOf([&] { JsonBlending(&communicator).selectUniformity(3); }), ErrorCode::methodNotFound);
}

/// What a host saves over TCP comes back the same: four full maps and a mesh,
/// pixel for pixel within half a step of the encoding (1/2048).
TEST(GeometryEndToEnd, FourFullMapsAndAMeshArriveAsTheyWereSent) {
    constexpr int w = 3840;
    constexpr int h = 2160;
    Simulator simulator;
    simulator.getProjector().set("nativeResolution", size(w, h));
    simulator.start();
    TcpCommunicator communicator(simulator.getAddress());
    JsonWarp warp(&communicator);

    Mesh bent(w, h, 9, 5);
    bent.setControlPoint(4, 2, {1900.25F, 1100.5F});
    SimpleMeshProxy mesh(L"bent", bent);
    std::vector<std::unique_ptr<SimpleBlendProxy>> maps;
    const auto value = [](int index, int x, int y) {
        return 0.5F + 0.5F * std::sin(static_cast<float>(x) * 0.002F * static_cast<float>(index + 1)) *
                          std::cos(static_cast<float>(y) * 0.003F);
    };
    for (int index = 0; index < 4; ++index) {
        auto image = std::make_unique<RasterGrayscaleImage>(w, h, nullptr);
        for (int y = 0; y < h; ++y) {
            for (int x = 0; x < w; ++x) {
                image->setValue(x, y, value(index, x, y));
            }
        }
        maps.push_back(std::make_unique<SimpleBlendProxy>(L"map", L"", std::move(image)));
    }
    ASSERT_EQ(warp.saveAll(1, 2, 0, 0, 0, 0, &mesh, maps[0].get(), maps[1].get(), maps[2].get(),
                           maps[3].get(), nullptr),
              0);
    warp.selectWarp(1);
    const auto expectArrived = [&](const GrayscaleImage* received, int index) {
        ASSERT_NE(received, nullptr);
        float worst = 0;
        for (int y = 0; y < h; ++y) {
            for (int x = 0; x < w; ++x) {
                worst = std::max(worst, std::abs(received->getCenterValue(x, y) - value(index, x, y)));
            }
        }
        EXPECT_LE(worst, 0.5F / 2048 + 1e-6F) << index;
    };
    // The picture on the wall has the first and the third of the maps that were saved.
    const Simulation::Scene saved = simulator.getProjector().getScene();
    ASSERT_NE(saved.warp, nullptr);
    EXPECT_TRUE(*saved.warp == bent);
    expectArrived(saved.mask.get(), 0);
    expectArrived(saved.blend.get(), 2);
    // The other two are seen in their places.
    ASSERT_EQ(warp.previewWarp(1, &mesh, maps[1].get(), maps[0].get(), maps[3].get(), maps[2].get()), 0);
    const Simulation::Scene previewed = simulator.getProjector().getScene();
    expectArrived(previewed.mask.get(), 1);
    expectArrived(previewed.blend.get(), 3);
}

}  // namespace
}  // namespace JsonDevice
