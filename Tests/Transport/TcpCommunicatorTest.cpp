#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include "Common/WideText.h"
#include "Platform/Transport/Connector.h"
#include "Platform/Transport/DeviceExceptions.h"
#include "Platform/Transport/TcpCommunicator.h"
#include "Tests/Support/TcpPeer.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr int patienceMs = 10000;

/// The text of the DeviceNotConnectedException that the call must raise.
std::string lossOf(const std::function<void()>& call) {
    try {
        call();
    } catch (const DeviceNotConnectedException& error) {
        return toUtf8(error.getMessage());
    }
    ADD_FAILURE() << "no DeviceNotConnectedException";
    return {};
}

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

class TcpCommunicatorTest : public testing::Test {
protected:
    void write(std::string_view bytes) { device.write(bytes.data(), bytes.size(), 1, 1); }

    std::string read(int minimum = 1, int timeoutMs = patienceMs, int capacity = 65535) {
        std::string buffer(static_cast<std::size_t>(capacity), '\0');
        buffer.resize(static_cast<std::size_t>(device.read(buffer.data(), capacity, minimum, timeoutMs)));
        return buffer;
    }

    std::string readExactly(std::size_t count) {
        std::string result;
        while (result.size() < count) {
            result +=
                read(1, patienceMs, static_cast<int>(std::min<std::size_t>(count - result.size(), 65535)));
        }
        return result;
    }

    /// One good exchange, on a connection that it leaves open.
    TcpPeer::Link connect() {
        Connector exchange(&device);
        write("hello");
        TcpPeer::Link link = peer.accept();
        EXPECT_EQ(link.receive(5), "hello");
        link.send("welcome");
        EXPECT_EQ(readExactly(7), "welcome");
        exchange.succeeded();
        return link;
    }

    TcpPeer peer;
    TcpCommunicator device{peer.getAddress()};
};

TEST_F(TcpCommunicatorTest, IsNamedByItsAddress) {
    EXPECT_EQ(device.getDisplayName(), toWide(peer.getAddress()));
    EXPECT_EQ(device.getAddress().getPort(), peer.getPort());
    EXPECT_THROW(TcpCommunicator("tcp://nowhere"), DeviceException);
}

TEST_F(TcpCommunicatorTest, ConstructingTouchesNoNetwork) {
    const TcpCommunicator nobody("tcp://no-such-host.invalid:1");
    EXPECT_FALSE(nobody.getState().connected);
    EXPECT_EQ(nobody.connectionCount(), 0U);
    EXPECT_TRUE(nobody.getState().lastError.empty());
}

TEST_F(TcpCommunicatorTest, ExchangesShareOneConnection) {
    TcpPeer::Link link = connect();
    for (const std::string text : {"one", "two"}) {
        Connector exchange(&device);
        write(text);
        EXPECT_EQ(link.receive(3), text);
        link.send(text);
        EXPECT_EQ(readExactly(3), text);
        exchange.succeeded();
    }
    EXPECT_EQ(device.connectionCount(), 1U);
}

TEST_F(TcpCommunicatorTest, AReadMayStartAnExchangeAndConnect) {
    auto greeting = std::async(std::launch::async, [this] {
        TcpPeer::Link link = peer.accept();
        link.send("notice");
        link.waitForEnd();
    });
    {
        Connector exchange(&device);
        EXPECT_EQ(read(6), "notice");
    }
    greeting.get();
    EXPECT_EQ(device.connectionCount(), 1U);
}

TEST_F(TcpCommunicatorTest, ARefusedConnectionIsNotConnected) {
    peer.stopListening();
    Connector exchange(&device);
    const std::string why = lossOf([&] { write("x"); });
    EXPECT_EQ(why, peer.getAddress() + ": the connection was refused");
    EXPECT_EQ(device.getState().lastError, L"the connection was refused");
    EXPECT_FALSE(device.getState().connected);
    EXPECT_TRUE(
        contains(lossOf([&] { read(); }), "ended earlier in this exchange: the connection was refused"));
}

TEST_F(TcpCommunicatorTest, EachExchangeTriesToConnectAgain) {
    const std::uint16_t port = peer.getPort();
    peer.stopListening();
    for (int i = 0; i < 2; ++i) {
        Connector exchange(&device);
        EXPECT_TRUE(
            contains(lossOf([&] { write("x"); }), "tcp://127.0.0.1:" + std::to_string(port) + ": the"));
    }
}

