#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "Common/Exceptions.h"
#include "DeviceManager/JsonDevice/JsonExceptions.h"
#include "DeviceManager/JsonDevice/JsonRemote.h"
#include "DeviceManager/JsonDevice/JsonStatus.h"
#include "Platform/Transport/DeviceExceptions.h"
#include "Platform/Transport/TcpCommunicator.h"
#include "Simulator/Simulator.h"
#include "Tests/Simulator/RawClient.h"
#include "Tests/Simulator/Records.h"

namespace JsonDevice {

namespace {

const std::string getModel = request("StatusInterface::getModel");
const std::string model = result("\"Simulated projector\"");

/// Collects the traffic, and lets a test wait for a line of it.
class Traffic {
public:
    std::function<void(const TrafficEvent&)> listener() {
        return [this](const TrafficEvent& event) {
            static constexpr const char* names[] = {"connected", "received ", "sent ", "disconnected "};
            const std::lock_guard guard(lock);
            lines.push_back(names[static_cast<int>(event.kind)] + event.text);
            changed.notify_all();
        };
    }
    /// Whether it came within ten seconds.
    bool waitFor(const std::string& line) {
        std::unique_lock guard(lock);
        return changed.wait_for(guard, std::chrono::seconds(10),
                                [&] { return std::find(lines.begin(), lines.end(), line) != lines.end(); });
    }
    std::size_t count(const std::string& line) {
        const std::lock_guard guard(lock);
        return static_cast<std::size_t>(std::count(lines.begin(), lines.end(), line));
    }

private:
    std::mutex lock;
    std::condition_variable changed;
    std::vector<std::string> lines;
};

class SimulatorTest : public ::testing::Test {
protected:
    SimulatorTest() { start({}); }

    void start(RecordServer::Options server) {
        simulator.reset();
        server.onTraffic = traffic.listener();
        // A clock that stands, so that nothing changes but by the test.
        simulator = std::make_unique<Simulator>(
            Simulator::Options{server, [] { return std::chrono::steady_clock::time_point(); }});
        simulator->start();
    }
    std::unique_ptr<RawClient> connect() { return std::make_unique<RawClient>(simulator->getPort()); }

