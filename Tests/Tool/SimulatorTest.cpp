#include <csignal>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "DeviceManager/JsonDevice/Vocabulary/Vocabulary.h"
#include "Tests/Tool/Document.h"
#include "Tests/Tool/Process.h"

/// The tool and the simulated projector, each a process of its own.
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;

class ToolWithSimulator : public testing::Test {
protected:
    void start(std::vector<std::string> options = {}, const std::string& port = "0") {
        options.insert(options.begin(), {"--port", port});
        simulator = std::make_unique<Process>(JSONDEVICE_SIMULATOR, options);
        const std::string line = simulator->readLine();
        address = line.substr(line.find("tcp://"));
    }
    void kill() {
        simulator->signal(SIGKILL);
        simulator->wait();
    }

    struct Ended {
        int status;
        std::string output;
        std::string errors;
    };
    Ended run(std::vector<std::string> arguments) const {
        Process process(JSONDEVICE_TOOL, arguments, {.environment = {{"JSONDEVICE", address}}});
        const int status = process.wait();
        return {status, process.output(), process.errors()};
    }

    std::unique_ptr<Process> simulator;
    std::string address;
};

TEST_F(ToolWithSimulator, ShowsTheStatus) {
    start();
    const Ended ended = run({"status"});
    EXPECT_EQ(ended.status, 0) << ended.errors;
    EXPECT_EQ(ended.errors, "");
    EXPECT_THAT(ended.output, ContainsRegex("\n  Resolution       [0-9]+ x [0-9]+ pixels\n"));
    EXPECT_THAT(ended.output, ContainsRegex("\n  Lamp hours       [0-9, ]+ h\n"));
    EXPECT_THAT(ended.output, ContainsRegex("\n  DMD heat sink    [0-9]+ °C\n"));
    EXPECT_EQ(ended.output.find("error"), std::string::npos) << ended.output;
    const Json::Value json = document(run({"status", "--json"}).output);
    EXPECT_EQ(json["device"].asString(), address);
    EXPECT_TRUE(json["result"]["projector"]["model"].isString());
}

TEST_F(ToolWithSimulator, UsesTheRemoteControl) {
    start({"--verbose"});
    EXPECT_EQ(run({"remote", "key", "12"}).status, 0);
    EXPECT_EQ(run({"remote", "osd", "1"}).status, 0);
    simulator->signal(SIGTERM);
    EXPECT_EQ(simulator->wait(), 0);
    EXPECT_THAT(simulator->errors(), HasSubstr(R"("method":"RemoteInterface::sendKeyCode","params":[12])"));
    EXPECT_THAT(simulator->errors(), HasSubstr(R"("method":"RemoteInterface::sendOSD","params":[1])"));
}

// No method needs code of its own: each one without arguments can be called by its name alone.
TEST_F(ToolWithSimulator, CallsEveryMethodWithoutArguments) {
    start();
    for (const auto& operation : JsonDevice::Vocabulary::operations()) {
        if (operation.parameters.empty()) {
            const Ended ended = run({"call", std::string(operation.method), "--json"});
            const Json::Value json = document(ended.output);
            // Which of them it has, and allows at present, is the projector's business.
            EXPECT_TRUE(ended.status == 0 || ended.status == 1) << ended.output;
            EXPECT_EQ(ended.errors, "");
            EXPECT_NE(json["error"]["code"].asInt(), -32602) << ended.output;
        }
    }
}

TEST_F(ToolWithSimulator, AProjectorThatIsKilledBeforeACallCannotBeConnectedTo) {
    start();
    kill();
    const Ended ended = run({"status"});
    EXPECT_EQ(ended.status, 3);
    EXPECT_THAT(ended.errors, HasSubstr("error: cannot connect to " + address));
}

TEST_F(ToolWithSimulator, AProjectorThatIsKilledDuringACallIsALostConnection) {
    for (const bool json : {false, true}) {
        start({"--misbehave", "no-answer", "--verbose"});
        std::vector<std::string> arguments = {"-d", address, "call", "getModel"};
        if (json) {
            arguments.emplace_back("--json");
        }
        Process tool(JSONDEVICE_TOOL, arguments);
        while (simulator->readErrorLine().find("getModel") == std::string::npos) {
        }
        kill();
        EXPECT_EQ(tool.wait(), 3);
        if (json) {
            EXPECT_EQ(document(tool.output())["error"]["kind"].asString(), "connection");
        } else {
            EXPECT_THAT(tool.errors(), HasSubstr("error: lost the connection to " + address));
        }
    }
}

TEST_F(ToolWithSimulator, AProjectorThatIsKilledBetweenTwoCallsIsBackForTheNext) {
    start();
    EXPECT_EQ(run({"call", "getModel"}).status, 0);
    kill();
    EXPECT_EQ(run({"call", "getModel"}).status, 3);
    start({}, address.substr(address.rfind(':') + 1));
    EXPECT_EQ(run({"call", "getModel"}).status, 0);
}

// In the middle of a status the connection is reset: no half a table, and one document.
TEST_F(ToolWithSimulator, AResetInTheMiddleOfManyCallsLeavesTheOutputClean) {
    start({"--misbehave", "reset,method=StatusInterface::getLampHours"});
    const Ended ended = run({"status"});
    EXPECT_EQ(ended.status, 3);
    EXPECT_EQ(ended.output, "");
    const Ended json = run({"status", "--json"});
    EXPECT_EQ(json.status, 3);
    EXPECT_EQ(document(json.output)["error"]["exitStatus"].asInt(), 3);
}

struct Misbehaving {
    const char* name;
    const char* misbehaviour;
    int status;
};

class ToolWithMisbehavingSimulator : public ToolWithSimulator,
                                     public testing::WithParamInterface<Misbehaving> {};

TEST_P(ToolWithMisbehavingSimulator, ExitsWithItsStatusAndCleanJson) {
    start({"--misbehave", GetParam().misbehaviour});
    const Ended ended = run({"--json", "--timeout", "100ms", "call", "getModel"});
    EXPECT_EQ(ended.status, GetParam().status) << ended.output;
    const Json::Value json = document(ended.output);
    EXPECT_EQ(json.isMember("error"), GetParam().status != 0);
    const Ended plain = run({"--timeout", "100ms", "call", "getModel"});
    EXPECT_EQ(plain.status, GetParam().status);
    EXPECT_EQ(plain.output.empty(), GetParam().status != 0);
}

INSTANTIATE_TEST_SUITE_P(
    All, ToolWithMisbehavingSimulator,
    testing::Values(Misbehaving{"error", "error=-32050", 1}, Misbehaving{"noAnswer", "no-answer", 4},
                    Misbehaving{"wrongId", "wrong-id=100", 5}, Misbehaving{"garbage", "garbage", 5},
                    Misbehaving{"truncated", "truncate", 5}, Misbehaving{"reset", "reset=5", 3},
                    Misbehaving{"split", "split=7", 0}, Misbehaving{"duplicate", "duplicate", 0}),
    [](const auto& row) { return row.param.name; });

}  // namespace