TEST_F(TcpCommunicatorTest, AnUnknownNameIsNotConnectedWithinTheBudget) {
    TcpCommunicator nobody("tcp://no-such-host.invalid:5000");
    nobody.setConnectTimeout(300ms);
    const auto start = Clock::now();
    {
        Connector exchange(&nobody);
        const std::string why = lossOf([&] { nobody.write("x", 1, 1, 1); });
        EXPECT_TRUE(contains(why, "tcp://no-such-host.invalid:5000: ")) << why;
        EXPECT_TRUE(contains(why, "name")) << why;
    }
    EXPECT_LT(Clock::now() - start, 5s);
}

TEST_F(TcpCommunicatorTest, ConnectingEndsWithItsTimeOut) {
    // A listener whose queue is full does not answer: the system leaves the rest of the handshake open.
    const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    ASSERT_EQ(::bind(listener, reinterpret_cast<sockaddr*>(&address), length), 0);
    ASSERT_EQ(::listen(listener, 0), 0);
    ASSERT_EQ(::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length), 0);
    std::vector<int> fillers;
    for (int i = 0; i < 4; ++i) {
        fillers.push_back(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        ::connect(fillers.back(), reinterpret_cast<sockaddr*>(&address), length);
    }
    {
        TcpCommunicator deaf("tcp://127.0.0.1:" + std::to_string(ntohs(address.sin_port)));
        deaf.setConnectTimeout(100ms);
        const auto start = Clock::now();
        Connector exchange(&deaf);
        EXPECT_TRUE(contains(lossOf([&] { deaf.write("x", 1, 1, 1); }), "no connection within 100 ms"));
        EXPECT_GE(Clock::now() - start, 100ms);
        EXPECT_LT(Clock::now() - start, 5s);
    }
    for (const int filler : fillers) {
        ::close(filler);
    }
    ::close(listener);
}

TEST_F(TcpCommunicatorTest, LocalhostFindsTheOneFamilyThatListens) {
    TcpCommunicator local("tcp://localhost:" + std::to_string(peer.getPort()));
    Connector exchange(&local);
    local.write("hi", 2, 1, 1);
    EXPECT_EQ(peer.accept().receive(2), "hi");
    EXPECT_EQ(local.getState().peer, "127.0.0.1:" + std::to_string(peer.getPort()));
}

TEST_F(TcpCommunicatorTest, AllAddressesOfAHostAreNamedWhenNoneListens) {
    const std::string port = std::to_string(peer.getPort());
    peer.stopListening();
    TcpCommunicator local("tcp://localhost:" + port);
    Connector exchange(&local);
    const std::string why = lossOf([&] { local.write("x", 1, 1, 1); });
    EXPECT_TRUE(contains(why, "127.0.0.1:" + port + ": the connection was refused; [::1]:" + port + ": "))
        << why;
}

TEST(TcpCommunicatorV6, CarriesBytes) {
    if (!TcpPeer::hasV6Loopback()) {
        GTEST_SKIP() << "this machine has no IPv6 loopback address";
    }
    TcpPeer peer(TcpPeer::Family::V6);
    TcpCommunicator device(peer.getAddress());
    Connector exchange(&device);
    device.write("ping", 4, 1, 1);
    TcpPeer::Link link = peer.accept();
    EXPECT_EQ(link.receive(4), "ping");
    link.send("pong");
    char buffer[4];
    EXPECT_EQ(device.read(buffer, 4, 4, patienceMs), 4);
    EXPECT_EQ(std::string(buffer, 4), "pong");
    EXPECT_EQ(device.getState().peer, "[::1]:" + std::to_string(peer.getPort()));
}

TEST_F(TcpCommunicatorTest, AReadTimesOutAndLosesNothing) {
    TcpPeer::Link link = connect();
    Connector exchange(&device);
    write("?");
    const auto start = Clock::now();
    EXPECT_THROW(read(1, 30), DeviceTimedOutException);
    EXPECT_GE(Clock::now() - start, 30ms);
    EXPECT_LT(Clock::now() - start, 5s);
    link.send("late");
    EXPECT_EQ(readExactly(4), "late");
    EXPECT_TRUE(device.getState().connected);
    exchange.succeeded();
}

