#include <atomic>
#include <chrono>
#include <functional>
#include <latch>
#include <limits>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/resource.h>

#include "Common/Exceptions.h"
#include "DeviceManager/JsonDevice/JsonExceptions.h"
#include "DeviceManager/JsonDevice/JsonInterpreter.h"
#include "DeviceManager/JsonDevice/JsonText.h"
#include "Platform/Transport/DeviceExceptions.h"
#include "Tests/Library/ManualClock.h"
#include "Tests/Support/CapturedOutput.h"
#include "Tests/Support/LogCapture.h"
#include "Tests/Support/ScriptedCommunicator.h"

namespace JsonDevice {
namespace {

constexpr const char* loggerName = "DeviceManager.JsonDevice.JsonInterpreter";

/// Opens what is for derived classes.
class OpenInterpreter : public JsonInterpreter {
public:
    using JsonInterpreter::emitMessage;
    using JsonInterpreter::getReplyTimeout;
    using JsonInterpreter::JsonInterpreter;
    using JsonInterpreter::sendAndGetReply;
    using JsonInterpreter::setReplyTimeout;
};

std::string request(int id, const std::string& method, const std::string& params) {
    return R"({"id":)" + std::to_string(id) + R"(,"jsonrpc":"2.0","method":")" + method + R"(","params":)" +
           params + "}";
}

std::string reply(int id, const std::string& result) {
    return R"({"id":)" + std::to_string(id) + R"(,"jsonrpc":"2.0","result":)" + result + "}";
}

std::string notification(const std::string& code, int value) {
    return R"({"jsonrpc":"2.0","method":"notify","params":[")" + code + "\"," + std::to_string(value) + "]}";
}

Json::Value json(const std::string& text) {
    Json::Value value;
    EXPECT_TRUE(JsonText::read(text, value)) << text;
    return value;
}

class JsonInterpreterTest : public testing::Test {
protected:
    JsonInterpreterTest() {
        device.onTimeOut([this](int timeoutMs) {
            waits.push_back(timeoutMs);
            clock.advance(timeoutMs);
        });
    }
    /// Keeps the values of the notifications about a code.
    JsonInterpreter::iterator keep(const std::string& key, std::vector<int>& values) {
        return interpreter.addCallback(
            key, [&values](DeviceMessage m) { values.push_back(m.getParamAt(1).asInt()); });
    }

