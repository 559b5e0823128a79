#include <string>
#include <vector>

#include "DeviceManager/JsonDevice/JsonBlending.h"
#include "DeviceManager/JsonDevice/JsonBlendingV1.h"
#include "DeviceManager/JsonDevice/JsonExceptions.h"
#include "Tests/Library/GeometryProxies.h"
#include "Tests/Library/ManualClock.h"
#include "Tests/Library/OperationRows.h"
#include "Tests/Support/LogCapture.h"
#include "Tests/Support/ScriptedCommunicator.h"

namespace {

using namespace OperationRows;
using JsonDevice::JsonBlending;
using JsonDevice::JsonBlendingV1;

using MapsOperation = void (JsonBlending::*)(int, MeshProxy*, BlendProxy*, BlendProxy*, BlendProxy*,
                                             BlendProxy*);

template <class Adapter>
Row maps(const std::string& name, MapsOperation operation) {
    return sends<Adapter>("BlendingInterface::" + name, GeometryProxies::params("1"), [=](Adapter& blending) {
        GeometryProxies p;
        (blending.*operation)(1, &p.mesh, &p.mask, &p.screenMask, &p.blend, &p.bu);
    });
}

template <class Adapter>
Row at(const std::string& name, void (JsonBlending::*operation)(int)) {
    return sends<Adapter>("BlendingInterface::" + name, "[-1]",
                          [=](Adapter& blending) { (blending.*operation)(-1); });
}

Row named(Row row, const char* name) {
    row.name = name;
    return row;
}

const Table table({
    sends<JsonBlending>("BlendingInterface::nameBlend", R"([2,"Dome \u2192"])",
                        [](JsonBlending& blending) { blending.nameBlend(2, L"Dome \u2192"); }),
    maps<JsonBlending>("saveBlend", &JsonBlending::saveBlend),
    maps<JsonBlending>("previewBlend", &JsonBlending::previewBlend),
    at<JsonBlending>("deleteBlend", &JsonBlending::deleteBlend),
    at<JsonBlending>("selectBlend", &JsonBlending::selectBlend),
    sends<JsonBlending>("BlendingInterface::showBlend", "[]",
                        [](JsonBlending& blending) { blending.showBlend(); }),
    returns<JsonBlending>(
        "BlendingInterface::getBlendLocation", "[]", "5",
        [](JsonBlending& blending) { return blending.getBlendLocation(); }, 5),
    sends<JsonBlending>("BlendingInterface::nameUniformity", R"([2,"Dome \u2192"])",
                        [](JsonBlending& blending) { blending.nameUniformity(2, L"Dome \u2192"); }),
    maps<JsonBlending>("saveUniformity", &JsonBlending::saveUniformity),
    maps<JsonBlending>("previewUniformity", &JsonBlending::previewUniformity),
    at<JsonBlending>("deleteUniformity", &JsonBlending::deleteUniformity),
    at<JsonBlending>("selectUniformity", &JsonBlending::selectUniformity),
    sends<JsonBlending>("BlendingInterface::showUniformity", "[]",
                        [](JsonBlending& blending) { blending.showUniformity(); }),
    returns<JsonBlending>(
        "BlendingInterface::getUniformityLocation", "[]", "5",
        [](JsonBlending& blending) { return blending.getUniformityLocation(); }, 5),
    // The older protocol has one selectable family, two higher; all else is unchanged.
    named(sends<JsonBlendingV1>("BlendingInterface::selectBlend", "[2]",
                                [](JsonBlendingV1& blending) { blending.selectBlend(0); }),
          "JsonBlendingV1 selectBlend"),
    named(returns<JsonBlendingV1>(
              "BlendingInterface::getBlendLocation", "[]", "5",
              [](JsonBlendingV1& blending) { return blending.getBlendLocation(); }, 3),
          "JsonBlendingV1 getBlendLocation"),
    named(maps<JsonBlendingV1>("saveBlend", &JsonBlendingV1::saveBlend), "JsonBlendingV1 saveBlend"),
    named(maps<JsonBlendingV1>("previewBlend", &JsonBlendingV1::previewBlend), "JsonBlendingV1 previewBlend"),
    named(at<JsonBlendingV1>("deleteBlend", &JsonBlendingV1::deleteBlend), "JsonBlendingV1 deleteBlend"),
    named(sends<JsonBlendingV1>("BlendingInterface::nameBlend", R"([2,"n"])",
                                [](JsonBlendingV1& blending) { blending.nameBlend(2, L"n"); }),
          "JsonBlendingV1 nameBlend"),
    named(sends<JsonBlendingV1>("BlendingInterface::selectBlend", "[2]",
                                [](JsonBlendingV1& blending) { blending.selectUniformity(0); }),
          "JsonBlendingV1 selectUniformity"),
    named(returns<JsonBlendingV1>(
              "BlendingInterface::getBlendLocation", "[]", "5",
              [](JsonBlendingV1& blending) { return blending.getUniformityLocation(); }, 3),
          "JsonBlendingV1 getUniformityLocation"),
    named(maps<JsonBlendingV1>("saveUniformity", &JsonBlendingV1::saveUniformity),
          "JsonBlendingV1 saveUniformity"),
    named(maps<JsonBlendingV1>("previewUniformity", &JsonBlendingV1::previewUniformity),
          "JsonBlendingV1 previewUniformity"),
    named(at<JsonBlendingV1>("deleteUniformity", &JsonBlendingV1::deleteUniformity),
          "JsonBlendingV1 deleteUniformity"),
    named(sends<JsonBlendingV1>("BlendingInterface::nameUniformity", R"([2,"n"])",
                                [](JsonBlendingV1& blending) { blending.nameUniformity(2, L"n"); }),
          "JsonBlendingV1 nameUniformity"),
    named(sends<JsonBlendingV1>("BlendingInterface::selectBlend", "[-2147483647]",
                                [](JsonBlendingV1& blending) { blending.selectBlend(2147483647); }),
          "JsonBlendingV1 selectBlend of the largest number"),
});

void saveBlend(JsonBlending& blending) {
    GeometryProxies p;
    blending.saveBlend(1, &p.mesh, &p.mask, &p.screenMask, &p.blend, &p.bu);
}

TEST(JsonBlending, ASaveIsLoggedWithItsTime) {
    ManualClock clock;
    const LogCapture log("DeviceManager.JsonDevice.JsonBlending");
    ScriptedCommunicator device;
    JsonBlending blending(&device);
    device.onTimeOut([&](int) { clock.advance(42); });
    device.expectAny().timeOut().reply(R"({"id":1,"result":null})");
    saveBlend(blending);
    device.expectAny().reply(R"({"id":2,"result":null})");
    saveBlend(blending);
    EXPECT_EQ(log.lines(),
              (std::vector<std::string>{
                  "DEBUG JsonBlending::saveBlend Begin", "DEBUG JsonBlending::saveBlend save done in 42 ms",
                  "DEBUG JsonBlending::saveBlend Begin", "DEBUG JsonBlending::saveBlend save done in 0 ms"}));
}

TEST(JsonBlending, AFailedSaveIsNotLoggedAsDone) {
    const LogCapture log("DeviceManager.JsonDevice.JsonBlending");
    ScriptedCommunicator device;
    JsonBlending blending(&device);
    device.expectAny().reply(R"({"id":1,"error":"full"})");
    EXPECT_THROW(saveBlend(blending), JsonDevice::ErrorReplyException);
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"DEBUG JsonBlending::saveBlend Begin"}));
}

TEST(JsonBlending, OtherOperationsAreNotLogged) {
    const LogCapture log("DeviceManager.JsonDevice.JsonBlending");
    ScriptedCommunicator device;
    JsonBlending blending(&device);
    GeometryProxies p;
    for (const MapsOperation operation :
         {&JsonBlending::saveUniformity, &JsonBlending::previewBlend, &JsonBlending::previewUniformity}) {
        device.expectAny().reply("{\"id\":" + std::to_string(device.requests().size() + 1) + "}");
        (blending.*operation)(1, &p.mesh, &p.mask, &p.screenMask, &p.blend, &p.bu);
    }
    EXPECT_TRUE(log.lines().empty());
}

}  // namespace