TEST_F(TcpCommunicatorTest, AReadThatWaitsForMoreKeepsWhatCame) {
    TcpPeer::Link link = connect();
    Connector exchange(&device);
    link.send("abc");
    EXPECT_THROW(read(5, 30), DeviceTimedOutException);
    EXPECT_THROW(read(5, 1), DeviceTimedOutException);
    link.send("de");
    EXPECT_EQ(read(5), "abcde");
    exchange.succeeded();
}

TEST_F(TcpCommunicatorTest, OddReadsNeitherHangNorReadTooMuch) {
    TcpPeer::Link link = connect();
    Connector exchange(&device);
    char buffer[4] = {'-', '-', '-', '-'};
    EXPECT_EQ(device.read(buffer, 0, 1, 0), 0);
    EXPECT_EQ(device.read(buffer, -1, 1, 0), 0);
    EXPECT_EQ(device.read(buffer, 4, 0, 0), 0) << "nothing is there, and nothing was asked for";
    EXPECT_THROW(device.read(buffer, 4, 1, -1), DeviceTimedOutException);
    link.send("abcdef");
    EXPECT_EQ(device.read(buffer, 3, 100, 0), 3) << "more than there is room for";
    EXPECT_EQ(std::string(buffer, 4), "abc-");
    EXPECT_EQ(readExactly(3), "def");
    EXPECT_EQ(device.write("", 0, 1, 1), 0);
    exchange.succeeded();
}

TEST_F(TcpCommunicatorTest, WithoutTimeOutAReadWaitsForTheBytes) {
    TcpPeer::Link link = connect();
    Connector exchange(&device);
    auto later = std::async(std::launch::async, [&] { return read(1, 0); });
    EXPECT_EQ(later.wait_for(50ms), std::future_status::timeout);
    link.send("!");
    EXPECT_EQ(later.get(), "!");
    exchange.succeeded();
}

TEST_F(TcpCommunicatorTest, APeerThatClosesDuringAnExchangeIsNotReplacedWithinIt) {
    {
        Connector exchange(&device);
        write("request");
        TcpPeer::Link link = peer.accept();
        link.receive(7);
        link.send("half a re");
        link.close();
        EXPECT_EQ(readExactly(9), "half a re") << "what came before the end can still be read";
        EXPECT_TRUE(contains(lossOf([&] { read(); }), "the device closed the connection"));
        EXPECT_TRUE(contains(lossOf([&] { read(); }), "ended earlier in this exchange"));
        EXPECT_TRUE(contains(lossOf([&] { write("x"); }), "ended earlier in this exchange"));
        EXPECT_EQ(device.connectionCount(), 1U);
    }
    connect();
    EXPECT_EQ(device.connectionCount(), 2U);
}

TEST_F(TcpCommunicatorTest, APeerThatClosedBetweenExchangesIsReachedAnew) {
    TcpPeer::Link link = connect();
    link.close();
    connect();
    EXPECT_EQ(device.connectionCount(), 2U);
}

TEST_F(TcpCommunicatorTest, AReadThatFindsTheConnectionClosedSaysSoAndTheNextConnects) {
    // The reply to a message sent in an earlier exchange may have been lost; waiting for it would be in vain.
    TcpPeer::Link link = connect();
    link.close();
    {
        Connector exchange(&device);
        EXPECT_TRUE(contains(lossOf([&] { read(); }), "the device closed the connection"));
    }
    auto greeting = std::async(std::launch::async, [this] {
        TcpPeer::Link second = peer.accept();
        second.send("notice");
        second.waitForEnd();
    });
    {
        Connector exchange(&device);
        EXPECT_EQ(read(6), "notice");
    }
    greeting.get();
    EXPECT_EQ(device.connectionCount(), 2U);
}

TEST_F(TcpCommunicatorTest, NothingOfAnOldConnectionIsReadOnANewOne) {
    TcpPeer::Link link = connect();
    link.send("stale");
    link.close();
    connect();  // reads its own answer and nothing else
    EXPECT_EQ(device.connectionCount(), 2U);
}

