#include <chrono>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "DeviceManager/JsonDevice/JsonInterpreter.h"
#include "DeviceManager/JsonDevice/JsonRemote.h"
#include "Platform/Transport/TcpCommunicator.h"
#include "Simulator/Simulator.h"

namespace JsonDevice {

namespace {

/// Two hosts that speak in messages, and one that makes typed calls.
class InterpreterTest : public ::testing::Test {
protected:
    void listen(JsonInterpreter& interpreter, const std::string& code) {
        interpreter.addCallback(code, [this](DeviceMessage message) { told.push_back(message.getParams()); });
    }
    /// Polls until something was told.
    void await(JsonInterpreter& interpreter) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (told.empty() && std::chrono::steady_clock::now() < end) {
            interpreter.processMessages();
        }
    }
    static Json::Value pair(const std::string& code, const Json::Value& value) {
        Json::Value params(Json::arrayValue);
        params.append(code);
        params.append(value);
        return params;
    }

    // A clock that stands, so that nothing changes but by the test.
    struct Started : Simulator {
        Started() : Simulator({{}, [] { return std::chrono::steady_clock::time_point(); }}) { start(); }
    };
    Started simulator;
    TcpCommunicator line{simulator.getAddress()};
    TcpCommunicator otherLine{simulator.getAddress()};
    struct Interpreter : JsonInterpreter {
        using JsonInterpreter::JsonInterpreter;
        using JsonInterpreter::setReplyTimeout;
    };
    Interpreter interpreter{&line};
    JsonInterpreter other{&otherLine};
    std::vector<Json::Value> told;
};

TEST_F(InterpreterTest, GetsSetsAndAsks) {
    EXPECT_EQ(interpreter.getValue("power"), Json::Value(1));
    EXPECT_EQ(interpreter.setValue("power", 0), Json::Value(0));
    EXPECT_EQ(interpreter.getValue("power"), Json::Value(0));
    EXPECT_EQ(interpreter.getAttributes("power")["maximum"], Json::Value(1));
    EXPECT_EQ(interpreter.getProperties("lampHours")["methods"][0],
              Json::Value("StatusInterface::getLampHours"));
    EXPECT_EQ(interpreter.sendMethodMsg("StatusInterface::getModel").getParams(),
              Json::Value("Simulated projector"));
    for (const char* code : {"nonsense", ""}) {
        EXPECT_TRUE(interpreter.sendMsg(code).isResultError()) << code;
    }
    EXPECT_TRUE(interpreter.sendMsg("set", "power", 2).isResultError());
    EXPECT_TRUE(interpreter.sendMsg("set", "lampCounter", 2).isResultError());
}

TEST_F(InterpreterTest, IsToldOfAChange) {
    listen(interpreter, "power");
    EXPECT_EQ(interpreter.getValue("power"), Json::Value(1));
    EXPECT_EQ(other.setValue("power", 0), Json::Value(0));
    await(interpreter);
    EXPECT_EQ(told, std::vector{pair("power", 0)});
    // Not of its own.
    EXPECT_EQ(interpreter.setValue("power", 1), Json::Value(1));
    EXPECT_EQ(interpreter.getValue("power"), Json::Value(1));
    EXPECT_EQ(told.size(), 1U);
}

TEST_F(InterpreterTest, IsToldOfWhatATypedCallChanges) {
    listen(interpreter, "lastKey");
    EXPECT_EQ(interpreter.getValue("lastKey"), Json::Value(0));
    TcpCommunicator typedLine(simulator.getAddress());
    JsonRemote(&typedLine).sendKeyCode(33);
    await(interpreter);
    EXPECT_EQ(told, std::vector{pair("lastKey", 33)});
}

TEST_F(InterpreterTest, AHundredThousandNotificationsBeforeTheReplyArriveInOrderAndOnce) {
    constexpr int changes = 100'000;
    // All are read while the reply is waited for, which takes a sanitized build long.
    interpreter.setReplyTimeout(300'000);
    listen(interpreter, "projectorHours");
    EXPECT_EQ(interpreter.getValue("power"), Json::Value(1));
    for (int i = 0; i < changes; ++i) {
        simulator.getProjector().set("projectorHours", 10'000 + i);
    }
    EXPECT_EQ(interpreter.getValue("power"), Json::Value(1));
    ASSERT_EQ(told.size(), std::size_t{changes});
    for (int i = 0; i < changes; ++i) {
        ASSERT_EQ(told[static_cast<std::size_t>(i)], pair("projectorHours", 10'000 + i));
    }
}

}  // namespace

}  // namespace JsonDevice
