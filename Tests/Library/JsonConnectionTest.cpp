#include <limits>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "DeviceManager/JsonDevice/JsonConnection.h"
#include "DeviceManager/JsonDevice/JsonExceptions.h"
#include "DeviceManager/JsonDevice/JsonText.h"
#include "Platform/Transport/DeviceExceptions.h"
#include "Tests/Library/ManualClock.h"
#include "Tests/Support/CapturedOutput.h"
#include "Tests/Support/LogCapture.h"
#include "Tests/Support/ScriptedCommunicator.h"

namespace JsonDevice {
namespace {

using std::chrono::milliseconds;

const Json::Value noParams(Json::arrayValue);

std::string request(long long id) {
    return R"({"id":)" + std::to_string(id) + R"(,"jsonrpc":"2.0","method":"m","params":[]})";
}

std::string reply(long long id, const std::string& result = "true") {
    return R"({"id":)" + std::to_string(id) + R"(,"result":)" + result + "}";
}

std::string record(const std::string& text) {
    return text + '\0';
}

class JsonConnectionTest : public testing::Test {
protected:
    JsonConnectionTest() {
        device.onTimeOut([this](int timeoutMs) { clock.advance(timeoutMs); });
    }

    Json::Value call(int timeoutMs = 10000) {
        return connection.callCommunicator("m", noParams, milliseconds(timeoutMs));
    }
    /// Calls until the last request had this id.
    void reachId(long long id) {
        while (connection.getNextId() < id) {
            device.expectAny().reply(reply(connection.getNextId() + 1));
            call();
        }
    }
    template <class Exception>
    void expectCallFails(const std::wstring& message, int line) {
        try {
            call();
            ADD_FAILURE() << "no exception";
        } catch (const Exception& e) {
            EXPECT_EQ(e.getMessage(), message);
            EXPECT_EQ(e.getFile(), "DeviceManager/JsonDevice/JsonConnection");
            EXPECT_EQ(e.getLine(), line);
        }
    }