TEST_F(TcpCommunicatorTest, WhatCameBeforeTheEndIsReadByAnExchangeThatOnlyReads) {
    TcpPeer::Link link = connect();
    link.send("last words");
    link.close();
    Connector exchange(&device);
    EXPECT_EQ(readExactly(10), "last words");
    EXPECT_TRUE(contains(lossOf([&] { read(); }), "the device closed the connection"));
}

TEST_F(TcpCommunicatorTest, BytesThatCameBetweenExchangesAreKept) {
    TcpPeer::Link link = connect();
    link.send("notice");
    Connector exchange(&device);
    write("?");
    link.receive(1);
    link.send("answer");
    EXPECT_EQ(readExactly(12), "noticeanswer");
    exchange.succeeded();
}

TEST_F(TcpCommunicatorTest, AResetIsNotConnected) {
    TcpPeer::Link link = connect();
    {
        Connector exchange(&device);
        write("request");
        link.receive(7);
        link.reset();
        EXPECT_TRUE(contains(lossOf([&] { read(); }), "the device reset the connection"));
    }
    TcpPeer::Link second = connect();
    second.reset();
    connect();
    EXPECT_EQ(device.connectionCount(), 3U);
}

TEST_F(TcpCommunicatorTest, APeerThatClosesAtOnceIsNotTriedWithoutEnd) {
    auto unfriendly = std::async(std::launch::async, [this] { peer.accept().close(); });
    Connector exchange(&device);
    lossOf([&] { read(); });
    unfriendly.get();
    EXPECT_EQ(device.connectionCount(), 1U);
}

TEST_F(TcpCommunicatorTest, WritingToAClosedConnectionIsAnExceptionAndNoSignal) {
    // A signal would end the test program: SIGPIPE has its default action here.
    TcpPeer::Link link = connect();
    Connector exchange(&device);
    write("a");
    link.reset();
    std::string why;
    // The first write after the reset can still be taken by the system.
    for (int i = 0; i < 3 && why.empty(); ++i) {
        try {
            write("b");
        } catch (const DeviceNotConnectedException& error) {
            why = toUtf8(error.getMessage());
        }
    }
    EXPECT_TRUE(contains(why, "the device reset the connection")) << why;
}

TEST_F(TcpCommunicatorTest, WritingToAPeerThatNeverReadsEndsWithTheTimeOut) {
    device.setWriteTimeout(100ms);
    TcpPeer::Link link = connect();
    const std::string big(64 << 20, 'x');
    {
        Connector exchange(&device);
        const auto start = Clock::now();
        EXPECT_THROW(write(big), DeviceTimedOutException);
        EXPECT_GE(Clock::now() - start, 100ms);
        EXPECT_LT(Clock::now() - start, 10s);
        EXPECT_TRUE(contains(lossOf([&] { read(); }), "the device took nothing for 100 ms, after "));
    }
    EXPECT_FALSE(device.getState().connected) << "a part of the record went out: the connection is of no use";
}

TEST_F(TcpCommunicatorTest, APeerThatOnlySendsDoesNotHoldUpTheWriteTimeOut) {
    device.setWriteTimeout(100ms);
    TcpPeer::Link link = connect();
    const std::string big(64 << 20, 'x');
    std::atomic<bool> stop{false};
    auto chatter = std::async(std::launch::async, [&] {
        try {
            while (!stop) {
                link.send(std::string(1000, 'n'));
            }
        } catch (const std::runtime_error&) {
            // The connection is closed in the end.
        }
    });
    {
        Connector exchange(&device);
        EXPECT_THROW(write(big), DeviceTimedOutException);
    }
    stop = true;
    chatter.get();
}

TEST_F(TcpCommunicatorTest, DataThatArrivesDuringAWriteDoesNotBlockIt) {
    // The device sends everything before it reads anything: more than the buffers on the way can hold.
    TcpPeer::Link link = connect();
    const std::string up(32 << 20, 'u');
    const std::string down(12 << 20, 'd');
    auto played = std::async(std::launch::async, [&] {
        link.send(down);
        return link.receive(up.size());
    });
    Connector exchange(&device);
    write(up);
    EXPECT_EQ(readExactly(down.size()), down);
    EXPECT_EQ(played.get(), up);
    exchange.succeeded();
}

