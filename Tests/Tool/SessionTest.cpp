#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/Support/ScriptedCommunicator.h"
#include "Tools/Console.h"
#include "Tools/MethodLookup.h"
#include "Tools/Session.h"
#include "Tools/TrafficCommunicator.h"

namespace {

using namespace Tool;
using testing::ElementsAre;
using testing::HasSubstr;

class SessionTest : public testing::Test {
protected:
    Failure refusal(const std::string& method) {
        Session session(device, frame);
        try {
            const Json::Value result = session.call(lookUpMethod(method), Json::Value(Json::arrayValue));
            ADD_FAILURE() << "answered " << result.toStyledString();
        } catch (const FailureException& e) {
            return e.get();
        }
        return {};
    }

    void SetUp() override { JsonDevice::Vocabulary::registerAllTypes(); }

    Console console;
    Diagnostics diagnostics{console};
    Session::Frame frame{console, diagnostics, {}};
    ScriptedCommunicator device{L"tcp://p\x1b:1"};
};

TEST_F(SessionTest, ReturnsTheResult) {
    device.expectAny().reply(R"({"id":1,"result":[7,8]})");
    Session session(device, frame);
    const Json::Value result = session.call(lookUpMethod("getLampHours"), Json::Value(Json::arrayValue));
    EXPECT_EQ(result.size(), 2u);
    EXPECT_EQ(result[1].asInt(), 8);
}

TEST_F(SessionTest, AMethodWithoutAResultTakesAny) {
    for (const char* reply : {R"({"id":1,"result":null})", R"({"id":1})", R"({"id":1,"result":"x"})"}) {
        device.expectAny().reply(reply);
        Session session(device, frame);
        EXPECT_NO_THROW(session.call(lookUpMethod("sendOSD"), Json::Value(Json::arrayValue)));
    }
}

TEST_F(SessionTest, ShowsAnErrorReplyAsCodeAndMessage) {
    device.expectAny().reply(R"({"id":1,"error":{"code":-5,"message":"no\u001b lamp","data":{"n":1}}})");
    const Failure failure = refusal("getLampHours");
    EXPECT_EQ(failure.status, ExitStatus::deviceError);
    EXPECT_EQ(failure.code, -5);
    EXPECT_EQ(failure.data["n"].asInt(), 1);
    EXPECT_EQ(failure.message, R"(tcp://p\x1b:1: the device answered with error -5: no\x1b lamp ({"n":1}))");
}

TEST_F(SessionTest, AnErrorOfAnyShapeIsOne) {
    device.expectAny().reply(R"({"id":1,"error":"broken"})");
    EXPECT_THAT(refusal("getLampHours").message, HasSubstr("the device answered with error: broken"));
    device.verify();
    device.expectAny().reply(R"({"id":1,"error":null})");
    EXPECT_THAT(refusal("getLampHours").message, HasSubstr("the device answered with error"));
}

TEST_F(SessionTest, AResultOfAnotherTypeBreaksTheProtocol) {
    for (const char* result : {"5", "null", "\"x\"", "{}", "[\"x\"]", "[99999999999]"}) {
        device.expectAny().reply(std::string(R"({"id":1,"result":)") + result + "}");
        const Failure failure = refusal("getLampHours");
        EXPECT_EQ(failure.status, ExitStatus::brokenProtocol) << result;
        EXPECT_THAT(failure.message, HasSubstr("is not [whole number, ...]")) << result;
    }
}

TEST_F(SessionTest, WhatIsNoReplyBreaksTheProtocol) {
    for (const char* reply : {"garbage\x1b[31m", "[1]", R"({"result":1})", R"({"id":99,"result":1})"}) {
        device.expectAny().reply(reply);
        const Failure failure = refusal("getLampCounter");
        EXPECT_EQ(failure.status, ExitStatus::brokenProtocol) << reply;
        EXPECT_EQ(failure.message.find('\x1b'), std::string::npos);
        EXPECT_EQ(failure.message.find("[tcp"), std::string::npos) << failure.message;
    }
}

TEST_F(SessionTest, SilenceTimesOut) {
    frame.timeout = 1;
    device.expectAny().silence();
    const Failure failure = refusal("getLampCounter");
    EXPECT_EQ(failure.status, ExitStatus::timedOut);
    EXPECT_EQ(failure.message, "tcp://p\\x1b:1: no reply within 0.001 s");
}

TEST_F(SessionTest, ALostConnectionIsNotACannotConnect) {
    device.expectAny().lose();
    const Failure failure = refusal("getLampCounter");
    EXPECT_EQ(failure.status, ExitStatus::notConnected);
    EXPECT_THAT(failure.message, HasSubstr("lost the connection to tcp://p"));
}

TEST_F(SessionTest, DocumentsSayWhichDevice) {
    EXPECT_EQ(document("", Answer{"", 5})["result"].asInt(), 5);
    EXPECT_FALSE(document("", Answer{}).isMember("device"));
    const Json::Value failed = document("a", Failure{ExitStatus::timedOut, "late"});
    EXPECT_EQ(failed["device"].asString(), "a");
    EXPECT_EQ(failed["error"]["kind"].asString(), "timeout");
    EXPECT_EQ(failed["error"]["exitStatus"].asInt(), 4);
    EXPECT_FALSE(failed["error"].isMember("code"));
}

TEST_F(SessionTest, PrefixesEveryLine) {
    EXPECT_EQ(prefixLines("a", "1\n2\n"), "a  1\na  2\n");
    EXPECT_EQ(prefixLines("a", ""), "");
    EXPECT_EQ(prefixLines("a", "1"), "a  1");
}

TEST(TrafficCommunicatorTest, ShowsRecordsWholeShortAndSafe) {
    ScriptedCommunicator device;
    device.expect("request").bytes("one").bytes(std::string("\x1b\n\0two", 6)).bytes(std::string("\0", 1));
    device.expectAny().reply(std::string(100000, 'x'));
    std::vector<std::string> lines;
    TrafficCommunicator traffic(device, [&](const std::string& line) { lines.push_back(line); });
    traffic.beginExchange();
    traffic.write("request\n", 9, 1, 1);
    char buffer[65536];
    for (int i = 0; i < 3; ++i) {
        traffic.read(buffer, sizeof buffer, 1, 1);
    }
    traffic.write("x\n", 3, 1, 1);
    for (int got = 0; got < 100001;) {
        got += traffic.read(buffer, sizeof buffer, 1, 1);
    }
    ASSERT_EQ(lines.size(), 5u);
    EXPECT_EQ(lines[0], "--> request");
    EXPECT_EQ(lines[1], "<-- one\\x1b");
    EXPECT_EQ(lines[2], "<-- two");
    EXPECT_THAT(lines[4], HasSubstr("... (100000 bytes)"));
    EXPECT_LT(lines[4].size(), 450u);
}

}  // namespace