    ManualClock clock;
    std::vector<int> waits;
    ScriptedCommunicator device{L"lab"};
    OpenInterpreter interpreter{&device};
};

TEST_F(JsonInterpreterTest, TheFourRequestsAndTheirParams) {
    device.expect(request(1, "get", R"(["gamma"])")).reply(reply(1, "[\"gamma\",2.2]"));
    EXPECT_EQ(interpreter.getValue("gamma"), json("[\"gamma\",2.2]"));
    device.expect(request(2, "set", R"(["gamma",5])")).reply(reply(2, "true"));
    EXPECT_EQ(interpreter.setValue("gamma", 5), true);
    device.expect(request(3, "getAttributes", R"(["gamma"])")).reply(reply(3, "{}"));
    EXPECT_EQ(interpreter.getAttributes("gamma"), json("{}"));
    device.expect(request(4, "getProperties", R"(["gamma"])")).reply(reply(4, "[1]"));
    EXPECT_EQ(interpreter.getProperties("gamma"), json("[1]"));
    device.expect(request(5, "set", R"({"a":1})")).reply(reply(5, "0"));
    EXPECT_EQ(interpreter.setValue("gamma", json(R"({"a":1})")), 0);
}

TEST_F(JsonInterpreterTest, AllFormsOfSending) {
    device.expect(request(1, "get", R"(["c"])")).reply(reply(1, "1"));
    EXPECT_EQ(interpreter.sendMsg("c").getParams(), 1);
    device.expect(request(2, "m", R"(["c"])")).reply(reply(2, "2"));
    EXPECT_EQ(interpreter.sendMsg("m", "c").getId(), 2);
    device.expect(request(3, "m", R"(["c",[1]])")).reply(reply(3, "3"));
    DeviceMessage listed("c", 0);
    listed.setMethod("m");
    listed.setParams(json(R"(["c",[1]])"));
    EXPECT_EQ(interpreter.sendMsg(listed).getParams(), 3);
    device.expect(request(4, "m", R"(["c","x"])")).reply(reply(4, "4"));
    EXPECT_EQ(interpreter.sendMsg("m", "c", "x").getParams(), 4);
    device.expect(request(5, "m", R"([""])")).reply(reply(5, "5"));
    EXPECT_EQ(interpreter.sendMethodMsg("m").getParams(), 5);
    device.expect(request(6, "m", "[1,2]")).reply(reply(6, "6"));
    EXPECT_EQ(interpreter.sendMethodMsg("m", json("[1,2]")).getParams(), 6);
    DeviceMessage a("a");
    DeviceMessage b("b", 1);
    std::vector<DeviceMessage*> batch{&a, &b};
    device.expect(request(7, "get", R"(["a"])")).reply(R"({"id":7,"error":{}})");
    device.expect(request(8, "set", R"(["b",1])")).reply(reply(8, "0"));
    interpreter.sendBatchMessage(&batch);
}

TEST_F(JsonInterpreterTest, NotificationsBeforeBetweenAndAfterReplies) {
    std::vector<int> values;
    keep("lamp", values);
    device.expectAny()
        .reply(notification("lamp", 1))
        .reply(notification("other", 9))
        .reply(notification("lamp", 2));
    device.reply(reply(1, "\"mine\"")).reply(notification("lamp", 3));
    EXPECT_EQ(interpreter.sendMsg("c").getParams(), "mine");
    EXPECT_EQ(values, (std::vector<int>{1, 2}));
    device.expectAny().reply(reply(2, "\"mine too\""));
    EXPECT_EQ(interpreter.sendMsg("c").getParams(), "mine too");
    EXPECT_EQ(values, (std::vector<int>{1, 2, 3}));
}

TEST_F(JsonInterpreterTest, PollingReadsOneMessageIn50Milliseconds) {
    std::vector<int> values;
    keep("lamp", values);
    device.expectAny().reply(reply(1, "0")).reply(notification("lamp", 4)).timeOut();
    interpreter.sendMsg("c");
    interpreter.processMessages();
    EXPECT_EQ(values, std::vector<int>{4});
    interpreter.processMessages();
    EXPECT_EQ(values, std::vector<int>{4});
    EXPECT_EQ(waits, std::vector<int>{50});
}

TEST_F(JsonInterpreterTest, WhichCallbacksAMessageReaches) {
    std::vector<std::string> called;
    for (const char* const key : {"lamp", "lampNotify", "onnotifyme", "notify", "set", ""}) {
        interpreter.addCallback(key, [&called, key](const DeviceMessage&) { called.emplace_back(key); });
    }
    const auto emit = [&](const std::string& method) {
        called.clear();
        DeviceMessage m("lamp", 1);
        m.setMethod(method);
        interpreter.emitMessage(m);
        return called;
    };
    EXPECT_EQ(emit("notify"), std::vector<std::string>{"lamp"});
    EXPECT_EQ(emit("lampNotify"), std::vector<std::string>{"lampNotify"});
    EXPECT_EQ(emit("onnotifyme"), std::vector<std::string>{"onnotifyme"});
    EXPECT_TRUE(emit("set").empty());
    EXPECT_TRUE(emit("").empty());
    EXPECT_TRUE(emit("NOTIFY").empty());
    interpreter.setEmitMessages(false);
    EXPECT_TRUE(emit("notify").empty());
    interpreter.setEmitMessages(true);
    EXPECT_EQ(emit("notify").size(), 1U);
}

TEST_F(JsonInterpreterTest, NotificationsThatAreNotWantedAreReadAndDropped) {
    std::vector<int> values;
    keep("lamp", values);
    interpreter.setEmitMessages(false);
    device.expectAny().reply(notification("lamp", 1)).reply(reply(1, "5"));
    EXPECT_EQ(interpreter.sendMsg("c").getParams(), 5);
    EXPECT_TRUE(values.empty());
}

TEST_F(JsonInterpreterTest, EqualKeysAreCalledInOrderEachWithACopy) {
    std::string order;
    for (const char name : {'a', 'b', 'c'}) {
        interpreter.addCallback("lamp", [&order, name](DeviceMessage m) {
            order += name;
            EXPECT_EQ(m.getParamAt(1).asInt(), 1);
            m.setParams(99);
        });
    }
    interpreter.emitMessage([] {
        DeviceMessage m("lamp", 1);
        m.setMethod("notify");
        return m;
    }());
    EXPECT_EQ(order, "abc");
}

TEST_F(JsonInterpreterTest, ACallbackMayRemoveItselfAndOthersAndAddSome) {
    int first = 0;
    int second = 0;
    int added = 0;
    JsonInterpreter::iterator firstEntry;
    JsonInterpreter::iterator secondEntry;
    firstEntry = interpreter.addCallback("lamp", [&](const DeviceMessage&) {
        ++first;
        interpreter.removeCallback(firstEntry);
        interpreter.removeCallback(secondEntry);
        interpreter.addCallback("lamp", [&](const DeviceMessage&) { ++added; });
    });
    secondEntry = interpreter.addCallback("lamp", [&](const DeviceMessage&) { ++second; });
    device.expectAny().reply(notification("lamp", 1)).reply(notification("lamp", 2)).reply(reply(1, "0"));
    interpreter.sendMsg("c");
    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 0);
    EXPECT_EQ(added, 1);
}

