#include <csignal>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/Support/TcpPeer.h"
#include "Tests/Tool/Document.h"
#include "Tests/Tool/Process.h"

/// The commands that speak in messages about codes.
namespace {

using testing::HasSubstr;

class Messages : public testing::Test {
protected:
    std::unique_ptr<Process> start(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"-d", peer.getAddress()});
        return std::make_unique<Process>(JSONDEVICE_TOOL, arguments);
    }
    static std::string record(const std::string& json) { return json + '\0'; }
    static std::string notification(const std::string& params) {
        return record(R"({"jsonrpc":"2.0","method":"notify","params":)" + params + "}");
    }
    /// The request that the command sends, when the device answers with this.
    std::string exchange(const std::vector<std::string>& arguments, const std::string& answer) {
        const auto process = start(arguments);
        TcpPeer::Link link = peer.accept();
        std::string request = link.receiveRecord();
        link.send(record(answer));
        status = process->wait();
        output = process->output();
        errors = process->errors();
        return request;
    }

    TcpPeer peer;
    int status = -1;
    std::string output;
    std::string errors;
};

constexpr const char* one = R"({"id":1,"jsonrpc":"2.0","result":1})";

TEST_F(Messages, GetsAValue) {
    EXPECT_EQ(exchange({"get", "osd"}, one), R"({"id":1,"jsonrpc":"2.0","method":"get","params":["osd"]})"
                                             "\n");
    EXPECT_EQ(status, 0);
    EXPECT_EQ(output, "1\n");
    EXPECT_EQ(errors, "");
    exchange({"get", "osd", "--json"}, one);
    EXPECT_EQ(document(output)["result"].asInt(), 1);
}

TEST_F(Messages, AsksForAttributesAndProperties) {
    EXPECT_THAT(exchange({"attributes", "osd"}, R"({"id":1,"result":{"maximum":1,"type":"int\u001b"}})"),
                HasSubstr(R"("method":"getAttributes","params":["osd"])"));
    EXPECT_EQ(output, "maximum  1\ntype     int\\x1b\n");
    EXPECT_THAT(exchange({"properties", "osd"}, one),
                HasSubstr(R"("method":"getProperties","params":["osd"])"));
}

TEST_F(Messages, SetsAValueOfAnyKindBehindItsCode) {
    const auto sent = [&](const std::string& value) { return exchange({"set", "osd", value}, one); };
    EXPECT_THAT(sent("1"), HasSubstr(R"("method":"set","params":["osd",1])"));
    EXPECT_THAT(sent("-1.5"), HasSubstr(R"("params":["osd",-1.5])"));
    EXPECT_THAT(sent("true"), HasSubstr(R"("params":["osd",true])"));
    EXPECT_THAT(sent("null"), HasSubstr(R"("params":["osd",null])"));
    EXPECT_THAT(sent("some text"), HasSubstr(R"("params":["osd","some text"])"));
    EXPECT_THAT(sent("\"12\""), HasSubstr(R"("params":["osd","12"])"));
    EXPECT_THAT(sent(R"({"a":1})"), HasSubstr(R"("params":["osd",{"a":1}])"));
    EXPECT_THAT(sent("[1,2]"), HasSubstr(R"("params":["osd",[1,2]])"));
    EXPECT_THAT(sent("@@home"), HasSubstr(R"("params":["osd","@home"])"));
    EXPECT_THAT(sent(""), HasSubstr(R"("params":["osd",""])"));
    // The code that means an error to the interpreter is a code like any other here.
    EXPECT_THAT(exchange({"get", "error"}, one), HasSubstr(R"("params":["error"])"));
    EXPECT_EQ(output, "1\n");
}

TEST_F(Messages, PassesNotificationsBeforeTheReply) {
    const auto process = start({"get", "osd"});
    TcpPeer::Link link = peer.accept();
    link.receiveRecord();
    link.send(notification(R"(["osd",5])") + record(R"({"id":99,"result":2})") + record(one));
    EXPECT_EQ(process->wait(), 0);
    EXPECT_EQ(process->output(), "1\n");
}

TEST_F(Messages, FailuresHaveTheirStatus) {
    exchange({"get", "osd"}, R"({"id":1,"error":{"code":-32001,"message":"Unknown code"}})");
    EXPECT_EQ(status, 1);
    EXPECT_EQ(errors,
              "error: " + peer.getAddress() + ": the device answered with error -32001: Unknown code\n");
    exchange({"get", "osd"}, "garbage");
    EXPECT_EQ(status, 5);
    const auto silent = start({"--timeout", "20ms", "get", "osd"});
    TcpPeer::Link link = peer.accept();
    EXPECT_EQ(silent->wait(), 4);
    EXPECT_THAT(silent->errors(), HasSubstr("no reply within 0.02 s"));
    {
        const auto lost = start({"get", "osd"});
        TcpPeer::Link broken = peer.accept();
        broken.receiveRecord();
        broken.close();
        EXPECT_EQ(lost->wait(), 3);
    }
    const auto misuse = start({"get", "\xff"});
    EXPECT_EQ(misuse->wait(), 2);
}

class WatchTest : public Messages {
protected:
    /// Starts a watch, and answers to what it asks first.
    TcpPeer::Link watch(const std::vector<std::string>& arguments) {
        process = start(arguments);
        TcpPeer::Link link = peer.accept();
        request = link.receiveRecord();
        link.send(record(R"({"id":1,"result":0})"));
        EXPECT_EQ(process->readErrorLine(), "watching " + peer.getAddress());
        return link;
    }

    std::unique_ptr<Process> process;
    std::string request;
};