    ManualClock clock;
    ScriptedCommunicator device{L"Lab \u00b5"};
    JsonConnection connection{&device};
};

TEST_F(JsonConnectionTest, StateAfterConstruction) {
    EXPECT_EQ(connection.getNextId(), 0);
    EXPECT_EQ(connection.getLogContext(), "[Lab \xC2\xB5]");
    EXPECT_EQ(connection.getCommunicator(), &device);
    EXPECT_FALSE(JsonConnection::kDoesNotRequireId);
    EXPECT_TRUE(JsonConnection::kRequiresId);
    EXPECT_EQ(JsonConnection(nullptr).getLogContext(), "");
    static_assert(!std::is_copy_constructible_v<JsonConnection> &&
                  !std::is_copy_assignable_v<JsonConnection>);
}

TEST_F(JsonConnectionTest, WritesCompactTextLineEndAndNul) {
    device.expect(R"({"id":1,"jsonrpc":"2.0","method":"RemoteInterface::sendKeyCode","params":[12]})")
        .reply(reply(1, "7"));
    Json::Value params;
    params.append(12);
    const Json::Value whole =
        connection.callCommunicator("RemoteInterface::sendKeyCode", params, milliseconds(10000));
    EXPECT_EQ(whole["result"], 7);
    EXPECT_EQ(whole["id"], 1);
    EXPECT_EQ(connection.getNextId(), 1);
    EXPECT_EQ(device.requests().at(0),
              R"({"id":1,"jsonrpc":"2.0","method":"RemoteInterface::sendKeyCode","params":[12]})"
              "\n");
}

TEST_F(JsonConnectionTest, BuildsRequestTexts) {
    EXPECT_EQ(JsonConnection::buildRequestString("m", 3, noParams), request(3) + "\n");
    EXPECT_EQ(JsonConnection::buildRequestString("m\xC3\xA9", "x", Json::Value()),
              "{\"id\":\"x\",\"jsonrpc\":\"2.0\",\"method\":\"m\\u00e9\",\"params\":null}\n");
    Json::Value object;
    object["method"] = "m";
    EXPECT_EQ(connection.buildRequestString(object), "{\"method\":\"m\"}\n");
    EXPECT_EQ(connection.buildRequestString(Json::Value(9), object), "{\"id\":9,\"method\":\"m\"}\n");
    EXPECT_EQ(object["id"], 9);
}

TEST_F(JsonConnectionTest, ChecksTheKeysOfRequestsInOrder) {
    const auto expectMissing = [&](const char* text, const wchar_t* key, int line) {
        Json::Value value;
        ASSERT_TRUE(JsonText::read(text, value));
        try {
            connection.validKeysInRequest(value);
            ADD_FAILURE() << text;
        } catch (const KorvanParseException& e) {
            EXPECT_EQ(e.getMessage(), std::wstring(L"[Lab \u00b5]JSON response missing tag: ") + key);
            EXPECT_EQ(e.getLine(), line);
        }
    };
    expectMissing("{}", L"method", 307);
    expectMissing("[]", L"method", 307);
    expectMissing("5", L"method", 307);
    expectMissing(R"({"method":1})", L"params", 312);
    expectMissing(R"({"method":1,"params":null})", L"jsonrpc", 317);
    Json::Value good;
    ASSERT_TRUE(JsonText::read(R"({"method":1,"params":2,"jsonrpc":3})", good));
    EXPECT_TRUE(connection.validKeysInRequest(good));
}

TEST_F(JsonConnectionTest, TwoRepliesInOneReadServeTwoCalls) {
    device.expect(request(1)).bytes(record(reply(1, "\"first\"")) + record(reply(2, "\"second\"")));
    EXPECT_EQ(call()["result"], "first");
    const int reads = device.reads();
    device.expect(request(2));
    EXPECT_EQ(call()["result"], "second");
    EXPECT_EQ(device.reads(), reads);
}

TEST_F(JsonConnectionTest, AReplyOverThreeReadsIsJoined) {
    const std::string bytes = record(reply(1, "\"joined\""));
    device.expect(request(1)).bytesInPieces(bytes, bytes.size() / 3 + 1);
    EXPECT_EQ(call()["result"], "joined");
    EXPECT_EQ(device.reads(), 3);
}

TEST_F(JsonConnectionTest, EmptyRecordsAreSkipped) {
    device.expect(request(1)).bytes(std::string(5, '\0') + record(reply(1)) + std::string(3, '\0'));
    device.expect(request(2)).bytes(record(reply(2)));
    EXPECT_EQ(call()["id"], 1);
    EXPECT_EQ(call()["id"], 2);
}

TEST_F(JsonConnectionTest, WithoutATimeOutItWaitsUntilTheRecordEnds) {
    device.expect(request(1)).bytes(R"({"id":1,)");
    for (int i = 0; i < 50; ++i) {
        device.timeOut();
    }
    device.bytes(record(R"("result":5})"));
    EXPECT_EQ(call(0)["result"], 5);
}

TEST_F(JsonConnectionTest, ATimedOutReadIsRepeatedUntilTheDeadline) {
    // Each read here gives up well before its time-out.
    device.onTimeOut([this](int) { clock.advance(400); });
    device.expect(request(1)).timeOut().timeOut().bytes(record(reply(1)));
    EXPECT_EQ(call(1000)["id"], 1);
    device.expect(request(2)).timeOut().timeOut().timeOut();
    EXPECT_THROW(call(1000), NoReplyException);
}

TEST_F(JsonConnectionTest, NoReplyInTimeIsTheParseFailureOfAnEmptyText) {
    const CapturedOutput output;
    device.expect(request(1)).bytes(R"({"id":1,"resu)").silence();
    expectCallFails<NoReplyException>(L"[Lab \u00b5] Failed to parse JSON response: ", 90);
    EXPECT_EQ(output.text(),
              "[Lab \xC2\xB5]JsonConnection::checkResponse() Failed to parse JSON response \n");
    EXPECT_EQ(device.abandonedExchanges(), 1);
}

TEST_F(JsonConnectionTest, WhatTimedOutPartlyIsDropped) {
    device.expect(request(1)).bytes(R"({"id":1,"resu)").silence();
    EXPECT_THROW(call(), NoReplyException);
    device.expect(request(2)).bytes(record(reply(2)));
    EXPECT_EQ(call()["id"], 2);
}

TEST_F(JsonConnectionTest, AReplyThatIsNoJson) {
    const CapturedOutput output;
    device.expect(request(1)).reply("{\"id\":1,");
    expectCallFails<BrokenProtocolException>(L"[Lab \u00b5] Failed to parse JSON response: {\"id\":1,", 90);
    EXPECT_EQ(output.text(),
              "[Lab \xC2\xB5]JsonConnection::checkResponse() Failed to parse JSON response {\"id\":1,\n");
}

TEST_F(JsonConnectionTest, AReplyThatIsTooDeepForTheParser) {
    const std::string deep = std::string(2000, '[') + std::string(2000, ']');
    device.expect(request(1)).reply(deep);
    expectCallFails<BrokenProtocolException>(
        L"[Lab \u00b5] Failed to parse JSON response: " + std::wstring(deep.begin(), deep.end()), 90);
}

TEST_F(JsonConnectionTest, ARecordThatEndsInACarriageReturn) {
    device.expect(request(1)).reply("x\r");
    EXPECT_THROW(call(), BrokenProtocolException);
    device.expect(request(2)).reply(reply(2) + "\r");
    EXPECT_EQ(call()["id"], 2);
}

TEST_F(JsonConnectionTest, AReplyWithoutId) {
    const CapturedOutput output;
    device.expect(request(1)).reply(R"({"result":1})");
    expectCallFails<BrokenProtocolException>(L"[Lab \u00b5] JSON response missing id tag: {\"result\":1}",
                                             95);
    EXPECT_EQ(output.text(),
              "[Lab \xC2\xB5]JsonConnection::checkResponse() JSON response missing id tag {\"result\":1}\n");
}

TEST_F(JsonConnectionTest, AReplyThatIsNoObjectHasNoId) {
    for (const std::string text : {"[1]", "5", "\"text\"", "true", "null"}) {
        for (const bool requireId : {JsonConnection::kRequiresId, JsonConnection::kDoesNotRequireId}) {
            try {
                JsonConnection::checkResponse(text, requireId, "[x]");
                ADD_FAILURE() << text;
            } catch (const BrokenProtocolException& e) {
                EXPECT_EQ(e.getLine(), 95);
                EXPECT_EQ(e.getMessage(),
                          L"[x] JSON response missing id tag: " + std::wstring(text.begin(), text.end()));
            }
        }
    }
    EXPECT_EQ(JsonConnection::checkResponse("{\"a\":1}", JsonConnection::kDoesNotRequireId, "")["a"], 1);
}

TEST_F(JsonConnectionTest, AnErrorReplyCarriesTheWholeTextAndTheError) {
    const CapturedOutput output;
    const std::string text = R"({"id":1,"error":{"code":-32601,"message":"no such method","data":{"m":1}}})";
    device.expect(request(1)).reply(text);
    try {
        call();
        FAIL();
    } catch (const ErrorReplyException& e) {
        EXPECT_EQ(e.getMessage(), L"[Lab \u00b5] Json response contained Error tag: " +
                                      std::wstring(text.begin(), text.end()));
        EXPECT_EQ(e.getFile(), "DeviceManager/JsonDevice/JsonConnection");
        EXPECT_EQ(e.getLine(), 102);
        EXPECT_EQ(e.getCode(), -32601);
        EXPECT_EQ(e.getErrorMessage(), "no such method");
        EXPECT_EQ(e.getData()["m"], 1);
    }
    EXPECT_EQ(output.text(), "[Lab \xC2\xB5]JsonConnection::checkResponse() Error response " + text + "\n");
    EXPECT_EQ(device.abandonedExchanges(), 0) << "its reply has arrived";
}

TEST_F(JsonConnectionTest, ErrorsOfEveryShape) {
    const auto raise = [](const std::string& error) {
        try {
            JsonConnection::checkResponse(R"({"id":1,"error":)" + error + "}", true, "");
        } catch (const ErrorReplyException& e) {
            return e;
        }
        throw std::logic_error("accepted " + error);
    };
    EXPECT_EQ(raise("\"lamp off\"").getErrorMessage(), "lamp off");
    EXPECT_EQ(raise("null").getCode(), 0);
    EXPECT_EQ(raise("[]").getErrorMessage(), "");
    EXPECT_EQ(raise(R"({"code":"x","message":5})").getCode(), 0);
    EXPECT_EQ(raise(R"({"code":1e99})").getCode(), 0);
    EXPECT_TRUE(raise("{}").getData().isNull());
}

TEST_F(JsonConnectionTest, AnErrorForAnotherRequestLeavesTheExchangeAbandoned) {
    device.expect(request(1)).reply(R"({"id":99,"error":{}})");
    EXPECT_THROW(call(), ErrorReplyException);
    EXPECT_EQ(device.abandonedExchanges(), 1);
}

TEST_F(JsonConnectionTest, LateRepliesToThe16RequestsBeforeAreSkipped) {
    reachId(19);
    device.expect(request(20)).reply(reply(4)).reply(reply(19)).reply(reply(20, "\"mine\""));
    EXPECT_EQ(call()["result"], "mine");
    device.expect(request(21)).reply(reply(4));  // 17 before
    expectCallFails<BrokenProtocolException>(L"[Lab \u00b5]JSON response id didn't match", 211);
    device.expect(request(22)).reply(reply(23));
    expectCallFails<BrokenProtocolException>(L"[Lab \u00b5]JSON response id didn't match", 211);
    EXPECT_EQ(device.abandonedExchanges(), 2);
}

TEST_F(JsonConnectionTest, LateRepliesDoNotKeepTheCallerForEver) {
    reachId(5);
    device.onTimeOut([this](int) { clock.advance(400); });
    device.expect(request(6));
    for (int i = 0; i < 3; ++i) {
        device.timeOut().reply(reply(5));
    }
    EXPECT_THROW(call(1000), NoReplyException);
}

TEST_F(JsonConnectionTest, IdsThatAreNoIntegerDoNotMatch) {
    for (const char* const id : {"\"1\"", "[]", "{}", "[1]", "1e300", "18446744073709551615", "-1e19"}) {
        JsonConnection fresh(&device);
        device.expect(request(1)).reply(R"({"result":1,"id":)" + std::string(id) + "}");
        try {
            fresh.callCommunicator("m", noParams, milliseconds(100));
            ADD_FAILURE() << id;
        } catch (const BrokenProtocolException& e) {
            EXPECT_EQ(e.getLine(), 211) << id;
        }
    }
    device.expect(request(1)).reply(R"({"result":1,"id":1.0})");
    EXPECT_EQ(call()["result"], 1);
}

TEST_F(JsonConnectionTest, AfterAFailureTheIdsGoOn) {
    device.expect(request(1)).silence();
    EXPECT_THROW(call(), NoReplyException);
    device.expect(request(2)).reply(reply(1, "\"late\"")).reply(reply(2, "\"mine\""));
    EXPECT_EQ(call()["result"], "mine");
}

TEST_F(JsonConnectionTest, ExceptionsOfTheTransportPassAndReleaseEverything) {
    device.expect(request(1)).lose();
    EXPECT_THROW(call(), DeviceNotConnectedException);
    device.lose();
    EXPECT_THROW(call(), DeviceNotConnectedException);
    device.expect(request(3)).reply(reply(3));
    // From another thread: neither lock is still held.
    std::thread([&] { EXPECT_EQ(call()["id"], 3); }).join();
}

TEST_F(JsonConnectionTest, AReadThatThrowsLeavesNothingToBeScannedAgain) {
    device.expect(request(1)).bytes(R"({"id":1,"part)").lose();
    EXPECT_THROW(call(), DeviceNotConnectedException);
    device.expect(request(2)).reply(reply(2));
    EXPECT_EQ(call()["id"], 2);
}

TEST_F(JsonConnectionTest, BytesOfAnEarlierConnectionAreDropped) {
    device.expect(request(1)).bytes(record(reply(1)) + record(reply(2, "\"stale\"")));
    call();
    device.lose();
    EXPECT_THROW(call(), DeviceNotConnectedException);
    device.expect(request(3)).reply(reply(3, "\"fresh\""));
    EXPECT_EQ(call()["result"], "fresh");
}

TEST_F(JsonConnectionTest, ChangingTheCommunicatorKeepsOrRestartsTheIds) {
    reachId(2);
    ScriptedCommunicator other(L"other");
    EXPECT_EQ(connection.setCommunicator(&other, false), &device);
    EXPECT_EQ(connection.getLogContext(), "[other]");
    other.expect(request(3)).reply(reply(3));
    EXPECT_EQ(call()["id"], 3);
    EXPECT_EQ(connection.setCommunicator(&device, true), &other);
    device.expect(request(1)).reply(reply(1));
    EXPECT_EQ(call()["id"], 1);
    EXPECT_EQ(connection.setCommunicator(nullptr, false), &device);
    EXPECT_EQ(connection.getLogContext(), "[Lab \xC2\xB5]");
}

TEST_F(JsonConnectionTest, ChangingTheCommunicatorKeepsBufferedBytes) {
    device.expect(request(1)).bytes(record(reply(1)) + record(reply(2, "\"buffered\"")));
    call();
    ScriptedCommunicator other;
    connection.setCommunicator(&other, false);
    other.expect(request(2));
    EXPECT_EQ(call()["result"], "buffered");
}

TEST_F(JsonConnectionTest, WithoutACommunicatorEveryExchangeFails) {
    JsonConnection none(nullptr);
    Json::Value msg(Json::objectValue);
    EXPECT_THROW(none.callCommunicator("m", noParams, milliseconds(1)), DeviceNotConnectedException);
    EXPECT_THROW(none.callCommunicator(msg), DeviceNotConnectedException);
    EXPECT_THROW(none.sendMsg(msg), DeviceNotConnectedException);
    EXPECT_THROW(none.readMsg(1), DeviceNotConnectedException);
}

TEST_F(JsonConnectionTest, SendMsgNumbersTheMessageAndReadsNothing) {
    LogCapture log("DeviceManager.JsonDevice.JsonConnection", log4cxx::Level::getInfo());
    Json::Value msg;
    msg["method"] = "m";
    msg["id"] = 77;
    device.expect(R"({"id":1,"method":"m"})");
    connection.sendMsg(msg);
    EXPECT_EQ(msg["id"], 1);
    EXPECT_EQ(device.reads(), 0);
    EXPECT_EQ(log.lines(),
              std::vector<std::string>{"INFO [Lab \xC2\xB5]sendMsg--->{\"id\":1,\"method\":\"m\"}\n"});
}

TEST_F(JsonConnectionTest, ReadMsgGivesWhateverComes) {
    LogCapture log("DeviceManager.JsonDevice.JsonConnection", log4cxx::Level::getInfo());
    device.expectAny().reply(R"({"method":"notify","params":["c",1]})").reply(R"({"id":9,"result":2})");
    Json::Value msg(Json::objectValue);
    connection.sendMsg(msg);
    EXPECT_EQ(connection.readMsg(50)["method"], "notify");
    EXPECT_EQ(connection.readMsg(50)["id"], 9);
    device.silence();
    EXPECT_TRUE(connection.readMsg(50).isNull());
    EXPECT_EQ(device.abandonedExchanges(), 0);
    ASSERT_EQ(log.lines().size(), 3U);
    EXPECT_EQ(log.lines()[2], "INFO [Lab \xC2\xB5]<---Response was:{\"id\":9,\"result\":2}");
}

TEST_F(JsonConnectionTest, TheObjectFormNumbersACopyAndWaitsTenSeconds) {
    Json::Value message;
    message["method"] = "m";
    std::vector<int> timeouts;
    device.onTimeOut([&](int timeoutMs) {
        timeouts.push_back(timeoutMs);
        clock.advance(timeoutMs / 2);
    });
    device.expect(R"({"id":1,"method":"m"})").timeOut().reply(reply(1));
    EXPECT_EQ(connection.callCommunicator(message)["id"], 1);
    EXPECT_EQ(timeouts, std::vector<int>{10000});
    EXPECT_FALSE(message.isMember("id"));
    // A record without an id ends the wait.
    device.expectAny().reply(R"({"method":"notify"})");
    EXPECT_EQ(connection.callCommunicator(message)["method"], "notify");
    device.expectAny().reply(reply(2)).reply(reply(3));
    EXPECT_EQ(connection.callCommunicator(message)["id"], 3);
    device.expectAny().reply(reply(5));
    try {
        connection.callCommunicator(message);
        FAIL();
    } catch (const BrokenProtocolException& e) {
        EXPECT_EQ(e.getMessage(), L"[Lab \u00b5]JSON response id didn't match");
        EXPECT_EQ(e.getLine(), 267);
    }
}

TEST_F(JsonConnectionTest, LateRepliesDoNotKeepTheObjectFormForEver) {
    reachId(5);
    device.onTimeOut([this](int) { clock.advance(4000); });
    device.expectAny();
    for (int i = 0; i < 3; ++i) {
        device.timeOut().reply(reply(5));
    }
    Json::Value message;
    message["method"] = "m";
    EXPECT_TRUE(connection.callCommunicator(message).isNull());
}

TEST_F(JsonConnectionTest, ATimeOutThatNoReadCanTakeIsTheLongestOne) {
    std::vector<int> timeouts;
    device.onTimeOut([&](int timeoutMs) { timeouts.push_back(timeoutMs); });
    for (const long long ms : {1LL << 32, 1LL << 31, std::numeric_limits<long long>::max()}) {
        device.expectAny().timeOut().reply(reply(connection.getNextId() + 1));
        connection.callCommunicator("m", noParams, milliseconds(ms));
    }
    EXPECT_EQ(timeouts, std::vector<int>(3, std::numeric_limits<int>::max()));
}

TEST_F(JsonConnectionTest, TraceLogOfACall) {
    LogCapture log("DeviceManager.JsonDevice.JsonConnection");
    device.expect(request(1)).reply(reply(1));
    call();
    const std::string context = "TRACE [Lab \xC2\xB5]";
    EXPECT_EQ(log.lines(), (std::vector<std::string>{
                               context + "sendAndReplyInternal--->" + request(1) + "\n",
                               context + "FullLine:" + reply(1), context + "Buffer'" + reply(1) + "'",
                               context + "'" + reply(1) + "'", context + "<---Response was:" + reply(1)}));
}

TEST_F(JsonConnectionTest, TraceLogOfTheObjectFormIsStyled) {
    LogCapture log("DeviceManager.JsonDevice.JsonConnection");
    device.expectAny().reply(reply(1));
    Json::Value message;
    message["method"] = "m";
    connection.callCommunicator(message);
    message["id"] = 1;
    EXPECT_EQ(log.lines().at(0), "TRACE [Lab \xC2\xB5]sendAndReplyInternal--->" + message.toStyledString());
}

TEST_F(JsonConnectionTest, ARecordAboveTheLargestSizeIsSkippedWhole) {
    connection.setLargestRecord(100);
    const std::string allowed = reply(1, "\"" + std::string(80, 'x') + "\"");
    ASSERT_EQ(allowed.size(), 100U);
    device.expect(request(1)).reply(allowed);
    EXPECT_EQ(call()["id"], 1);
    // Over several reads, with the next record behind it in the last one.
    const std::string large = reply(2, "\"" + std::string(1000, 'x') + "\"");
    device.expectAny()
        .bytes(large.substr(0, 90))
        .bytes(large.substr(90, 500))
        .bytes(record(large.substr(590)) + record(reply(3)));
    Json::Value msg(Json::objectValue);
    connection.sendMsg(msg);
    try {
        connection.readMsg(50);
        FAIL();
    } catch (const BrokenProtocolException& e) {
        EXPECT_NE(e.getMessage().find(std::to_wstring(large.size())), std::wstring::npos);
        EXPECT_NE(e.getMessage().find(L" 100 "), std::wstring::npos);
    }
    EXPECT_EQ(connection.readMsg(50)["id"], 3);
}

TEST_F(JsonConnectionTest, TheRestOfATooLargeRecordIsSkippedByTheNextRead) {
    connection.setLargestRecord(100);
    device.expectAny().bytes(std::string(500, 'x')).timeOut();
    device.bytes(std::string(500, 'x')).bytes(std::string("x\0\0", 3) + record(reply(2)));
    Json::Value msg(Json::objectValue);
    connection.sendMsg(msg);
    EXPECT_THROW(connection.readMsg(50), BrokenProtocolException);
    EXPECT_EQ(connection.readMsg(50)["id"], 2);
}

TEST_F(JsonConnectionTest, ATooLargeReplyFailsTheCallAndNotTheNext) {
    connection.setLargestRecord(100);
    device.expect(request(1)).bytes(std::string(500, 'x')).silence();
    EXPECT_THROW(call(), BrokenProtocolException);
    device.expect(request(2)).reply(std::string(500, 'x'));
    EXPECT_THROW(call(), BrokenProtocolException);
    device.expect(request(3)).bytes(std::string(500, 'x')).lose();
    EXPECT_THROW(call(), BrokenProtocolException);
    device.expect(request(4)).reply(reply(4));
    EXPECT_EQ(call()["id"], 4);
}

TEST_F(JsonConnectionTest, ABadTransportNeitherSpinsNorCrashes) {
    device.expect(request(1)).count(0).count(0).bytes(record(reply(1)));
    EXPECT_EQ(call()["id"], 1);
    device.expect(request(2)).count(-1);
    EXPECT_THROW(call(), DeviceNotConnectedException);
    device.expect(request(3)).count(65536);
    EXPECT_THROW(call(), BrokenProtocolException);
    device.expect(request(4)).count(1 << 30);
    EXPECT_THROW(call(), BrokenProtocolException);
    device.expect(request(5)).reply(reply(5));
    EXPECT_EQ(call()["id"], 5);
}

TEST(JsonConnectionReconnect, ARecordOfTheOldConnectionIsDroppedWhenAReadMakesANewOne) {
    struct Reconnecting : Communicator {
        std::wstring getDisplayName() const override { return L"reconnecting"; }
        int read(char* buffer, int, int, int) override {
            // The first block ends inside a record, and the second comes over another connection.
            const std::string bytes =
                ++connections == 2 ? record(reply(1)) + R"({"id":)" : record(reply(2, "\"new\""));
            bytes.copy(buffer, bytes.size());
            return static_cast<int>(bytes.size());
        }
        int write(const char*, std::size_t length, int, int) override { return static_cast<int>(length); }
        std::uint64_t connectionCount() const override { return connections; }
        std::uint64_t connections = 1;
    } device;
    JsonConnection connection(&device);
    EXPECT_EQ(connection.readMsg(1000)["id"], 1);
    EXPECT_EQ(connection.readMsg(1000)["result"], "new");
}

TEST(JsonConnectionReconnect, ATransportThatTimesOutAtOnceIsNotAskedInATightLoop) {
    struct Impatient : Communicator {
        std::wstring getDisplayName() const override { return L"impatient"; }
        int read(char*, int, int, int) override {
            ++reads;
            throw DeviceTimedOutException(L"at once");
        }
        int write(const char*, std::size_t length, int, int) override { return static_cast<int>(length); }
        int reads = 0;
    } device;
    JsonConnection connection(&device);
    EXPECT_TRUE(connection.readMsg(30).isNull());
    EXPECT_LE(device.reads, 31) << "one for each millisecond";
}

TEST(JsonConnectionThreads, ExchangesOfManyThreadsAndConnectionsNeverInterleave) {
    struct Echo : Communicator {
        std::wstring getDisplayName() const override { return L"echo"; }
        int read(char* buffer, int, int, int) override {
            *buffer = pending.at(position++);
            return 1;
        }
        int write(const char* data, std::size_t length, int, int) override {
            EXPECT_EQ(position, pending.size()) << "another exchange is under way";
            Json::Value value;
            EXPECT_TRUE(JsonText::read(std::string(data, length - 1), value));
            pending = R"({"id":)" + value["id"].asString() + R"(,"result":)" + value["params"][0].asString() +
                      "}" + '\0';
            position = 0;
            return static_cast<int>(length);
        }
        std::string pending;
        std::size_t position = 0;
    } echo;
    JsonConnection first(&echo);
    JsonConnection second(&echo);
    std::vector<std::thread> threads;
    for (int t = 0; t < 6; ++t) {
        threads.emplace_back([&, t] {
            JsonConnection& connection = t % 2 == 0 ? first : second;
            for (int i = 0; i < 200; ++i) {
                Json::Value params;
                params.append(t * 1000 + i);
                EXPECT_EQ(connection.callCommunicator("m", params, milliseconds(1000))["result"],
                          t * 1000 + i);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(first.getNextId(), 600);
    EXPECT_EQ(second.getNextId(), 600);
}

}  // namespace
}  // namespace JsonDevice
