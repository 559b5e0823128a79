#include <string>
#include <vector>

#include "DeviceManager/JsonDevice/JsonExceptions.h"
#include "DeviceManager/JsonDevice/JsonIG.h"
#include "Tests/Library/GeometryProxies.h"
#include "Tests/Library/ManualClock.h"
#include "Tests/Library/OperationRows.h"
#include "Tests/Support/LogCapture.h"
#include "Tests/Support/ScriptedCommunicator.h"

namespace {

using namespace OperationRows;
using JsonDevice::JsonIG;

bool addContent(JsonIG& ig) {
    JsonDevice::SimpleIGContentProxy content(L"sky", L"<c/>", nullptr);
    return ig.addContent(L"Sky \u2192", &content);
}

const Table table({
    returns<JsonIG>("IGInterface::addContent", R"(["Sky \u2192",{"image":null,"name":"sky","xml":"<c/>"}])",
                    "true", addContent, true),
    returns<JsonIG>(
        "IGInterface::selectContent", R"(["Sky"])", "false",
        [](JsonIG& ig) { return ig.selectContent(L"Sky"); }, false),
});

TEST(JsonIG, AddingIsLoggedWithItsTime) {
    ManualClock clock;
    const LogCapture log("DeviceManager.JsonDevice.JsonIG");
    ScriptedCommunicator device;
    JsonIG ig(&device);
    device.onTimeOut([&](int) { clock.advance(7); });
    device.expectAny().timeOut().reply(R"({"id":1,"result":true})");
    EXPECT_TRUE(addContent(ig));
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"DEBUG JsonIG::addContent Begin",
                                                     "DEBUG JsonIG::addContent save done in 7 ms"}));
}

TEST(JsonIG, FailedAddingIsNotLoggedAsDone) {
    const LogCapture log("DeviceManager.JsonDevice.JsonIG");
    ScriptedCommunicator device;
    JsonIG ig(&device);
    device.expectAny().reply(R"({"id":1,"result":[]})");
    EXPECT_THROW(addContent(ig), KorvanParseException);
    EXPECT_EQ(log.lines(), (std::vector<std::string>{"DEBUG JsonIG::addContent Begin"}));
}

TEST(JsonIG, SelectingIsNotLogged) {
    const LogCapture log("DeviceManager.JsonDevice.JsonIG");
    ScriptedCommunicator device;
    JsonIG ig(&device);
    device.expectAny().reply(R"({"id":1,"result":true})");
    EXPECT_TRUE(ig.selectContent(L"Sky"));
    EXPECT_TRUE(log.lines().empty());
}

}  // namespace