    Traffic traffic;
    std::unique_ptr<Simulator> simulator;
};

TEST_F(SimulatorTest, AnswersOverTcp) {
    EXPECT_EQ(connect()->exchange(getModel), model);
}

TEST_F(SimulatorTest, ServesTheAdapters) {
    TcpCommunicator communicator(simulator->getAddress());
    JsonStatus status(&communicator);
    EXPECT_EQ(status.getModel(), L"Simulated projector");
    EXPECT_EQ(status.getLampHours(), (std::vector{412, 398}));
    JsonRemote remote(&communicator);
    remote.sendKeyCode(21);
    EXPECT_EQ(simulator->getProjector().get("lastKey"), Json::Value(21));
    EXPECT_THROW(remote.sendKeyCode(1000), ErrorReplyException);
    EXPECT_EQ(status.getBackplaneTemperature(), 38);
}

TEST_F(SimulatorTest, TakesRecordsHoweverTheyAreCut) {
    const auto client = connect();
    std::string bytes = getModel + "\n" + '\0' + '\0' + '\0' + getModel + '\0';
    for (const char& byte : bytes) {
        client->send({&byte, 1});
    }
    EXPECT_EQ(client->receiveRecord(), model);
    EXPECT_EQ(client->receiveRecord(), model);
    client->send(bytes + bytes);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(client->receiveRecord(), model);
    }
}

TEST_F(SimulatorTest, GoesOnAfterABadRecord) {
    const auto client = connect();
    EXPECT_EQ(client->exchange("nonsense"), error(-32700, "Parse error", "null"));
    EXPECT_EQ(client->exchange(std::string(200'000, '[')), error(-32700, "Parse error", "null"));
    EXPECT_EQ(client->exchange(request("StatusInterface::getModel", "[1]")),
              error(-32602, "Invalid params: expected 0, got 1"));
    client->sendRecord(R"({"jsonrpc":"2.0","method":"StatusInterface::getModel"})");
    EXPECT_EQ(client->exchange("[" + getModel + "]"), "[" + model + "]");
}

TEST_F(SimulatorTest, RefusesARecordThatIsTooLong) {
    start({.largestRecord = 1000});
    const auto client = connect();
    const std::string fits = getModel + std::string(1000 - getModel.size(), ' ');
    EXPECT_EQ(client->exchange(fits), model);
    const std::string refused = error(-32600, "Invalid Request: a record of more than 1000 bytes", "null");
    EXPECT_EQ(client->exchange(fits + ' '), refused);
    EXPECT_EQ(client->exchange(std::string(1'000'000, 'x')), refused);
    EXPECT_EQ(client->exchange(getModel), model);
}

TEST_F(SimulatorTest, AnswersThePeerThatHasFinishedSending) {
    const auto client = connect();
    client->sendRecord(getModel);
    client->send("half a rec");
    EXPECT_EQ(client->receiveRecord(), model);
    client->closeSending();
    EXPECT_EQ(client->receiveToEnd(), "");
    EXPECT_TRUE(traffic.waitFor("disconnected "));
}

TEST_F(SimulatorTest, OwesThePeerThatHasFinishedSendingTheWholeReply) {
    const std::string text(8'000'000, 'a');
    simulator->getProjector().set("model", text);
    const auto client = connect();
    client->sendRecord(getModel);
    client->closeSending();
    EXPECT_TRUE(client->receiveToEnd() == result("\"" + text + "\"") + '\0');
    EXPECT_FALSE(client->wasReset());
}

TEST_F(SimulatorTest, ServesManyConnections) {
    constexpr int count = 100;
    std::vector<std::unique_ptr<RawClient>> clients;
    for (int i = 0; i < count; ++i) {
        clients.push_back(connect());
    }
    for (const auto& client : clients) {
        client->sendRecord(request("get", R"(["power"])"));
    }
    for (const auto& client : clients) {
        EXPECT_EQ(client->receiveRecord(), result("1"));
    }
    EXPECT_EQ(simulator->getServer().countConnections(), std::size_t{count});
    EXPECT_EQ(clients[0]->exchange(request("set", R"(["power",0])")), result("0"));
    for (int i = 1; i < count; ++i) {
        EXPECT_EQ(clients[i]->receiveRecord(), R"({"jsonrpc":"2.0","method":"notify","params":["power",0]})");
    }
    // The one who made the change was told nothing.
    EXPECT_EQ(clients[0]->exchange(getModel), model);
}

TEST_F(SimulatorTest, ServesManyThreads) {
    constexpr int threadCount = 8;
    constexpr int calls = 50;
    std::vector<std::thread> threads;
    for (int i = 0; i < threadCount; ++i) {
        threads.emplace_back([&] {
            TcpCommunicator communicator(simulator->getAddress());
            JsonStatus status(&communicator);
            for (int call = 0; call < calls; ++call) {
                EXPECT_EQ(status.getModel(), L"Simulated projector");
            }
        });
    }
    for (int i = 0; i < calls; ++i) {
        simulator->getProjector().set("power", i % 2);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

TEST_F(SimulatorTest, ATypedCallerIsNeverNotified) {
    const auto typed = connect();
    EXPECT_EQ(typed->exchange(getModel), model);
    const auto listener = connect();
    EXPECT_EQ(listener->exchange(request("get", R"(["power"])")), result("1"));
    simulator->getProjector().set("power", 0);
    EXPECT_EQ(listener->receiveRecord(), R"({"jsonrpc":"2.0","method":"notify","params":["power",0]})");
    EXPECT_EQ(typed->exchange(getModel), model);
}

TEST_F(SimulatorTest, ABurstOfNotificationsArrivesInOrder) {
    const auto listener = connect();
    EXPECT_EQ(listener->exchange(request("get", R"(["power"])")), result("1"));
    constexpr int changes = 20'000;
    std::thread changer([&] {
        for (int i = 0; i < changes; ++i) {
            simulator->getProjector().set("projectorHours", 10'000 + i);
        }
    });
    for (int i = 0; i < changes; ++i) {
        ASSERT_EQ(listener->receiveRecord(),
                  R"({"jsonrpc":"2.0","method":"notify","params":["projectorHours",)" +
                      std::to_string(10'000 + i) + "]}");
    }
    changer.join();
}

TEST_F(SimulatorTest, CutsOffAListenerThatDoesNotRead) {
    start({.largestBacklog = std::size_t{1} << 20});
    const auto deaf = connect();
    EXPECT_EQ(deaf->exchange(request("get", R"(["model"])")), result("\"Simulated projector\""));
    const auto attentive = connect();
    EXPECT_EQ(attentive->exchange(request("get", R"(["power"])")), result("1"));
    // Texts that the system's own buffers (a few megabytes) do not hold for long.
    const std::string end = "disconnected it does not read its notifications";
    constexpr int most = 1000;
    int changes = 0;
    while (traffic.count(end) == 0 && changes < most) {
        const std::string text = std::string(100'000, 'a') + std::to_string(changes++);
        simulator->getProjector().set("model", text);
        ASSERT_EQ(attentive->receiveRecord(),
                  R"({"jsonrpc":"2.0","method":"notify","params":["model",")" + text + "\"]}");
    }
    EXPECT_TRUE(traffic.waitFor(end));
    EXPECT_LT(changes, most);
    EXPECT_EQ(traffic.count(end), 1U);
    // The others are served on.
    EXPECT_EQ(attentive->exchange(request("StatusInterface::getLampCounter")), result("2"));
}

TEST_F(SimulatorTest, DropsNoReplyOfAPeerThatDoesNotReadForLong) {
    start({.largestBacklog = 1});
    const std::string text(100'000, 'a');
    simulator->getProjector().set("model", text);
    const auto client = connect();
    // 20 MB of replies, more than the system's own buffers and the server's allowance hold.
    constexpr int count = 200;
    std::thread sender([&] {
        for (int i = 0; i < count; ++i) {
            client->sendRecord(request("StatusInterface::getModel", "[]", std::to_string(i)));
        }
    });
    sender.join();
    for (int i = 0; i < count; ++i) {
        ASSERT_EQ(client->receiveRecord(), result("\"" + text + "\"", std::to_string(i)));
    }
}

TEST_F(SimulatorTest, StopsAndStartsAgain) {
    const auto client = connect();
    EXPECT_EQ(client->exchange(request("set", R"(["power",0])")), result("0"));
    const std::uint16_t port = simulator->getPort();
    EXPECT_EQ(simulator->getAddress(), "tcp://127.0.0.1:" + std::to_string(port));
    simulator->stop();
    EXPECT_EQ(client->receiveToEnd(), "");
    EXPECT_EQ(simulator->getPort(), 0);
    EXPECT_EQ(simulator->getAddress(), "");
    EXPECT_FALSE(simulator->getServer().isRunning());
    EXPECT_THROW(RawClient{port}, std::system_error);
    simulator->stop();
    simulator->start(port);
    EXPECT_EQ(simulator->getPort(), port);
    EXPECT_EQ(connect()->exchange(request("get", R"(["power"])")), result("0"));
    EXPECT_THROW(simulator->start(), KorvanExceptionRuntime);
}

TEST_F(SimulatorTest, SaysWhyItCannotListen) {
    Simulator second;
    try {
        second.start(simulator->getPort());
        FAIL() << "it listens on a port in use";
    } catch (const DeviceException& error) {
        EXPECT_EQ(error.getMessage(), L"Cannot listen on 127.0.0.1:" + std::to_wstring(simulator->getPort()) +
                                          L": Address already in use");
    }
    EXPECT_THROW(second.start(0, "no such address"), DeviceException);
    second.start();
    EXPECT_NE(second.getPort(), simulator->getPort());
}

TEST_F(SimulatorTest, DisconnectsEveryoneAndGoesOnListening) {
    const auto client = connect();
    EXPECT_EQ(client->exchange(getModel), model);
    simulator->getServer().disconnectAll();
    EXPECT_EQ(client->receiveToEnd(), "");
    EXPECT_EQ(connect()->exchange(getModel), model);
}

TEST_F(SimulatorTest, ShowsItsTraffic) {
    const auto client = connect();
    EXPECT_EQ(client->exchange(getModel), model);
    EXPECT_TRUE(traffic.waitFor("connected"));
    EXPECT_TRUE(traffic.waitFor("received " + getModel));
    EXPECT_TRUE(traffic.waitFor("sent " + model));
}

// Misbehaviour

class MisbehavingSimulatorTest : public SimulatorTest {
protected:
    void misbehave(const std::string& text) { simulator->misbehave(text); }
    std::string ask(int id) { return client->exchange(askText(id)); }
    static std::string askText(int id) {
        return request("StatusInterface::getLampCounter", "[]", std::to_string(id));
    }
    static std::string good(int id) { return result("2", std::to_string(id)); }

    std::unique_ptr<RawClient> client = connect();
};

TEST_F(MisbehavingSimulatorTest, DelaysAReplyAndWhatComesAfterIt) {
    misbehave("delay=100,count=1");
    const auto before = std::chrono::steady_clock::now();
    client->sendRecord(askText(1));
    client->sendRecord(askText(2));
    // Another connection does not wait.
    EXPECT_EQ(connect()->exchange(getModel), model);
    EXPECT_EQ(client->receiveRecord(), good(1));
    EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(100));
    EXPECT_EQ(client->receiveRecord(), good(2));
}

TEST_F(MisbehavingSimulatorTest, GivesNoAnswer) {
    misbehave("no-answer,count=1");
    client->sendRecord(askText(1));
    EXPECT_EQ(ask(2), good(2));
}

TEST_F(MisbehavingSimulatorTest, GivesAWrongId) {
    misbehave("wrong-id,count=1");
    misbehave("wrong-id=-3,count=1");
    EXPECT_EQ(ask(7), good(8));
    EXPECT_EQ(ask(7), good(4));
    EXPECT_EQ(ask(7), good(7));
}

TEST_F(MisbehavingSimulatorTest, GivesAReplyTwice) {
    misbehave("duplicate,count=1");
    EXPECT_EQ(ask(1), good(1));
    EXPECT_EQ(ask(2), good(1));
    EXPECT_EQ(client->receiveRecord(), good(2));
}

TEST_F(MisbehavingSimulatorTest, GivesAReplyLate) {
    misbehave("late,count=1");
    client->sendRecord(askText(1));
    EXPECT_EQ(ask(2), good(1));
    EXPECT_EQ(client->receiveRecord(), good(2));
}

TEST_F(MisbehavingSimulatorTest, GivesAnError) {
    misbehave("error,count=1");
    misbehave("error=-17,count=1");
    EXPECT_EQ(ask(1), error(-32000, "Simulated error"));
    EXPECT_EQ(ask(2), error(-17, "Simulated error", "2"));
}

TEST_F(MisbehavingSimulatorTest, SplitsAReply) {
    misbehave("split");
    misbehave("delay=0");
    EXPECT_EQ(ask(1), good(1));
    // In pieces indeed: each is a write of its own.
    EXPECT_TRUE(traffic.waitFor("sent {"));
    EXPECT_TRUE(traffic.waitFor("sent :"));
    simulator->behave();
    misbehave("split=30");
    EXPECT_EQ(ask(2), good(2));
    EXPECT_TRUE(traffic.waitFor("sent " + good(2).substr(0, 30)));
}

TEST_F(MisbehavingSimulatorTest, TruncatesAReply) {
    misbehave("truncate=9,count=1");
    misbehave("truncate,count=1");
    EXPECT_EQ(ask(1), R"({"id":1,")");
    EXPECT_EQ(ask(2), good(2).substr(0, good(2).size() / 2));
    EXPECT_EQ(ask(3), good(3));
}

TEST_F(MisbehavingSimulatorTest, SendsGarbage) {
    misbehave("garbage=100,count=1,seed=3");
    const std::string garbage = ask(1);
    EXPECT_EQ(garbage.size(), 100U);
    EXPECT_EQ(ask(2), good(2));
    simulator->behave();
    misbehave("garbage=100,count=1,seed=3");
    EXPECT_EQ(ask(3), garbage);
    misbehave("garbage=100,count=1,seed=4");
    EXPECT_NE(ask(4), garbage);
}

TEST_F(MisbehavingSimulatorTest, ResetsTheConnection) {
    misbehave("reset,count=1");
    client->sendRecord(askText(1));
    EXPECT_EQ(client->receiveToEnd(), "");
    EXPECT_TRUE(client->wasReset());
    client = connect();
    EXPECT_EQ(ask(1), good(1));
    misbehave("reset=5,count=1");
    client->sendRecord(askText(2));
    EXPECT_EQ(client->receiveToEnd(), R"({"id")");
    EXPECT_TRUE(client->wasReset());
    EXPECT_EQ(connect()->exchange(getModel), model);
}

TEST_F(MisbehavingSimulatorTest, ByMethod) {
    misbehave("no-answer,method=StatusInterface::getModel");
    client->sendRecord(getModel);
    EXPECT_EQ(ask(1), good(1));
    misbehave("error,method=StatusInterface::*");
    EXPECT_EQ(ask(1), error(-32000, "Simulated error"));
    EXPECT_EQ(client->exchange(request("get", R"(["power"])")), result("1"));
    // One of a batch is enough.
    client->sendRecord("[" + getModel + "," + request("get", R"(["power"])") + "]");
    EXPECT_EQ(client->exchange(request("get", R"(["power"])", "9")), result("1", "9"));
}

TEST_F(MisbehavingSimulatorTest, ByCount) {
    misbehave("wrong-id=100,after=2,every=3,count=2");
    std::string which;
    for (int i = 0; i < 12; ++i) {
        which += ask(i) == good(i) ? '.' : 'x';
    }
    EXPECT_EQ(which, "..x..x......");
}

TEST_F(MisbehavingSimulatorTest, ByChance) {
    const auto draw = [&](const std::string& seed) {
        simulator->behave();
        misbehave("wrong-id=100,probability=0.3,seed=" + seed);
        std::string which;
        for (int i = 0; i < 200; ++i) {
            which += ask(i) == good(i) ? '.' : 'x';
        }
        return which;
    };
    const std::string first = draw("5");
    EXPECT_EQ(draw("5"), first);
    EXPECT_NE(draw("6"), first);
    const auto hits = std::count(first.begin(), first.end(), 'x');
    EXPECT_GT(hits, 30);
    EXPECT_LT(hits, 90);
}

TEST_F(MisbehavingSimulatorTest, BehavesAgain) {
    misbehave("no-answer");
    simulator->behave();
    EXPECT_EQ(ask(1), good(1));
}

TEST_F(MisbehavingSimulatorTest, TheHostSeesWhatItShould) {
    TcpCommunicator communicator(simulator->getAddress());
    JsonStatus status(&communicator);
    misbehave("late,count=1");
    misbehave("duplicate,count=1,method=StatusInterface::getModel");
    misbehave("garbage,count=1,after=1,method=StatusInterface::getModel");
    misbehave("wrong-id,count=1,method=StatusInterface::getSoftware");
    misbehave("reset=10,count=1,method=StatusInterface::getSync");
    misbehave("split,method=StatusInterface::getLampHours");
    client->sendRecord(askText(1));
    EXPECT_EQ(ask(2), good(1));
    // A reply twice: the second is skipped by the next call.
    EXPECT_EQ(status.getModel(), L"Simulated projector");
    EXPECT_EQ(status.getLampHours(), (std::vector{412, 398}));
    EXPECT_THROW(status.getModel(), BrokenProtocolException);
    EXPECT_THROW(status.getSoftware(), BrokenProtocolException);
    EXPECT_THROW(status.getSync(), DeviceNotConnectedException);
    EXPECT_EQ(status.getSync(), L"74.0 kHz / 60.0 Hz");
}

}  // namespace

}  // namespace JsonDevice