TEST_F(JsonInterpreterTest, ACallbackThatAddsItselfAgainJoinsFromTheNextMessageOn) {
    int calls = 0;
    std::function<void(DeviceMessage)> again = [&](const DeviceMessage&) {
        ++calls;
        interpreter.addCallback("lamp", again);
    };
    interpreter.addCallback("lamp", again);
    device.expectAny().reply(notification("lamp", 1)).reply(notification("lamp", 2)).reply(reply(1, "0"));
    interpreter.sendMsg("c");
    EXPECT_EQ(calls, 1 + 2);
}

TEST_F(JsonInterpreterTest, ACallbackMaySendARequestOfItsOwn) {
    Json::Value inner;
    std::vector<int> values;
    interpreter.addCallback("lamp", [&](const DeviceMessage&) { inner = interpreter.getValue("hours"); });
    keep("other", values);
    device.expect(request(1, "get", R"(["c"])")).reply(notification("lamp", 1));
    device.expect(request(2, "get", R"(["hours"])"))
        .reply(notification("other", 7))
        .reply(reply(2, "120"))
        .reply(reply(1, "\"outer\""));
    EXPECT_EQ(interpreter.sendMsg("c").getParams(), "outer");
    EXPECT_EQ(inner, 120);
    EXPECT_EQ(values, std::vector<int>{7});
}

