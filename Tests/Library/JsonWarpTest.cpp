#include <string>
#include <utility>
#include <vector>

#include "DeviceManager/JsonDevice/JsonExceptions.h"
#include "DeviceManager/JsonDevice/JsonWarp.h"
#include "DeviceManager/JsonDevice/JsonWarpV1.h"
#include "Platform/Timing/Instrumentation.h"
#include "Tests/Library/GeometryProxies.h"
#include "Tests/Library/OperationRows.h"
#include "Tests/Library/Refusal.h"
#include "Tests/Support/ScriptedCommunicator.h"

namespace {

using namespace OperationRows;
using JsonDevice::JsonWarp;
using JsonDevice::JsonWarpV1;
using Items = std::vector<std::pair<int, std::wstring>>;

Row get(const std::string& name, int (JsonWarp::*operation)()) {
    return returns<JsonWarp>(
        "WarpInterface::" + name, "[]", "-3", [=](JsonWarp& warp) { return (warp.*operation)(); }, -3);
}

/// An unsigned value travels as the 32-bit integer of the same bits.
Row set(const std::string& name, void (JsonWarp::*operation)(unsigned int)) {
    return sends<JsonWarp>("WarpInterface::" + name, "[-2]",
                           [=](JsonWarp& warp) { (warp.*operation)(4294967294U); });
}

Row list(const std::string& name, const Items& (JsonWarp::*operation)()) {
    return returns<JsonWarp>(
        "WarpInterface::" + name, "[]", R"([{"first":1,"second":"Dome \u2192"},{"first":4,"second":""}])",
        [=](JsonWarp& warp) { return (warp.*operation)(); }, Items{{1, L"Dome \u2192"}, {4, L""}});
}

Row xml(const std::string& name, std::wstring (JsonWarp::*operation)(int)) {
    return returns<JsonWarp>(
        "WarpInterface::" + name, "[2]", R"("<Mesh/>")", [=](JsonWarp& warp) { return (warp.*operation)(2); },
        std::wstring(L"<Mesh/>"));
}

int saveWarp(JsonWarp& warp, bool flag) {
    GeometryProxies p;
    return warp.saveWarp(2, &p.mesh, flag);
}

int previewAll(JsonWarp& warp, GeometryProxies& p) {
    return warp.previewAll(1, 2, 3, 4, 5, 6, &p.mesh, &p.mask, &p.screenMask, &p.blend, &p.bu, &p.blackLevel);
}

int saveAll(JsonWarp& warp, GeometryProxies& p) {
    return warp.saveAll(1, 2, 3, 4, 5, 6, &p.mesh, &p.mask, &p.screenMask, &p.blend, &p.bu, &p.blackLevel);
}

const std::string allParams = "[1,2,3,4,5,6," + GeometryProxies::meshJson() + "," +
                              GeometryProxies::mapsJson() + "," + GeometryProxies::blackLevelJson() + "]";

Row named(Row row, const char* name) {
    row.name = name;
    return row;
}

const Table table({
    returns<JsonWarp>(
        "WarpInterface::previewWarp", GeometryProxies::params("3"), "7",
        [](JsonWarp& warp) {
            GeometryProxies p;
            return warp.previewWarp(3, &p.mesh, &p.mask, &p.screenMask, &p.blend, &p.bu);
        },
        7),
    returns<JsonWarp>(
        "WarpInterface::saveWarp", "[2," + GeometryProxies::meshJson() + "]", "0",
        [](JsonWarp& warp) { return saveWarp(warp, true); }, 0),
    named(returns<JsonWarp>(
              "WarpInterface::saveWarp", "[2," + GeometryProxies::meshJson() + "]", "0",
              [](JsonWarp& warp) { return saveWarp(warp, false); }, 0),
          "WarpInterface::saveWarp without the flag"),
    named(returns<JsonWarp>(
              "WarpInterface::previewWarp", "[3,null,null,null,null,null]", "7",
              [](JsonWarp& warp) { return warp.previewWarp(3, nullptr, nullptr, nullptr, nullptr, nullptr); },
              7),
          "WarpInterface::previewWarp of nothing"),
    stays<JsonWarp>("flushWarp", [](JsonWarp& warp) { EXPECT_EQ(warp.flushWarp(), 0); }),
    sends<JsonWarp>("WarpInterface::showWarp", "[]", [](JsonWarp& warp) { warp.showWarp(); }),
    sends<JsonWarp>("WarpInterface::nameWarp", R"([2,"Dome \u2192"])",
                    [](JsonWarp& warp) { warp.nameWarp(2, L"Dome \u2192"); }),
    sends<JsonWarp>("WarpInterface::deleteWarp", "[2]", [](JsonWarp& warp) { warp.deleteWarp(2); }),
    returns<JsonWarp>(
        "WarpInterface::previewAll", allParams, "5",
        [](JsonWarp& warp) {
            GeometryProxies p;
            return previewAll(warp, p);
        },
        5),
    returns<JsonWarp>(
        "WarpInterface::saveAll", allParams, "5",
        [](JsonWarp& warp) {
            GeometryProxies p;
            return saveAll(warp, p);
        },
        5),
    get("getHorizontalPreFilter", &JsonWarp::getHorizontalPreFilter),
    set("setHorizontalPreFilter", &JsonWarp::setHorizontalPreFilter),
    get("getVerticalPreFilter", &JsonWarp::getVerticalPreFilter),
    set("setVerticalPreFilter", &JsonWarp::setVerticalPreFilter),
    get("getLatency", &JsonWarp::getLatency),
    set("setLatency", &JsonWarp::setLatency),
    get("getWarpLocation", &JsonWarp::getWarpLocation),
    set("selectWarp", &JsonWarp::selectWarp),
    get("getMapControl", &JsonWarp::getMapControl),
    set("setMapControl", &JsonWarp::setMapControl),
    get("getSharpness", &JsonWarp::getSharpness),
    set("setSharpness", &JsonWarp::setSharpness),
    returns<JsonWarp>(
        "WarpInterface::doesQuellSupportCurrentWarpFormat", "[]", "true",
        [](JsonWarp& warp) { return warp.doesQuellSupportCurrentWarpFormat(); }, true),
    xml("getWarpXmlFromProjector", &JsonWarp::getWarpXmlFromProjector),
    xml("getBlendXmlFromProjector", &JsonWarp::getBlendXmlFromProjector),
    stays<JsonWarp>("getWarpMemLocRange",
                    [](JsonWarp& warp) { EXPECT_EQ(warp.getWarpMemLocRange(), std::make_pair(1, 4)); }),
    list("getWarpNamesAndLocations", &JsonWarp::getWarpNamesAndLocations),
    list("getBlendNamesAndLocations", &JsonWarp::getBlendNamesAndLocations),
    // The older protocol moves what is selected and reported, and nothing else.
    named(sends<JsonWarpV1>("WarpInterface::selectWarp", "[3]", [](JsonWarpV1& warp) { warp.selectWarp(1); }),
          "JsonWarpV1 selectWarp"),
    named(returns<JsonWarpV1>(
              "WarpInterface::getWarpLocation", "[]", "3",
              [](JsonWarpV1& warp) { return warp.getWarpLocation(); }, 1),
          "JsonWarpV1 getWarpLocation"),
    named(returns<JsonWarpV1>(
              "WarpInterface::getWarpLocation", "[]", "-2147483648",
              [](JsonWarpV1& warp) { return warp.getWarpLocation(); }, 2147483646),
          "JsonWarpV1 getWarpLocation of the smallest number"),
    named(returns<JsonWarpV1>(
              "WarpInterface::saveWarp", "[2," + GeometryProxies::meshJson() + "]", "0",
              [](JsonWarpV1& warp) { return saveWarp(warp, true); }, 0),
          "JsonWarpV1 saveWarp"),
    named(sends<JsonWarpV1>("WarpInterface::nameWarp", R"([2,"n"])",
                            [](JsonWarpV1& warp) { warp.nameWarp(2, L"n"); }),
          "JsonWarpV1 nameWarp"),
    named(sends<JsonWarpV1>("WarpInterface::deleteWarp", "[2]", [](JsonWarpV1& warp) { warp.deleteWarp(2); }),
          "JsonWarpV1 deleteWarp"),
    named(returns<JsonWarpV1>(
              "WarpInterface::previewWarp", GeometryProxies::params("3"), "7",
              [](JsonWarpV1& warp) {
                  GeometryProxies p;
                  return warp.previewWarp(3, &p.mesh, &p.mask, &p.screenMask, &p.blend, &p.bu);
              },
              7),
          "JsonWarpV1 previewWarp"),
    named(returns<JsonWarpV1>(
              "WarpInterface::getWarpXmlFromProjector", "[2]", R"("x")",
              [](JsonWarpV1& warp) { return warp.getWarpXmlFromProjector(2); }, std::wstring(L"x")),
          "JsonWarpV1 getWarpXmlFromProjector"),
    stays<JsonWarpV1>("JsonWarpV1 getWarpMemLocRange",
                      [](JsonWarpV1& warp) { EXPECT_EQ(warp.getWarpMemLocRange(), std::make_pair(1, 4)); }),
});

TEST(JsonWarp, ASecondListReplacesTheFirstBehindItsReference) {
    ScriptedCommunicator device;
    JsonWarp warp(&device);
    device.expectAny().reply(R"({"id":1,"result":[{"first":1,"second":"a"}]})");
    const Items& names = warp.getWarpNamesAndLocations();
    EXPECT_EQ(names, (Items{{1, L"a"}}));
    device.expectAny().reply(R"({"id":2,"result":[{"first":2,"second":"b"},{"first":3,"second":"c"}]})");
    warp.getWarpNamesAndLocations();
    EXPECT_EQ(names, (Items{{2, L"b"}, {3, L"c"}}));
    device.expectAny().reply(R"({"id":3,"result":[{"first":9,"second":"blend"}]})");
    EXPECT_EQ(warp.getBlendNamesAndLocations(), (Items{{9, L"blend"}}));
    EXPECT_EQ(names, (Items{{2, L"b"}, {3, L"c"}}));
}

TEST(JsonWarp, AFailedListLeavesThePreviousOne) {
    ScriptedCommunicator device;
    JsonWarp warp(&device);
    device.expectAny().reply(R"({"id":1,"result":[{"first":1,"second":"a"}]})");
    const Items& names = warp.getWarpNamesAndLocations();
    for (const char* reply :
         {R"({"id":2,"result":null})", R"({"id":3,"error":"busy"})", R"({"id":4,"result":[{"first":1}]})"}) {
        device.expectAny().reply(reply);
        EXPECT_THROW(warp.getWarpNamesAndLocations(), KorvanParseException);
        EXPECT_EQ(names, (Items{{1, L"a"}}));
    }
}

/// The segments of each call of onSegments, and whether onMessage was called.
struct Evaluation {
    std::vector<std::vector<WarpLineSegment>> calls;
    bool message = false;
};

Evaluation evaluate(MeshProxy& mesh, int ticket, volatile int* current) {
    ScriptedCommunicator device;
    JsonWarp warp(&device);
    Evaluation result;
    warp.evaluateWarp(
        &mesh, [&](std::vector<WarpLineSegment> segments) { result.calls.push_back(std::move(segments)); },
        [&](const std::wstring&) { result.message = true; }, ticket, current);
    return result;
}

TEST(JsonWarp, EvaluationTellsOnceWhatItFoundAndSendsNothing) {
    volatile int ticket = 5;
    SimpleMeshProxy identity(L"", Mesh(1920, 1080, 5, 5));
    const Evaluation none = evaluate(identity, 5, &ticket);
    ASSERT_EQ(none.calls.size(), 1u);
    EXPECT_TRUE(none.calls[0].empty());
    EXPECT_FALSE(none.message);

    Mesh mirrored(1600, 1600, 2, 2);
    for (int row = 0; row < 2; ++row) {
        mirrored.setControlPoint(0, row, {1600, 1600.0F * static_cast<float>(row)});
        mirrored.setControlPoint(1, row, {0, 1600.0F * static_cast<float>(row)});
    }
    SimpleMeshProxy mirror(L"", mirrored);
    const Evaluation all = evaluate(mirror, 5, &ticket);
    ASSERT_EQ(all.calls.size(), 1u);
    EXPECT_EQ(all.calls[0].size(), 17u * 50 + 17u * 50);
    EXPECT_FALSE(all.message);
}

TEST(JsonWarp, ACancelledEvaluationTellsNothing) {
    volatile int ticket = 6;
    SimpleMeshProxy identity(L"", Mesh(1920, 1080, 5, 5));
    const Evaluation result = evaluate(identity, 5, &ticket);
    EXPECT_TRUE(result.calls.empty());
    EXPECT_FALSE(result.message);
}

TEST(JsonWarp, EvaluationNeedsNoListenerButAMesh) {
    ScriptedCommunicator device;
    JsonWarp warp(&device);
    volatile int ticket = 5;
    SimpleMeshProxy identity(L"", Mesh(1920, 1080, 5, 5));
    EXPECT_NO_THROW(warp.evaluateWarp(&identity, nullptr, nullptr, 5, &ticket));
    EXPECT_THROW(warp.evaluateWarp(nullptr, nullptr, nullptr, 5, &ticket), KorvanExceptionRuntime);
}

TEST(JsonWarp, LongOperationsAreTimed) {
    std::vector<std::string> timers;
    Instrumentation::setListener(
        [&](const Instrumentation::Report& report) { timers.emplace_back(report.timer); });
    GeometryProxies p;
    ScriptedCommunicator device;
    JsonWarp warp(&device);
    volatile int ticket = 0;
    for (int id = 1; id <= 5; ++id) {
        device.expectAny().reply("{\"id\":" + std::to_string(id) + ",\"result\":1}");
    }
    warp.previewWarp(1, &p.mesh, &p.mask, &p.screenMask, &p.blend, &p.bu);
    warp.saveWarp(1, &p.mesh, false);
    warp.evaluateWarp(&p.mesh, nullptr, nullptr, 0, &ticket);
    warp.showWarp();
    previewAll(warp, p);
    saveAll(warp, p);
    Instrumentation::setListener({});
    EXPECT_EQ(timers, (std::vector<std::string>{"JsonWarp::previewWarp", "JsonWarp::saveWarp",
                                                "JsonWarp::evaluateWarp", "JsonWarp::showWarp",
                                                "JsonWarp::previewAll", "JsonWarp::saveAll"}));
}

}  // namespace
