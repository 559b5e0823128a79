#include <gtest/gtest.h>

#include "DeviceManager/JsonDevice/JsonInterpreterMoc.h"
#include "Platform/Transport/DeviceExceptions.h"
#include "Tests/Support/ScriptedCommunicator.h"

namespace UnitTestJsonDevice {
namespace {

constexpr const char* file = "DeviceManager/JsonDevice/JsonInterpreterMoc";

DeviceMessage ok(int value) {
    return JsonInterpreterMoc::createResponse(value);
}

template <class Call>
void expectDeviceException(Call call, const std::wstring& text, int line) {
    try {
        call();
        ADD_FAILURE() << "no exception";
    } catch (const KorvanException& e) {
        EXPECT_NE(dynamic_cast<const DeviceException*>(&e), nullptr);
        EXPECT_NE(e.getMessage().find(text), std::wstring::npos);
        EXPECT_EQ(e.getFile(), file);
        if (line > 0) {
            EXPECT_EQ(e.getMessage(), text);
            EXPECT_EQ(e.getLine(), line);
        }
    }
}

TEST(JsonInterpreterMoc, WithoutAScriptNothingIsExpected) {
    JsonInterpreterMoc moc(true);
    expectDeviceException([&] { moc.getValue("power"); }, L"send(cmd) but no more commands expected", 83);
    EXPECT_EQ(moc.expectedSize(), 0);
    EXPECT_EQ(moc.receivedSize(), 0);
}

TEST(JsonInterpreterMoc, StrictOrderTakesTheFrontAndOnlyThat) {
    JsonInterpreterMoc moc(true);
    moc.addSequence(DeviceMessage("a"), ok(1), false);
    moc.addSequence(DeviceMessage("b"), ok(2), false);
    expectDeviceException([&] { moc.getValue("b"); }, L"Unexpected command in JsonCommunicatorMoc", 90);
    EXPECT_EQ(moc.expectedSize(), 2);
    EXPECT_EQ(moc.receivedSize(), 0);
    EXPECT_EQ(moc.getValue("a"), 1);
    EXPECT_EQ(moc.expectedSize(), 1);
    EXPECT_EQ(moc.getValue("b"), 2);
    expectDeviceException([&] { moc.getValue("b"); }, L"send(cmd) but no more commands expected", 83);
    EXPECT_EQ(moc.receivedSize(), 2);
}

TEST(JsonInterpreterMoc, FreeOrderAnswersAgainAndAgain) {
    JsonInterpreterMoc moc(false);
    moc.addSequence(DeviceMessage("a"), ok(1), false);
    moc.addSequence(DeviceMessage("b"), ok(2), false);
    moc.addSequence(DeviceMessage("b"), ok(3), false);
    EXPECT_EQ(moc.getValue("b"), 2);
    EXPECT_EQ(moc.getValue("b"), 2);
    EXPECT_EQ(moc.getValue("a"), 1);
    EXPECT_EQ(moc.expectedSize(), 3);
    expectDeviceException([&] { moc.getValue("c"); }, L"Unexpected command in JsonCommunicatorMoc", 90);
}

TEST(JsonInterpreterMoc, MatchesIdMethodCodeAndOnRequestParams) {
    JsonInterpreterMoc moc(false);
    moc.addSequence(DeviceMessage("a", 5), ok(1), true);
    moc.addSequence(DeviceMessage("a", 6), ok(2), false);
    EXPECT_EQ(moc.setValue("a", 5), 1);
    EXPECT_EQ(moc.setValue("a", 7), 2);  // the params of the second are not compared
    expectDeviceException([&] { moc.getValue("a"); }, L"Unexpected command in JsonCommunicatorMoc", 90);
    expectDeviceException([&] { moc.setValue("b", 5); }, L"Unexpected command in JsonCommunicatorMoc", 90);
    struct Numbered : DeviceMessage {
        using DeviceMessage::DeviceMessage;
        using DeviceMessage::setId;
    } numbered("a", 5);
    numbered.setId(9);
    expectDeviceException([&] { moc.sendMsg(static_cast<const DeviceMessage&>(numbered)); },
                          L"Unexpected command in JsonCommunicatorMoc", 90);
}

TEST(JsonInterpreterMoc, EveryFormOfSendingIsAnswered) {
    JsonInterpreterMoc moc(true);
    const auto expect = [&](const char* method, const char* code, int value) {
        DeviceMessage request(code);
        request.setMethod(method);
        moc.addSequence(request, ok(value), false);
    };
    expect("getAttributes", "a", 1);
    expect("getProperties", "a", 2);
    expect("m", "", 3);
    expect("m", "", 4);
    expect("m", "c", 5);
    expect("get", "c", 6);
    EXPECT_EQ(moc.getAttributes("a"), 1);
    EXPECT_EQ(moc.getProperties("a"), 2);
    EXPECT_EQ(moc.sendMethodMsg("m").getParams(), 3);
    EXPECT_EQ(moc.sendMethodMsgWithTimeout("m", 1, 5).getParams(), 4);
    EXPECT_EQ(moc.sendMsg("m", "c").getParams(), 5);
    EXPECT_EQ(moc.sendMsg("c").getParams(), 6);
    EXPECT_EQ(moc.getRequestMethod(), "get");
}

TEST(JsonInterpreterMoc, RemembersWhatItReceived) {
    JsonInterpreterMoc moc(false);
    EXPECT_TRUE(moc.getRequestParams().isNull());
    EXPECT_TRUE(moc.getRequestMethod().isNull());
    moc.addSequence(DeviceMessage("a", 0), ok(1), false);
    moc.addSequence(DeviceMessage("b"), ok(1), false);
    EXPECT_FALSE(moc.getResponseToMsg(DeviceMessage("a", 0)).answered);
    moc.setValue("a", 1);
    moc.setValue("a", 2);
    EXPECT_EQ(moc.getRequestParams()[1], 2);
    EXPECT_EQ(moc.getRequestMethod(), "set");
    const ResponseStruct response = moc.getResponseToMsg(DeviceMessage("a", 0));
    EXPECT_TRUE(response.answered);
    EXPECT_EQ(response.reply.getParams(), 1);
    EXPECT_EQ(response.lastParams[1], 2);
    ASSERT_EQ(response.allParams.size(), 2U);
    EXPECT_EQ(response.allParams[0][1], 1);
    moc.getValue("b");
    EXPECT_EQ(moc.receivedSize(), 3);
    EXPECT_EQ(moc.popLastReceivedMsg().getCode(), "b");
    EXPECT_EQ(moc.popNextReceivedMsg().getParamAt(1).asInt(), 1);
    EXPECT_EQ(moc.popNextReceivedMsg().getParamAt(1).asInt(), 2);
    expectDeviceException([&] { moc.popNextReceivedMsg(); }, L"no message was received", 0);
    expectDeviceException([&] { moc.popLastReceivedMsg(); }, L"no message was received", 0);
    expectDeviceException([&] { moc.getResponseToMsg(DeviceMessage("zz")); }, L"get(zz)", 0);
    moc.getValue("b");
    moc.clearSequences();
    EXPECT_EQ(moc.expectedSize(), 0);
    EXPECT_EQ(moc.receivedSize(), 0);
}

TEST(JsonInterpreterMoc, TriggeringReachesTheCallbacks) {
    JsonInterpreterMoc moc(true);
    int value = 0;
    moc.addCallback("lamp", [&](DeviceMessage m) { value = m.getParamAt(1).asInt(); });
    DeviceMessage change("lamp", 7);
    change.setMethod("notify");
    moc.addSequence(DeviceMessage(), change, false);
    moc.addSequence(DeviceMessage(), ok(9), false);
    moc.triggerSequence();
    EXPECT_EQ(value, 7);
    EXPECT_EQ(moc.expectedSize(), 1);
    moc.triggerSequence();  // no notification: nobody is told
    EXPECT_EQ(value, 7);
    expectDeviceException([&] { moc.triggerSequence(); }, L"no more sequences", 0);
}

TEST(JsonInterpreterMoc, WhatIsTriggeredLeavesTheScriptAfterTheCallbacks) {
    JsonInterpreterMoc moc(true);
    std::vector<int> sizes;
    bool clear = false;
    moc.addCallback("lamp", [&](const DeviceMessage&) {
        sizes.push_back(moc.expectedSize());
        if (clear) {
            moc.clearSequences();
        }
    });
    DeviceMessage change("lamp", 7);
    change.setMethod("notify");
    moc.addSequence(DeviceMessage(), change, false);
    moc.addSequence(DeviceMessage(), change, false);
    moc.triggerSequence();
    clear = true;
    moc.triggerSequence();
    EXPECT_EQ(sizes, (std::vector<int>{2, 1}));
    EXPECT_EQ(moc.expectedSize(), 0);
}

TEST(JsonInterpreterMoc, BypassedMethodsGoToTheDevice) {
    JsonInterpreterMoc moc(true);
    moc.addBypassMethod("getAttributes");
    EXPECT_TRUE(moc.getAttributes("a").isMember("error")) << "there is no device yet";
    ScriptedCommunicator device;
    device.expect(R"({"id":1,"jsonrpc":"2.0","method":"getAttributes","params":["a"]})")
        .reply(R"({"id":1,"result":"real"})");
    moc.setCommunicator(&device, true);
    EXPECT_EQ(moc.getAttributes("a"), "real");
    EXPECT_EQ(moc.receivedSize(), 0);
    expectDeviceException([&] { moc.getProperties("a"); }, L"send(cmd) but no more commands expected", 83);
    moc.removeAllBypassMethods();
    expectDeviceException([&] { moc.getAttributes("a"); }, L"send(cmd) but no more commands expected", 83);
}

TEST(JsonInterpreterMoc, Replies) {
    const DeviceMessage response = JsonInterpreterMoc::createResponse(5);
    EXPECT_EQ(response.getCode(), "result");
    EXPECT_EQ(response.getMethod(), "");
    EXPECT_EQ(response.getId(), 0);
    EXPECT_EQ(response.getParams(), 5);
    Json::Value v = 5;
    const DeviceMessage value = JsonInterpreterMoc::createValueResponse(v);
    EXPECT_EQ(value.getCode(), "result");
    EXPECT_EQ(value.getParams()["value"], 5);
    EXPECT_EQ(value.getParams().size(), 1U);
    const DeviceMessage error = JsonInterpreterMoc::createErrorResponse();
    EXPECT_TRUE(error.isResultError());
    EXPECT_EQ(error.getParams()["error"], true);
}

}  // namespace
}  // namespace UnitTestJsonDevice