TEST_F(JsonInterpreterTest, ACallbacksRequestLosesNoReplyThatWasAskedForBefore) {
    Json::Value inner;
    const auto entry =
        interpreter.addCallback("lamp", [&](const DeviceMessage&) { inner = interpreter.getValue("hours"); });
    // The device answers in the order of the requests.
    device.expect(request(1, "get", R"(["c"])")).reply(notification("lamp", 1));
    device.expect(request(2, "get", R"(["hours"])")).reply(reply(1, "\"outer\"")).reply(reply(2, "120"));
    EXPECT_EQ(interpreter.sendMsg("c").getParams(), "outer");
    EXPECT_EQ(inner, 120);
    device.expect(request(3, "get", R"(["c"])")).reply(notification("lamp", 2));
    device.expect(request(4, "get", R"(["hours"])"))
        .reply(R"({"id":3,"error":{"code":1}})")
        .reply(reply(4, "121"));
    EXPECT_TRUE(interpreter.sendMsg("c").isResultError());
    EXPECT_EQ(inner, 121);
    interpreter.removeCallback(entry);
    // A callback that polls takes no reply away either.
    interpreter.addCallback("lamp", [&](const DeviceMessage&) { interpreter.processMessages(); });
    device.expectAny().reply(notification("lamp", 3)).reply(reply(5, "\"polled\""));
    EXPECT_EQ(interpreter.sendMsg("c").getParams(), "polled");
    EXPECT_TRUE(waits.empty());
}

TEST_F(JsonInterpreterTest, AnErrorForNobodyFailsTheRequestThatReadsIt) {
    device.expectAny().reply(R"({"id":99,"error":{}})");
    EXPECT_THROW(interpreter.sendAndGetReply(DeviceMessage("c"), 100), ErrorReplyException);
    device.expectAny().reply(R"({"id":null,"error":{}})");
    EXPECT_THROW(interpreter.sendAndGetReply(DeviceMessage("c"), 100), ErrorReplyException);
}

TEST_F(JsonInterpreterTest, AnIdMatchesByItsValue) {
    device.expectAny().reply(R"({"id":"1","result":5})").reply(R"({"id":1.0,"result":6})");
    EXPECT_EQ(interpreter.sendMsg("c").getParams(), 6);
}

TEST_F(JsonInterpreterTest, AWaitThatNoReadCanTakeIsTheLongestOne) {
    device.expectAny().timeOut().reply(reply(1, "5"));
    EXPECT_EQ(interpreter.sendMethodMsgWithTimeout("m", 1, 4294967295U).getParams(), 5);
    EXPECT_EQ(waits, std::vector<int>{std::numeric_limits<int>::max()});
}

TEST_F(JsonInterpreterTest, TheLargestMessageStaysWhenTheCommunicatorChanges) {
    interpreter.setLargestMessage(100);
    ScriptedCommunicator other;
    interpreter.setCommunicator(&other, true);
    other.expectAny().reply(reply(1, "\"" + std::string(100, 'x') + "\""));
    EXPECT_TRUE(interpreter.sendMsg("c").isResultError());
}

TEST_F(JsonInterpreterTest, WhatACallbackThrowsReachesThePollerAndLeavesTheInterpreterUsable) {
    bool fail = true;
    int calls = 0;
    interpreter.addCallback("lamp", [&](const DeviceMessage&) {
        ++calls;
        if (fail) {
            throw std::runtime_error("callback");
        }
    });
    device.expectAny().reply(notification("lamp", 1)).reply(notification("lamp", 2));
    EXPECT_TRUE(interpreter.sendMsg("c").isResultError());
    EXPECT_THROW(interpreter.processMessages(), std::runtime_error);
    fail = false;
    device.expectAny().reply(notification("lamp", 3)).reply(reply(2, "1"));
    EXPECT_EQ(interpreter.sendMsg("c").getParams(), 1);
    EXPECT_EQ(calls, 3);
}

TEST_F(JsonInterpreterTest, AnEmptyCallbackRaisesBadFunctionCall) {
    interpreter.addCallback("lamp", nullptr);
    DeviceMessage m("lamp", 1);
    m.setMethod("notify");
    EXPECT_THROW(interpreter.emitMessage(m), std::bad_function_call);
}