TEST_F(TcpCommunicatorTest, TellsTheProgressOfALongWrite) {
    TcpPeer::Link link = connect();
    std::vector<std::size_t> progress;
    const std::string big(16 << 20, 'x');
    device.setSendObserver([&](std::size_t sent, std::size_t total) {
        EXPECT_EQ(total, big.size());
        progress.push_back(sent);
    });
    auto received = std::async(std::launch::async, [&] { return link.receive(big.size()); });
    Connector exchange(&device);
    write(big);
    EXPECT_EQ(received.get(), big);
    ASSERT_GE(progress.size(), 2U);
    EXPECT_TRUE(std::is_sorted(progress.begin(), progress.end(), std::less_equal<>()));
    EXPECT_EQ(progress.back(), big.size());
    exchange.succeeded();
}

TEST_F(TcpCommunicatorTest, AnAbandonedExchangeClosesTheConnection) {
    TcpPeer::Link link = connect();
    {
        Connector exchange(&device);
        write("?");
        EXPECT_THROW(read(1, 10), DeviceTimedOutException);
    }
    EXPECT_FALSE(device.getState().connected);
    EXPECT_EQ(device.getState().lastError, L"an exchange ended before its reply had arrived");
    link.waitForEnd();
    connect();  // a late answer on the old connection could not be taken for this one's
    EXPECT_EQ(device.connectionCount(), 2U);
}

TEST_F(TcpCommunicatorTest, NestedExchangesDoNotReconnectInTheMiddle) {
    TcpPeer::Link link = connect();
    Connector outer(&device);
    write("request");
    link.receive(7);
    link.close();
    {
        Connector inner(&device);
        lossOf([&] { read(); });
    }
    {
        Connector inner(&device);
        lossOf([&] { read(); });
    }
    EXPECT_EQ(device.connectionCount(), 1U);
}

TEST_F(TcpCommunicatorTest, TheStateTellsOfTheConnectionAndItsBytes) {
    const auto before = Clock::now();
    TcpPeer::Link link = connect();
    TcpCommunicator::State state = device.getState();
    EXPECT_TRUE(state.connected);
    EXPECT_GE(state.since, before);
    EXPECT_LE(state.since, Clock::now());
    EXPECT_EQ(state.peer, "127.0.0.1:" + std::to_string(peer.getPort()));
    EXPECT_EQ(state.lastError, L"");
    EXPECT_EQ(state.bytesSent, 5U);
    EXPECT_EQ(state.bytesReceived, 7U);
    EXPECT_EQ(state.connections, 1U);

    const auto closing = Clock::now();
    device.close();
    state = device.getState();
    EXPECT_FALSE(state.connected);
    EXPECT_GE(state.since, closing);
    EXPECT_EQ(state.peer, "");
    EXPECT_EQ(state.lastError, L"the connection was closed at this end");
    link.waitForEnd();

    connect();
    state = device.getState();
    EXPECT_EQ(state.lastError, L"");
    EXPECT_EQ(state.bytesSent, 10U);
    EXPECT_EQ(state.connections, 2U);
}

TEST_F(TcpCommunicatorTest, TimeOutsCanBeSet) {
    EXPECT_EQ(device.getConnectTimeout(), TcpCommunicator::defaultConnectTimeout);
    EXPECT_EQ(device.getWriteTimeout(), TcpCommunicator::defaultWriteTimeout);
    device.setConnectTimeout(1ms);
    device.setWriteTimeout(2ms);
    EXPECT_EQ(device.getConnectTimeout(), 1ms);
    EXPECT_EQ(device.getWriteTimeout(), 2ms);
}

TEST_F(TcpCommunicatorTest, CloseEndsAReadThatWaits) {
    TcpPeer::Link link = connect();
    auto reader = std::async(std::launch::async, [&] {
        Connector exchange(&device);
        write("?");
        const std::string why = lossOf([&] { read(1, 0); });
        lossOf([&] { read(1, 0); });
        return why;
    });
    EXPECT_EQ(link.receive(1), "?");
    device.close();
    EXPECT_TRUE(contains(reader.get(), "the connection was closed at this end"));
    link.waitForEnd();
    connect();
    EXPECT_EQ(device.connectionCount(), 2U);
}