TEST_F(WatchTest, PrintsALineForEachNotification) {
    TcpPeer::Link link = watch({"watch", "osd"});
    EXPECT_THAT(request, HasSubstr(R"("method":"get","params":["osd"])"));
    link.send(notification(R"(["osd",5])"));
    EXPECT_EQ(process->readLine(), "osd  5");
    link.send(notification(R"(["other",1])") + notification(R"(["osd","a\u001b\nb"])") +
              notification(R"(["osd",[1,2]])") + notification(R"(["osd",{"a":1}])"));
    EXPECT_EQ(process->readLine(), "osd  a\\x1b\\nb");
    EXPECT_EQ(process->readLine(), "osd  1, 2");
    EXPECT_EQ(process->readLine(), R"(osd  {"a":1})");
    process->signal(SIGINT);
    EXPECT_EQ(process->wait(), 130);
    EXPECT_EQ(process->output(), "osd  5\nosd  a\\x1b\\nb\nosd  1, 2\nosd  {\"a\":1}\n");
}

TEST_F(WatchTest, PrintsADocumentForEachNotification) {
    TcpPeer::Link link = watch({"watch", "--json", "--count", "2"});
    link.send(notification(R"(["osd",5])") + notification(R"(["\u001b","x"])"));
    EXPECT_EQ(process->wait(), 0);
    const std::string first = process->readLine() + "\n";
    const std::string second = process->readLine() + "\n";
    EXPECT_EQ(document(first)["result"]["code"].asString(), "osd");
    EXPECT_EQ(document(first)["result"]["value"].asInt(), 5);
    EXPECT_EQ(document(first)["device"].asString(), peer.getAddress());
    EXPECT_EQ(document(second)["result"]["code"].asString(), "\x1b");
    EXPECT_EQ(process->output(), first + second);
}

TEST_F(WatchTest, TakesNotificationsThatComeBeforeTheReply) {
    process = start({"watch", "-n", "1"});
    TcpPeer::Link link = peer.accept();
    link.receiveRecord();
    link.send(notification(R"(["osd",5])"));
    EXPECT_EQ(process->readLine(), "osd  5");
    link.send(record(R"({"id":1,"error":{"code":-1,"message":"no such code"}})"));
    EXPECT_EQ(process->wait(), 0);
    EXPECT_EQ(process->output(), "osd  5\n");
}

TEST_F(WatchTest, ACodeThatTheDeviceDoesNotKnowIsAnError) {
    process = start({"watch", "nope"});
    TcpPeer::Link link = peer.accept();
    link.receiveRecord();
    link.send(record(R"({"id":1,"error":{"code":-1,"message":"no such code"}})"));
    EXPECT_EQ(process->wait(), 1);
    EXPECT_THAT(process->errors(), HasSubstr("error -1: no such code"));
}

TEST_F(WatchTest, SurvivesARecordThatCannotBeRead) {
    TcpPeer::Link link = watch({"watch", "-n", "1"});
    link.send(record("gar\x1b[31mbage"));
    const std::string note = process->readErrorLine();
    EXPECT_THAT(note, HasSubstr("a record that cannot be read was skipped"));
    EXPECT_EQ(note.find('\x1b'), std::string::npos);
    link.send(notification(R"(["osd",5])"));
    EXPECT_EQ(process->wait(), 0);
    EXPECT_EQ(process->output(), "osd  5\n");
}

TEST_F(WatchTest, ADeviceThatGoesAwayEndsIt) {
    for (const bool json : {false, true}) {
        std::vector<std::string> arguments = {"watch"};
        if (json) {
            arguments.emplace_back("--json");
        }
        {
            TcpPeer::Link link = watch(arguments);
            link.send(notification(R"(["osd",5])"));
            process->readLine();
        }
        EXPECT_EQ(process->wait(), 3);
        if (json) {
            EXPECT_EQ(document(process->readLine() + "\n")["error"]["kind"].asString(), "connection");
        } else {
            EXPECT_THAT(process->errors(), HasSubstr("error: lost the connection to"));
        }
    }
}

TEST_F(WatchTest, ABadCountIsRefused) {
    for (const char* count : {"0", "-1", "x", "99999999999"}) {
        const auto refused = start({"watch", "--count", count});
        EXPECT_EQ(refused->wait(), 2) << count;
    }
}

// What two terminals show: one watches, one sets.
TEST(WatchWithSimulator, SeesWhatAnotherSets) {
    Process simulator(JSONDEVICE_SIMULATOR, {"--port", "0"});
    const std::string line = simulator.readLine();
    const Process::Setup setup{.environment = {{"JSONDEVICE", line.substr(line.find("tcp://"))}}};
    Process watch(JSONDEVICE_TOOL, {"watch", "osd", "-n", "2"}, setup);
    EXPECT_THAT(watch.readErrorLine(), HasSubstr("watching"));
    Process set(JSONDEVICE_TOOL, {"set", "osd", "1"}, setup);
    EXPECT_EQ(set.wait(), 0);
    EXPECT_EQ(watch.readLine(), "osd  1");
    Process typed(JSONDEVICE_TOOL, {"remote", "osd", "0"}, setup);
    EXPECT_EQ(typed.wait(), 0);
    EXPECT_EQ(watch.readLine(), "osd  0");
    EXPECT_EQ(watch.wait(), 0);
    Process unknown(JSONDEVICE_TOOL, {"get", "nope"}, setup);
    EXPECT_EQ(unknown.wait(), 1);
    Process range(JSONDEVICE_TOOL, {"set", "osd", "5"}, setup);
    EXPECT_EQ(range.wait(), 1);
}

}  // namespace
