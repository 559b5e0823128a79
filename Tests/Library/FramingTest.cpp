// Records over a byte stream: the same matrix over the in-memory pair and over
// TCP, read as they come and in reads of one, seven and 4096 bytes.

#include <algorithm>
#include <chrono>
#include <future>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <json/value.h>

#include "DeviceManager/JsonDevice/JsonConnection.h"
#include "DeviceManager/JsonDevice/JsonExceptions.h"
#include "Platform/Transport/DeviceExceptions.h"
#include "Platform/Transport/TcpCommunicator.h"
#include "Tests/Support/CommunicatorPair.h"
#include "Tests/Support/TcpPeer.h"

namespace JsonDevice {
namespace {

using namespace std::chrono_literals;

constexpr int patienceMs = 60000;
constexpr int blockSize = 65535;  // the most that the connection asks for in one read

/// Passes everything on, and cuts reads short.
class LimitedReads : public Communicator {
public:
    explicit LimitedReads(Communicator& inner) : inner(inner) {}

    std::wstring getDisplayName() const override { return inner.getDisplayName(); }
    int read(char* buffer, int capacity, int minimum, int timeoutMs) override {
        ++reads;
        return inner.read(buffer, limit == 0 ? capacity : std::min(capacity, limit), minimum, timeoutMs);
    }
    int write(const char* data, std::size_t length, int block, int flush) override {
        return inner.write(data, length, block, flush);
    }
    std::uint64_t connectionCount() const override { return inner.connectionCount(); }
    void beginExchange() noexcept override { inner.beginExchange(); }
    void abandonExchange() noexcept override { inner.abandonExchange(); }

    int limit = 0;
    int reads = 0;

private:
    Communicator& inner;
};

/// A transport with both of its ends.
class Wire {
public:
    virtual ~Wire() = default;
    virtual Communicator& host() = 0;
    /// The device's side. After close() each waits until the host has connected again.
    virtual void send(std::string_view bytes) = 0;
    virtual std::string receiveRecord() = 0;
    virtual void close() = 0;
};

class PairWire : public Wire {
public:
    Communicator& host() override { return pair.host(); }
    void send(std::string_view bytes) override { device().send(bytes); }
    std::string receiveRecord() override { return device().receiveRecord(); }
    void close() override {
        device().disconnect();
        ++connections;
    }

private:
    CommunicatorPair::End& device() {
        pair.waitForConnection(connections);
        return pair.device();
    }

    std::uint64_t connections = 1;
    CommunicatorPair pair;
};

class TcpWire : public Wire {
public:
    Communicator& host() override { return communicator; }
    void send(std::string_view bytes) override { current().send(bytes); }
    std::string receiveRecord() override { return current().receiveRecord(); }
    void close() override {
        current().close();
        link.reset();
    }

private:
    TcpPeer::Link& current() {
        if (!link) {
            link.emplace(peer.accept());
        }
        return *link;
    }

    TcpPeer peer;
    TcpCommunicator communicator{peer.getAddress()};
    std::optional<TcpPeer::Link> link;
};

struct Variant {
    const char* transport;
    int readLimit;

    friend void PrintTo(const Variant& variant, std::ostream* out) {
        *out << variant.transport << ", " << variant.readLimit;
    }
};

class Framing : public testing::TestWithParam<Variant> {
protected:
    Framing() {
        if (GetParam().transport == std::string("Tcp")) {
            wire = std::make_unique<TcpWire>();
        } else {
            wire = std::make_unique<PairWire>();
        }
        host = std::make_unique<LimitedReads>(wire->host());
        host->limit = GetParam().readLimit;
        connection = std::make_unique<JsonConnection>(host.get());
        greet();
    }

    /// An exchange without a reply, after which there is a connection.
    void greet() {
        Json::Value hello;
        hello["method"] = "hello";
        connection->sendMsg(hello);
        EXPECT_EQ(wire->receiveRecord(),
                  R"({"id":)" + std::to_string(connection->getNextId()) + R"(,"method":"hello"})" + "\n");
    }

    /// A message that can be told apart, of so many bytes with its NUL.
    static std::string message(int number, std::size_t size = 0) {
        std::string text = R"({"n":)" + std::to_string(number) + R"(,"pad":")";
        const std::size_t frame = text.size() + 3;
        text.append(size > frame ? size - frame : 0, 'p');
        text += "\"}";
        text += '\0';
        return text;
    }

    /// The number of the next message, -1 when there was none.
    int nextNumber(int timeoutMs = patienceMs) {
        const Json::Value value = connection->readMsg(timeoutMs);
        return value.isNull() ? -1 : value["n"].asInt();
    }

