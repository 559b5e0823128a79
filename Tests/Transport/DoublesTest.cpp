// The doubles that other tests rely on must fail those tests when they should.

#include <string>

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include "Platform/Transport/Connector.h"
#include "Platform/Transport/DeviceExceptions.h"
#include "Tests/Support/CommunicatorPair.h"
#include "Tests/Support/ScriptedCommunicator.h"

namespace {

void send(Communicator& communicator, const std::string& text) {
    communicator.write(text.c_str(), text.size() + 1, 1, 1);
}

std::string readOnce(Communicator& communicator, int capacity = 100, int timeoutMs = 10000) {
    std::string buffer(static_cast<std::size_t>(capacity), '\0');
    buffer.resize(static_cast<std::size_t>(communicator.read(buffer.data(), capacity, 1, timeoutMs)));
    return buffer;
}

TEST(ScriptedCommunicator, GivesTheRepliesOfTheScriptInItsChunks) {
    ScriptedCommunicator device;
    device.expect("a").reply("A").bytesInPieces("12345", 2);
    device.expect("b").reply("B");
    send(device, "a\n");
    EXPECT_EQ(readOnce(device), std::string("A\0", 2));
    EXPECT_EQ(readOnce(device), "12");
    EXPECT_EQ(readOnce(device, 1), "3");
    EXPECT_EQ(readOnce(device), "4");
    EXPECT_EQ(readOnce(device), "5");
    send(device, "b\n");
    EXPECT_EQ(readOnce(device), std::string("B\0", 2));
    EXPECT_EQ(device.requests(), (std::vector<std::string>{"a\n", "b\n"}));
}

TEST(ScriptedCommunicator, FailsOnAnotherRequest) {
    ScriptedCommunicator device;
    device.expect("a");
    EXPECT_NONFATAL_FAILURE(EXPECT_THROW(send(device, "b\n"), DeviceException), "Another request was sent");
    device.abandonExchange();
    EXPECT_NONFATAL_FAILURE(device.verify(), "This request was never sent: a");
}

TEST(ScriptedCommunicator, FailsOnARequestTooMany) {
    ScriptedCommunicator device;
    EXPECT_NONFATAL_FAILURE(EXPECT_THROW(send(device, "b\n"), DeviceException), "unexpected request");
}

TEST(ScriptedCommunicator, FailsOnAReadTooMany) {
    ScriptedCommunicator device;
    device.expect("a");
    EXPECT_NONFATAL_FAILURE(EXPECT_THROW(readOnce(device), DeviceException), "nothing scripted");
    device.expect("b");
    send(device, "a\n");
    send(device, "b\n");
}

TEST(ScriptedCommunicator, FailsWhenSomethingIsLeftOver) {
    ScriptedCommunicator device;
    device.expectAny().bytes("xyz").expect("more");
    send(device, "whatever\n");
    EXPECT_EQ(readOnce(device, 1), "x");
    testing::TestPartResultArray failures;
    {
        const testing::ScopedFakeTestPartResultReporter reporter(
            testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &failures);
        device.verify();
    }
    ASSERT_EQ(failures.size(), 2);
    EXPECT_STREQ(failures.GetTestPartResult(0).message(), "Failed\nThese bytes were never read: yz");
    EXPECT_STREQ(failures.GetTestPartResult(1).message(), "Failed\nThis request was never sent: more");
}

TEST(ScriptedCommunicator, TimesOutAndFallsSilent) {
    ScriptedCommunicator device;
    int waited = 0;
    device.onTimeOut([&](int timeoutMs) { waited += timeoutMs; });
    device.expect("a").timeOut().bytes("late").silence();
    send(device, "a\n");
    EXPECT_THROW(readOnce(device, 10, 7), DeviceTimedOutException);
    EXPECT_EQ(readOnce(device), "late");
    EXPECT_THROW(readOnce(device, 10, 20), DeviceTimedOutException);
    EXPECT_THROW(readOnce(device, 10, 20), DeviceTimedOutException);
    EXPECT_EQ(waited, 47);
    device.expect("b");
    send(device, "b\n");
}

TEST(ScriptedCommunicator, LosesTheConnectionForTheRestOfTheExchange) {
    ScriptedCommunicator device;
    device.expect("a").lose();
    const auto before = device.connectionCount();
    {
        Connector exchange(&device);
        send(device, "a\n");
        EXPECT_THROW(readOnce(device), DeviceNotConnectedException);
        EXPECT_THROW(send(device, "b\n"), DeviceNotConnectedException);
    }
    EXPECT_EQ(device.abandonedExchanges(), 1);
    device.expect("c");
    Connector exchange(&device);
    EXPECT_EQ(device.connectionCount(), before + 1);
    send(device, "c\n");
    exchange.succeeded();
}

TEST(CommunicatorPair, CarriesBothWays) {
    CommunicatorPair pair;
    send(pair.host(), "to the device");
    EXPECT_EQ(pair.device().receiveRecord(), "to the device");
    pair.device().send("to the host");
    EXPECT_EQ(readOnce(pair.host()), "to the host");
    EXPECT_THROW(readOnce(pair.host(), 10, 1), DeviceTimedOutException);
}

TEST(CommunicatorPair, SplitsMergesAndCuts) {
    CommunicatorPair pair;
    pair.host().limitReads(2);
    pair.device().send("abc");
    EXPECT_EQ(readOnce(pair.host()), "ab");
    EXPECT_EQ(readOnce(pair.host()), "c");
    pair.host().limitReads(0);

    pair.host().hold();
    pair.device().send("one ");
    EXPECT_THROW(readOnce(pair.host(), 10, 1), DeviceTimedOutException);
    pair.device().send("two");
    pair.host().release();
    EXPECT_EQ(readOnce(pair.host()), "one two");

    pair.host().cutAfter(3);
    pair.device().send("abcdef");
    EXPECT_EQ(readOnce(pair.host()), "abc");
    EXPECT_THROW(readOnce(pair.host()), DeviceNotConnectedException);
    EXPECT_THROW(pair.device().send("x"), DeviceNotConnectedException);
    const auto before = pair.host().connectionCount();
    Connector exchange(&pair.host());
    send(pair.host(), "again");
    EXPECT_EQ(pair.host().connectionCount(), before + 1);
    pair.device().send("new");
    EXPECT_EQ(readOnce(pair.host()), "new");
    exchange.succeeded();
}

}  // namespace