TEST_F(TcpCommunicatorTest, CloseEndsAWriteThatWaits) {
    TcpPeer::Link link = connect();
    std::promise<void> started;
    bool said = false;
    device.setSendObserver([&](std::size_t, std::size_t) {
        if (!std::exchange(said, true)) {
            started.set_value();
        }
    });
    auto writer = std::async(std::launch::async, [&] {
        Connector exchange(&device);
        return lossOf([&] { write(std::string(64 << 20, 'x')); });
    });
    started.get_future().wait();
    device.close();
    EXPECT_TRUE(contains(writer.get(), "the connection was closed at this end"));
}

TEST_F(TcpCommunicatorTest, CloseAtAnyMomentOnlyEverEndsExchanges) {
    auto echo = std::async(std::launch::async, [this] {
        for (std::string last; last != "q";) {
            TcpPeer::Link link = peer.accept();
            try {
                while (last != "q") {
                    last = link.receive(1);
                    link.send(last);
                }
            } catch (const std::runtime_error&) {
                // The next connection.
            }
        }
    });
    auto closer = std::async(std::launch::async, [&] {
        for (int i = 0; i < 300; ++i) {
            device.close();
            std::this_thread::yield();
        }
    });
    int failed = 0;
    while (closer.wait_for(0s) != std::future_status::ready) {
        Connector exchange(&device);
        try {
            write("x");
            EXPECT_EQ(read(), "x");
            exchange.succeeded();
        } catch (const DeviceNotConnectedException&) {
            ++failed;
        }
    }
    closer.get();
    {
        Connector exchange(&device);
        write("q");
        EXPECT_EQ(read(), "q");
    }
    echo.get();
    RecordProperty("exchangesEnded", failed);
}

TEST_F(TcpCommunicatorTest, ThreadsThatShareItNeverInterleave) {
    auto echo = std::async(std::launch::async, [this] {
        TcpPeer::Link link = peer.accept();
        try {
            for (;;) {
                link.send(link.receiveRecord() + '\0');
            }
        } catch (const std::runtime_error&) {
            // Both threads are done.
        }
    });
    const auto work = [this](char letter) {
        for (int i = 1; i <= 200; ++i) {
            const std::string record = std::string(static_cast<std::size_t>(i), letter) + '\0';
            Connector exchange(&device);
            write(record.substr(0, record.size() / 2));  // in two writes, which nothing may come between
            write(record.substr(record.size() / 2));
            EXPECT_EQ(readExactly(record.size()), record);
            exchange.succeeded();
        }
    };
    std::thread first(work, 'a');
    std::thread second(work, 'b');
    first.join();
    second.join();
    device.close();
    echo.get();
    EXPECT_EQ(device.connectionCount(), 1U);
}

#ifdef __linux__
TEST_F(TcpCommunicatorTest, TheConnectionIsKeptAliveAndSendsAtOnce) {
    TcpPeer::Link link = connect();
    // The communicator's socket is the one of this process whose other end is the listener's port.
    int found = -1;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        const int candidate = std::stoi(entry.path().filename());
        sockaddr_in address{};
        socklen_t length = sizeof address;
        if (::getpeername(candidate, reinterpret_cast<sockaddr*>(&address), &length) == 0 &&
            address.sin_family == AF_INET && ntohs(address.sin_port) == peer.getPort()) {
            found = candidate;
        }
    }
    ASSERT_GE(found, 0);
    const auto option = [found](int level, int name) {
        int value = -1;
        socklen_t length = sizeof value;
        EXPECT_EQ(::getsockopt(found, level, name, &value, &length), 0);
        return value;
    };
    EXPECT_EQ(option(SOL_SOCKET, SO_KEEPALIVE), 1);
    EXPECT_EQ(option(IPPROTO_TCP, TCP_NODELAY), 1);
    EXPECT_EQ(option(IPPROTO_TCP, TCP_KEEPIDLE), 10);
    EXPECT_EQ(option(IPPROTO_TCP, TCP_KEEPINTVL), 5);
    EXPECT_EQ(option(IPPROTO_TCP, TCP_KEEPCNT), 3);
    EXPECT_EQ(option(IPPROTO_TCP, TCP_USER_TIMEOUT), 20000);
}
#endif

}  // namespace