TEST_F(JsonInterpreterTest, NoReplyInTime) {
    LogCapture log(loggerName, log4cxx::Level::getInfo());
    const CapturedOutput output;
    device.expectAny().silence();
    const DeviceMessage error = interpreter.sendMsg("c");
    EXPECT_TRUE(error.isResultError());
    EXPECT_EQ(error.getCode(), "error");
    EXPECT_EQ(error.getParams(), json(R"({"error":true})"));
    EXPECT_EQ(waits, std::vector<int>{10000});
    EXPECT_EQ(log.lines(),
              std::vector<std::string>{"WARN [lab]JsonInterpreter::sendMsg() Timedout Exception 'get(c)'"});
    EXPECT_EQ(output.text(), "");
    device.expectAny().silence();
    try {
        interpreter.sendAndGetReply(DeviceMessage("c"), 300);
        FAIL();
    } catch (const KorvanTimedOutException& e) {
        EXPECT_EQ(e.getMessage(), L"[lab]JsonConnection read line timed out");
        EXPECT_EQ(e.getFile(), "DeviceManager/JsonDevice/JsonInterpreter");
    }
    EXPECT_EQ(waits.back(), 300);
}

TEST_F(JsonInterpreterTest, NotificationsDoNotPutTheDeadlineOff) {
    std::vector<int> values;
    keep("lamp", values);
    device.onTimeOut([this](int) { clock.advance(400); });
    device.expectAny();
    for (int i = 0; i < 3; ++i) {
        device.timeOut().reply(notification("lamp", i));
    }
    EXPECT_THROW(interpreter.sendAndGetReply(DeviceMessage("c"), 1000), KorvanTimedOutException);
    EXPECT_EQ(values.size(), 3U);
}

TEST_F(JsonInterpreterTest, ATimeOutOfZeroWaitsWithoutLimit) {
    device.onTimeOut([this](int timeoutMs) {
        waits.push_back(timeoutMs);
        clock.advance(1000000);
    });
    device.expectAny().timeOut().reply(notification("lamp", 1)).timeOut().reply(reply(1, "5"));
    EXPECT_EQ(interpreter.sendAndGetReply(DeviceMessage("c"), 0).getParams(), 5);
    EXPECT_EQ(waits, (std::vector<int>{0, 0}));
}

TEST_F(JsonInterpreterTest, TheReplyTimeoutThatWasSet) {
    interpreter.setReplyTimeout(700);
    device.expectAny().silence();
    interpreter.sendMsg("c");
    EXPECT_EQ(waits, std::vector<int>{700});
    interpreter.setReplyTimeout(0);
    waits.clear();
    device.expectAny().silence();
    EXPECT_TRUE(interpreter.sendMethodMsgWithTimeout("m", 1, 250).isResultError());
    EXPECT_EQ(waits, std::vector<int>{250});
    EXPECT_EQ(interpreter.getReplyTimeout(), 0U);
    device.expectAny().silence();
    interpreter.sendMsg("c");
    EXPECT_EQ(waits.back(), 10000);
}

TEST(JsonInterpreterTimeout, IsBackAtZeroWhenAnExceptionPasses) {
    struct Throwing : OpenInterpreter {
        using OpenInterpreter::OpenInterpreter;
        using OpenInterpreter::sendMsg;
        DeviceMessage sendMsg(const DeviceMessage&) override {
            EXPECT_EQ(getReplyTimeout(), 250U);
            throw std::runtime_error("derived");
        }
    } interpreter(nullptr);
    EXPECT_THROW(interpreter.sendMethodMsgWithTimeout("m", 1, 250), std::runtime_error);
    EXPECT_EQ(interpreter.getReplyTimeout(), 0U);
}

/// Runs a request that ends in what `raise` throws, and returns what was logged and printed.
struct Failure {
    std::vector<std::string> log;
    std::string output;
};

template <class Raise>
Failure failWith(Raise raise) {
    struct Raising : Communicator {
        std::function<void()> raise;
        std::wstring getDisplayName() const override { return L"lab"; }
        int read(char*, int, int, int) override { return 0; }
        int write(const char*, std::size_t, int, int) override {
            raise();
            return 0;
        }
    } device;
    device.raise = raise;
    JsonInterpreter interpreter(&device);
    LogCapture log(loggerName, log4cxx::Level::getInfo());
    const CapturedOutput output;
    EXPECT_TRUE(interpreter.sendMsg("m", "c").isResultError());
    return {log.lines(), output.text()};
}