    static std::string reply(long long id, const std::string& result) {
        return R"({"id":)" + std::to_string(id) + R"(,"jsonrpc":"2.0","result":)" + result + '}' + '\0';
    }

    std::string call() {
        return connection->callCommunicator("test", Json::Value(Json::arrayValue), 10s)["result"].asString();
    }

    std::unique_ptr<Wire> wire;
    std::unique_ptr<LimitedReads> host;
    std::unique_ptr<JsonConnection> connection;
};

TEST_P(Framing, ManyRecordsInOneRead) {
    wire->send(message(1) + message(2) + message(3));
    EXPECT_EQ(nextNumber(), 1);
    EXPECT_EQ(nextNumber(), 2);
    EXPECT_EQ(nextNumber(), 3);
    if (GetParam().readLimit == 0) {
        EXPECT_EQ(host->reads, 1);
    }
}

TEST_P(Framing, OneRecordInManyReads) {
    const std::string text = message(1, 100);
    wire->send(text);
    EXPECT_EQ(nextNumber(), 1);
    if (GetParam().readLimit != 0) {
        EXPECT_EQ(host->reads, (100 + GetParam().readLimit - 1) / GetParam().readLimit);
    }
}

TEST_P(Framing, ARecordInPiecesAsTheDeviceSendsThem) {
    const std::string text = message(1, 1000);
    auto number = std::async(std::launch::async, [this] { return nextNumber(); });
    for (std::size_t from = 0; from < text.size(); from += 100) {
        wire->send(std::string_view(text).substr(from, 100));
    }
    EXPECT_EQ(number.get(), 1);
}

TEST_P(Framing, EmptyRecordsAreSkipped) {
    const std::string nuls(5, '\0');
    wire->send(nuls + message(1) + nuls + message(2) + nuls);
    EXPECT_EQ(nextNumber(), 1);
    EXPECT_EQ(nextNumber(), 2);
    wire->send(message(3));
    EXPECT_EQ(nextNumber(), 3);
}

TEST_P(Framing, ALoneNulIsNoRecord) {
    wire->send(std::string(3, '\0'));
    EXPECT_EQ(nextNumber(30), -1);
    wire->send(message(1));
    EXPECT_EQ(nextNumber(), 1);
}

TEST_P(Framing, EndOfStreamInsideARecordLosesTheConnectionAndNothingElse) {
    const std::string text = message(1);
    for (const std::size_t cut : {std::size_t{1}, text.size() / 2, text.size() - 1}) {
        wire->send(message(7) + text.substr(0, cut));
        wire->close();
        EXPECT_EQ(nextNumber(), 7) << "a whole record before the end can still be read";
        EXPECT_THROW(nextNumber(), DeviceNotConnectedException);
        greet();
        wire->send(message(2));
        EXPECT_EQ(nextNumber(), 2) << "nothing is left of the record that was cut at " << cut;
    }
}

TEST_P(Framing, EndOfStreamBetweenRecords) {
    wire->send(message(1));
    wire->close();
    EXPECT_EQ(nextNumber(), 1);
    EXPECT_THROW(nextNumber(), DeviceNotConnectedException);
    greet();
    wire->send(message(2));
    EXPECT_EQ(nextNumber(), 2);
}

TEST_P(Framing, RecordsThatEndAroundTheEndOfTheBuffer) {
    for (const int off : {-2, -1, 0, 1, 2}) {
        const auto size = static_cast<std::size_t>(blockSize + off);
        auto sent = std::async(std::launch::async, [&] { wire->send(message(1, size) + message(2)); });
        EXPECT_EQ(nextNumber(), 1) << size;
        EXPECT_EQ(nextNumber(), 2) << size;
        sent.get();
    }
}

TEST_P(Framing, TheEndOfTheBufferInsideTheSecondRecord) {
    for (const int off : {-1, 0, 1}) {
        const auto size = static_cast<std::size_t>(blockSize - 50 + off);
        auto sent = std::async(std::launch::async,
                               [&] { wire->send(message(1, size) + message(2, 50) + message(3, 60)); });
        EXPECT_EQ(nextNumber(), 1) << size;
        EXPECT_EQ(nextNumber(), 2) << size;
        EXPECT_EQ(nextNumber(), 3) << size;
        sent.get();
    }
}

TEST_P(Framing, ARecordOfManyBuffers) {
    // A read of a few bytes is a system call of its own.
    const std::size_t size = GetParam().readLimit == 1 || GetParam().readLimit == 7 ? 300'000 : 5'000'000;
    auto sent = std::async(std::launch::async, [&] { wire->send(message(1, size) + message(2)); });
    const Json::Value value = connection->readMsg(patienceMs);
    EXPECT_EQ(value["n"], 1);
    EXPECT_EQ(value["pad"].asString().size(), size - message(1).size());
    EXPECT_EQ(nextNumber(), 2);
    sent.get();
}

TEST_P(Framing, TwoRepliesInOneReadServeTwoCalls) {
    const long long id = connection->getNextId();
    wire->send(reply(id + 1, "\"one\"") + reply(id + 2, "\"two\""));
    EXPECT_EQ(call(), "one");
    const int readsOfTheFirst = host->reads;
    EXPECT_EQ(call(), "two");
    if (GetParam().readLimit == 0) {
        EXPECT_EQ(host->reads, readsOfTheFirst);
    }
    wire->receiveRecord();
    wire->receiveRecord();
}

TEST_P(Framing, AReplyInThreePieces) {
    auto device = std::async(std::launch::async, [this] {
        wire->receiveRecord();
        const std::string text = reply(connection->getNextId(), "\"whole\"");
        wire->send(text.substr(0, 5));
        wire->send(text.substr(5, 10));
        wire->send(text.substr(15));
    });
    EXPECT_EQ(call(), "whole");
    device.get();
}

TEST_P(Framing, ADeviceThatGoesAwayDuringACallFailsItAndServesTheNext) {
    auto leaves = std::async(std::launch::async, [this] {
        wire->receiveRecord();
        wire->send(R"({"id":)");
        wire->close();
    });
    EXPECT_THROW(call(), DeviceNotConnectedException);
    leaves.get();
    auto serves = std::async(std::launch::async, [this] {
        wire->receiveRecord();
        wire->send(reply(connection->getNextId(), "\"back\""));
    });
    EXPECT_EQ(call(), "back");
    serves.get();
}

TEST_P(Framing, NothingReadOnAnEarlierConnectionAnswersACall) {
    // A reply with the id of the call to come is in the buffer when the device goes away.
    const long long id = connection->getNextId();
    wire->send(message(1) + reply(id + 1, "\"stale\""));
    EXPECT_EQ(nextNumber(), 1);
    wire->close();
    auto serves = std::async(std::launch::async, [this] {
        wire->receiveRecord();
        wire->send(reply(connection->getNextId(), "\"fresh\""));
    });
    EXPECT_EQ(call(), "fresh");
    serves.get();
}

TEST_P(Framing, AConnectionThatAReadMadeKeepsWhatItBrought) {
    wire->close();
    EXPECT_THROW(nextNumber(), DeviceNotConnectedException);
    auto greets = std::async(std::launch::async, [this] { wire->send(message(1) + message(2)); });
    EXPECT_EQ(nextNumber(), 1);
    EXPECT_EQ(nextNumber(), 2);
    greets.get();
}

TEST_P(Framing, TheHalfOfARecordDoesNotGoOnInTheNextConnection) {
    const std::string text = message(1);
    wire->send(text.substr(0, text.size() / 2));
    EXPECT_EQ(nextNumber(30), -1);
    wire->close();
    greet();
    wire->send(message(2));
    EXPECT_EQ(nextNumber(), 2);
}

TEST_P(Framing, ARequestIsOneRecord) {
    Json::Value params(Json::arrayValue);
    params.append(std::string(200'000, 'x'));
    auto device = std::async(std::launch::async, [this] {
        const std::string request = wire->receiveRecord();
        wire->send(reply(connection->getNextId(), "\"ok\""));
        return request;
    });
    EXPECT_EQ(connection->callCommunicator("test", params, 10s)["result"], "ok");
    const std::string request = device.get();
    EXPECT_EQ(request, JsonConnection::buildRequestString(
                           "test", static_cast<Json::Int64>(connection->getNextId()), params));
}

INSTANTIATE_TEST_SUITE_P(Transports, Framing,
                         testing::Values(Variant{"Pair", 0}, Variant{"Pair", 1}, Variant{"Pair", 7},
                                         Variant{"Pair", 4096}, Variant{"Tcp", 0}, Variant{"Tcp", 1},
                                         Variant{"Tcp", 7}, Variant{"Tcp", 4096}),
                         [](const auto& info) {
                             return std::string(info.param.transport) + "ReadsOf" +
                                    (info.param.readLimit == 0 ? "All"
                                                               : std::to_string(info.param.readLimit));
                         });

}  // namespace
}  // namespace JsonDevice