TEST(JsonInterpreterFailures, EveryExceptionIsLoggedAndPrintedInItsOwnWay) {
    const std::string opening = "[lab]JsonInterpreter::sendMsg() ";
    Failure f = failWith([] { throw KorvanTimedOutException(L"slow"); });
    EXPECT_EQ(f.log, std::vector<std::string>{"WARN " + opening + "Timedout Exception 'm(c)'"});
    EXPECT_EQ(f.output, "");

    f = failWith([] { throw DeviceTimedOutException(L"slow"); });
    EXPECT_EQ(f.log, std::vector<std::string>{"WARN " + opening + "Device Timedout Exception 'm(c)'"});
    EXPECT_TRUE(f.output.starts_with("JsonInterpreter::sendMsg() Device Timedout Exception "));

    f = failWith([] { throw KorvanParseException(L"bad \u00b5"); });
    EXPECT_EQ(f.log, std::vector<std::string>{"ERROR " + opening + "Parse Exception 'm(c)' - bad \xC2\xB5"});
    EXPECT_EQ(f.output, "JsonInterpreter::sendMsg() Parse Exception 'm(c)' - Response: bad \xC2\xB5\n");

    f = failWith([] { throw DeviceNotConnectedException(L"gone"); });
    EXPECT_EQ(f.log, std::vector<std::string>{"INFO " + opening + "Device Not Connected Exception 'm(c)'"});
    EXPECT_TRUE(f.output.starts_with("JsonInterpreter::sendMsg() Device Not Connected Exception "));

    const std::vector<std::function<void()>> others{[] { throw DeviceException(L"x"); },
                                                    [] { throw std::bad_alloc(); }, [] { throw 5; },
                                                    [] { throw KorvanExceptionRuntime(L"x"); }};
    for (const auto& raise : others) {
        f = failWith(raise);
        EXPECT_EQ(f.log, std::vector<std::string>{"ERROR " + opening + "Other Exception 'm(c)'"});
        EXPECT_TRUE(f.output.starts_with("JsonInterpreter::sendMsg() Other Exception "));
    }
}

TEST_F(JsonInterpreterTest, TraceLogOfSending) {
    LogCapture log(loggerName);
    device.expectAny().reply(reply(1, "0"));
    interpreter.sendMsg("m", "c");
    EXPECT_EQ(log.lines(), std::vector<std::string>{"TRACE [lab]JsonInterpreter::sendMsg() --> 'm(c)'"});
}

TEST_F(JsonInterpreterTest, ChangingTheCommunicatorKeepsOrRestartsTheIds) {
    device.expect(request(1, "get", R"(["c"])")).reply(reply(1, "0"));
    interpreter.sendMsg("c");
    ScriptedCommunicator other;
    EXPECT_EQ(interpreter.setCommunicator(&other, false), &device);
    other.expect(request(2, "get", R"(["c"])")).reply(reply(2, "0"));
    interpreter.sendMsg("c");
    EXPECT_EQ(interpreter.setCommunicator(&device, true), &other);
    device.expect(request(1, "get", R"(["c"])")).reply(reply(1, "0"));
    interpreter.sendMsg("c");
    EXPECT_EQ(interpreter.setCommunicator(nullptr, true), &device);
    EXPECT_TRUE(interpreter.sendMsg("c").isResultError());
}

TEST_F(JsonInterpreterTest, ARecordThatCannotBeReadFailsTheRequestAndNotTheNext) {
    device.expectAny().reply("garbage").reply(notification("lamp", 1)).reply(reply(1, "\"late\""));
    EXPECT_TRUE(interpreter.sendMsg("c").isResultError());
    std::vector<int> values;
    keep("lamp", values);
    device.expectAny().reply(reply(2, "\"mine\""));
    EXPECT_EQ(interpreter.sendMsg("c").getParams(), "mine");
    EXPECT_EQ(values, std::vector<int>{1});
}

TEST(JsonInterpreterBurst, AHundredThousandNotificationsArriveInOrderAndOnce) {
    constexpr int count = 100000;
    // Makes the notifications as they are read, so that the memory is the interpreter's.
    struct Bursting : Communicator {
        std::wstring getDisplayName() const override { return L"bursting"; }
        int read(char* buffer, int capacity, int, int) override {
            while (pending.size() < static_cast<std::size_t>(capacity) && next <= count) {
                pending += (next < count ? notification("lamp", next) : reply(1, "0")) + '\0';
                ++next;
            }
            const std::size_t size = pending.copy(buffer, static_cast<std::size_t>(capacity));
            pending.erase(0, size);
            return static_cast<int>(size);
        }
        int write(const char*, std::size_t length, int, int) override { return static_cast<int>(length); }
        std::string pending;
        int next = 0;
    } device;
    JsonInterpreter interpreter(&device);
    int next = 0;
    interpreter.addCallback("lamp", [&](DeviceMessage m) {
        ASSERT_EQ(m.getParamAt(1).asInt(), next);
        ++next;
    });
    const auto peakKilobytes = [] {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        return usage.ru_maxrss;
    };
    // A sanitizer keeps what was freed for a while.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    constexpr long mostKilobytes = 512 * 1024;
#else
    constexpr long mostKilobytes = 16 * 1024;
#endif
    constexpr std::chrono::seconds mostTime(60);
    const long before = peakKilobytes();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(interpreter.sendMsg("c").isResultError());
    EXPECT_EQ(next, count);
    EXPECT_LT(std::chrono::steady_clock::now() - start, mostTime);
    EXPECT_LT(peakKilobytes() - before, mostKilobytes);
}

TEST(JsonInterpreterThreads, CallbacksAreAddedAndRemovedWhileOthersRun) {
    // A device that always has another notification, and answers every request behind one.
    struct Chatty : Communicator {
        std::wstring getDisplayName() const override { return L"chatty"; }
        int read(char* buffer, int capacity, int, int) override {
            const std::string bytes = notification("lamp", 1) + '\0' + answer;
            answer.clear();
            EXPECT_LE(bytes.size(), static_cast<std::size_t>(capacity));
            bytes.copy(buffer, bytes.size());
            return static_cast<int>(bytes.size());
        }
        int write(const char* data, std::size_t length, int, int) override {
            Json::Value value = json(std::string(data, length - 1));
            answer = reply(value["id"].asInt(), "0") + '\0';
            return static_cast<int>(length);
        }
        std::string answer;
    } device;
    JsonInterpreter interpreter(&device);
    std::atomic<int> inside{0};
    std::atomic<int> called{0};
    std::latch start(4);
    const auto callback = [&](const DeviceMessage&) {
        EXPECT_EQ(inside++, 0) << "two callbacks at once";
        ++called;
        --inside;
    };
    std::vector<std::thread> threads;
    for (int t = 0; t < 2; ++t) {
        threads.emplace_back([&] {
            start.arrive_and_wait();
            for (int i = 0; i < 200; ++i) {
                const auto entry = interpreter.addCallback("lamp", callback);
                interpreter.removeCallback(entry);
                interpreter.setEmitMessages(true);
            }
        });
    }
    threads.emplace_back([&] {
        start.arrive_and_wait();
        for (int i = 0; i < 200; ++i) {
            EXPECT_FALSE(interpreter.sendMsg("c").isResultError());
        }
    });
    threads.emplace_back([&] {
        start.arrive_and_wait();
        for (int i = 0; i < 200; ++i) {
            interpreter.processMessages();
        }
    });
    interpreter.addCallback("lamp", callback);
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_GT(called, 0);
}

}  // namespace
}  // namespace JsonDevice
