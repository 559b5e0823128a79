#include <csignal>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "Tests/Support/TcpPeer.h"
#include "Tests/Tool/Document.h"
#include "Tests/Tool/Process.h"

/// The tool as a process, with a device that the test plays byte by byte.
namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

constexpr const char* tool = JSONDEVICE_TOOL;

class Tool : public testing::Test {
protected:
    /// Runs to the end without a device.
    struct Ended {
        int status;
        std::string output;
        std::string errors;
    };
    static Ended run(const std::vector<std::string>& arguments, const Process::Setup& setup = {}) {
        Process process(tool, arguments, setup);
        const int status = process.wait();
        return {status, process.output(), process.errors()};
    }
    std::vector<std::string> withDevice(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), {"-d", peer.getAddress()});
        return arguments;
    }
    /// Runs against the device, which answers its one request with these bytes.
    Ended answered(const std::vector<std::string>& arguments, const std::string& bytes,
                   const Process::Setup& setup = {}) {
        Process process(tool, withDevice(arguments), setup);
        TcpPeer::Link link = peer.accept();
        request = link.receiveRecord();
        link.send(bytes);
        const int status = process.wait();
        return {status, process.output(), process.errors()};
    }
    static std::string result(const std::string& json) {
        return R"({"id":1,"jsonrpc":"2.0","result":)" + json + "}" + '\0';
    }
    static std::string error(const std::string& json) {
        return R"({"id":1,"jsonrpc":"2.0","error":)" + json + "}" + '\0';
    }

    TcpPeer peer;
    std::string request;
};

TEST_F(Tool, CallsAMethodAndPrintsItsResult) {
    const Ended ended = answered({"call", "getLampHours"}, result("[1200,1350]"));
    EXPECT_EQ(request, R"({"id":1,"jsonrpc":"2.0","method":"StatusInterface::getLampHours","params":[]})"
                       "\n");
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.output, "1200\n1350\n");
    EXPECT_EQ(ended.errors, "");
}

TEST_F(Tool, SendsArgumentsByTheirTypes) {
    const Ended ended = answered({"call", "RemoteInterface::sendKeyCode", "-12"}, result("null"));
    EXPECT_THAT(request, HasSubstr(R"("method":"RemoteInterface::sendKeyCode","params":[-12])"));
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.output + ended.errors, "");
}

TEST_F(Tool, HasShortFormsOfTheRemoteControl) {
    EXPECT_EQ(answered({"remote", "key", "0x0c"}, result("null")).status, 0);
    EXPECT_THAT(request, HasSubstr(R"("method":"RemoteInterface::sendKeyCode","params":[12])"));
    EXPECT_EQ(answered({"remote", "osd", "1"}, result("null")).status, 0);
    EXPECT_THAT(request, HasSubstr(R"("method":"RemoteInterface::sendOSD","params":[1])"));
}

TEST_F(Tool, TakesArgumentsFromStandardInput) {
    EXPECT_EQ(answered({"remote", "key", "-"}, result("null"), {.standardInput = "7\n"}).status, 0);
    EXPECT_THAT(request, HasSubstr(R"("params":[7])"));
    const Ended refused = run({"call", "sendKeyCode", "-"}, {.standardInput = "seven\n"});
    EXPECT_EQ(refused.status, 2);
    EXPECT_THAT(refused.errors, HasSubstr("\"seven\" is not a whole number"));
}

TEST_F(Tool, TakesTheDeviceFromTheEnvironment) {
    Process process(tool, {"call", "getLampCounter"}, {.environment = {{"JSONDEVICE", peer.getAddress()}}});
    TcpPeer::Link link = peer.accept();
    link.receiveRecord();
    link.send(result("3"));
    EXPECT_EQ(process.wait(), 0);
    EXPECT_EQ(process.output(), "3\n");
}

TEST_F(Tool, PrintsOneJsonDocument) {
    const Ended ended = answered({"call", "getLampHours", "--json"}, result("[1,2]"));
    EXPECT_EQ(ended.status, 0);
    const Json::Value json = document(ended.output);
    EXPECT_EQ(json["device"].asString(), peer.getAddress());
    EXPECT_EQ(json["result"][1].asInt(), 2);
}

struct Bad {
    const char* name;
    std::string bytes;
    int status;
    const char* message;
};

class ToolFailure : public Tool, public testing::WithParamInterface<Bad> {};

TEST_P(ToolFailure, IsToldToPeople) {
    const Bad& bad = GetParam();
    const Ended ended = answered({"call", "getLampCounter"}, bad.bytes);
    EXPECT_EQ(ended.status, bad.status);
    EXPECT_EQ(ended.output, "");
    EXPECT_THAT(ended.errors, HasSubstr("error: " + peer.getAddress() + ": " + bad.message));
    EXPECT_EQ(ended.errors.find('\x1b'), std::string::npos) << ended.errors;
}

TEST_P(ToolFailure, IsOneCleanDocumentInJson) {
    const Bad& bad = GetParam();
    const Ended ended = answered({"--json", "call", "getLampCounter"}, bad.bytes);
    EXPECT_EQ(ended.status, bad.status);
    const Json::Value json = document(ended.output);
    EXPECT_EQ(json["error"]["exitStatus"].asInt(), bad.status);
    EXPECT_THAT(json["error"]["message"].asString(), HasSubstr(bad.message));
    EXPECT_EQ(ended.output.find('\x1b'), std::string::npos) << ended.output;
}

INSTANTIATE_TEST_SUITE_P(
    Device, ToolFailure,
    testing::Values(
        Bad{"error", std::string(R"({"id":1,"error":{"code":-32601,"message":"no\u001b[31m such"}})") + '\0',
            1, "the device answered with error -32601: no\\x1b[31m such"},
        Bad{"errorText", std::string(R"({"id":1,"error":"bad"})") + '\0', 1,
            "the device answered with error: bad"},
        Bad{"garbage", std::string("\x1b[31m}{") + '\0', 5, "Failed to parse JSON response"},
        Bad{"noId", std::string(R"({"result":1})") + '\0', 5, "JSON response missing id tag"},
        Bad{"otherId", std::string(R"({"id":77,"result":1})") + '\0', 5, "JSON response id didn't match"},
        Bad{"otherType", std::string(R"({"id":1,"result":"x\u001b"})") + '\0', 5,
            "the result of StatusInterface::getLampCounter is not whole number"},
        Bad{"nullResult", std::string(R"({"id":1,"result":null})") + '\0', 5,
            "the result of StatusInterface::getLampCounter is not whole number"}),
    [](const auto& row) { return row.param.name; });

TEST_F(Tool, ShowsAnErrorReplyOnceAndNotAsJson) {
    const Ended ended = answered({"call", "getLampCounter"}, error(R"({"code":7,"message":"no"})"));
    EXPECT_EQ(ended.errors, "error: " + peer.getAddress() + ": the device answered with error 7: no\n");
}

TEST_F(Tool, SendsTheLibrarysDiagnosticsToStandardError) {
    const Ended ended = answered({"call", "getLampCounter"}, std::string("\x1b]0;x\x07{") + '\0');
    EXPECT_EQ(ended.output, "");
    EXPECT_THAT(ended.errors, HasSubstr("JsonConnection::checkResponse() Failed to parse"));
    EXPECT_EQ(ended.errors.find_first_of("\x1b\x07"), std::string::npos);
    const Ended quiet = answered({"-q", "call", "getLampCounter"}, std::string("{\0", 2));
    EXPECT_THAT(quiet.errors, Not(HasSubstr("checkResponse")));
    EXPECT_THAT(quiet.errors, StartsWith("error: "));
}

TEST_F(Tool, ASilentDeviceTimesOut) {
    Process process(tool, withDevice({"--timeout", "50ms", "call", "getModel"}));
    TcpPeer::Link link = peer.accept();
    EXPECT_EQ(process.wait(), 4);
    EXPECT_EQ(process.errors(), "error: " + peer.getAddress() + ": no reply within 0.05 s\n");
}

TEST_F(Tool, ADeviceThatIsNotThereCannotBeConnectedTo) {
    peer.stopListening();
    const Ended ended = run(withDevice({"status"}));
    EXPECT_EQ(ended.status, 3);
    EXPECT_EQ(ended.output, "");
    EXPECT_EQ(ended.errors,
              "error: cannot connect to " + peer.getAddress() + ": the connection was refused\n");
    const Ended json = run(withDevice({"status", "--json"}));
    EXPECT_EQ(json.status, 3);
    EXPECT_EQ(document(json.output)["error"]["kind"].asString(), "connection");
}

TEST_F(Tool, ADeviceThatGoesAwayDuringACallIsALostConnection) {
    for (const bool hard : {false, true}) {
        Process process(tool, withDevice({"call", "getModel"}));
        {
            TcpPeer::Link link = peer.accept();
            link.receiveRecord();
            link.send(R"({"id":1,"res)");
            if (hard) {
                link.reset();
            }
        }
        EXPECT_EQ(process.wait(), 3);
        EXPECT_THAT(process.errors(), HasSubstr("error: lost the connection to " + peer.getAddress()));
        EXPECT_EQ(process.output(), "");
    }
}

TEST_F(Tool, AnInterruptEndsIt) {
    for (const bool json : {false, true}) {
        std::vector<std::string> arguments = withDevice({"call", "getModel"});
        if (json) {
            arguments.emplace_back("--json");
        }
        Process process(tool, arguments);
        TcpPeer::Link link = peer.accept();
        link.receiveRecord();
        process.signal(SIGINT);
        EXPECT_EQ(process.wait(), 130);
        EXPECT_EQ(process.errors(), "");
        if (json) {
            EXPECT_EQ(document(process.output())["error"]["kind"].asString(), "interrupted");
        } else {
            EXPECT_EQ(process.output(), "");
        }
    }
}

TEST_F(Tool, ShowsTheTrafficOnStandardError) {
    const Ended ended = answered({"-v", "call", "getModel"}, result("\"" + std::string(5000, 'x') + "\""));
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.output, std::string(5000, 'x') + "\n");
    EXPECT_THAT(ended.errors,
                HasSubstr(R"(--> {"id":1,"jsonrpc":"2.0","method":"StatusInterface::getModel","params":[]})"
                          "\n"));
    EXPECT_THAT(ended.errors, HasSubstr(R"(<-- {"id":1,"jsonrpc":"2.0","result":"xxxx)"));
    EXPECT_THAT(ended.errors, HasSubstr("... (50"));
    EXPECT_LT(ended.errors.size(), 1000u);
    EXPECT_THAT(ended.errors, Not(HasSubstr("sendAndReplyInternal")));
}

TEST_F(Tool, NothingThatADeviceSaysControlsTheTerminal) {
    const std::string evil = R"("\u001b]0;owned\u0007\u009b31m\r\n\u202e")";
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
             {"call", "getModel"}, {"call", "getModel", "--json"}, {"-v", "call", "getModel"}}) {
        const Ended ended = answered(arguments, result(evil));
        const std::string all = ended.output + ended.errors;
        EXPECT_EQ(all.find_first_of("\x1b\x07\r"), std::string::npos);
        EXPECT_EQ(all.find("\xc2\x9b"), std::string::npos);
        EXPECT_EQ(all.find("\xe2\x80\xae"), std::string::npos);
    }
}

TEST_F(Tool, AFullStandardOutputIsAnError) {
    const Ended ended = answered({"call", "getModel"}, result("\"x\""), {.files = {{1, "/dev/full"}}});
    EXPECT_EQ(ended.status, 74);
    EXPECT_EQ(ended.errors, "error: cannot write to standard output: No space left on device\n");
    EXPECT_EQ(run({"--help"}, {.files = {{1, "/dev/full"}}}).status, 74);
    EXPECT_EQ(run({"list", "--json"}, {.files = {{1, "/dev/full"}}}).status, 74);
    EXPECT_EQ(run({"bogus", "--json"}, {.files = {{1, "/dev/full"}}}).status, 74);
}

// A descriptor that is closed would be given to the connection, and the data would go to the device.
TEST_F(Tool, AClosedStandardOutputIsAnErrorAndNotTheConnection) {
    Process process(tool, withDevice({"call", "getModel"}), {.files = {{0, ""}, {1, ""}, {2, ""}}});
    TcpPeer::Link link = peer.accept();
    link.receiveRecord();
    link.send(result("\"secret\""));
    link.waitForEnd();
    EXPECT_EQ(process.wait(), 74);
}

TEST_F(Tool, AReaderThatHasEnoughIsNoCrash) {
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
             {"list"}, {"list", "--json"}, {"--help"}, {"bogus", "--json"}}) {
        const Ended ended = run(arguments, {.outputIsBroken = true});
        EXPECT_EQ(ended.status, 74);
        EXPECT_EQ(ended.errors, "");
    }
}

struct Misuse {
    const char* name;
    std::vector<std::string> arguments;
    const char* message;
};

class ToolMisuse : public Tool, public testing::WithParamInterface<Misuse> {};

// The device is there, and hears nothing of any of them.
TEST_P(ToolMisuse, IsRefusedBeforeAnythingIsSent) {
    const Ended ended = run(withDevice(GetParam().arguments));
    EXPECT_EQ(ended.status, 2);
    EXPECT_EQ(ended.output, "");
    EXPECT_THAT(ended.errors, StartsWith("error: "));
    EXPECT_THAT(ended.errors, HasSubstr(GetParam().message));
    std::vector<std::string> json = withDevice(GetParam().arguments);
    json.insert(json.begin(), "--json");
    const Ended asJson = run(json);
    EXPECT_EQ(asJson.status, 2);
    EXPECT_EQ(asJson.errors, "");
    EXPECT_EQ(document(asJson.output)["error"]["kind"].asString(), "usage");
    peer.stopListening();
}

INSTANTIATE_TEST_SUITE_P(
    All, ToolMisuse,
    testing::Values(
        Misuse{"noCommand", {}, "a command is missing"}, Misuse{"noSuchCommand", {"stauts"}, "\"stauts\""},
        Misuse{"noSuchOption", {"status", "--bogus"}, "--bogus"},
        Misuse{"noSuchMethod", {"call", "getLampHous"}, "did you mean StatusInterface::getLampHours?"},
        Misuse{"noMethod", {"call"}, "METHOD is required"},
        Misuse{"tooMany", {"call", "getModel", "1"}, "takes no arguments, not 1"},
        Misuse{"tooFew", {"call", "sendKeyCode"}, "takes 1 argument, not 0"},
        Misuse{"wrongType", {"call", "sendKeyCode", "x"}, "argument 1 (keyCode)"},
        Misuse{"outOfRange", {"remote", "key", "2147483648"}, "from -2147483648 to 2147483647"},
        Misuse{"noSuchFile", {"remote", "key", "@/nowhere"}, "cannot read \"/nowhere\""},
        Misuse{"badAddress", {"status", "-d", "tcp://x"}, "is not a device address"},
        Misuse{"noSuchList", {"status", "-d", "@/nowhere"}, "cannot read \"/nowhere\""},
        Misuse{"badTimeout", {"status", "--timeout", "soon"}, "is not a time"},
        Misuse{"noTimeout", {"status", "--timeout"}, "--timeout"}),
    [](const auto& row) { return row.param.name; });

TEST_F(Tool, WithoutADeviceSaysHowToGiveOne) {
    const Ended ended = run({"status"});
    EXPECT_EQ(ended.status, 2);
    EXPECT_EQ(ended.errors, "error: no device is given: use -d tcp://host:port, or set JSONDEVICE\n");
    EXPECT_EQ(run({"status"}, {.environment = {{"JSONDEVICE", ""}}}).status, 2);
}

TEST_F(Tool, ListsAndDescribesWithoutADevice) {
    const Ended list = run({"list", "lamp"});
    EXPECT_EQ(list.status, 0);
    EXPECT_THAT(list.output,
                testing::ContainsRegex("StatusInterface::getLampHours +The hours of each lamp.\n"));
    EXPECT_THAT(list.output, Not(HasSubstr("getModel")));
    EXPECT_EQ(list.errors, "");
    const Json::Value all = document(run({"list", "--json"}).output)["result"];
    EXPECT_GE(all.size(), 22u);
    const Ended described = run({"describe", "sendKeyCode"});
    EXPECT_EQ(described.output,
              "RemoteInterface::sendKeyCode\nPresses a key of the remote control.\n\n"
              "Arguments:  keyCode  whole number [int]\n"
              "Result:     nothing\n"
              "Time-out:   10 s\n"
              "Use:        jsondevice call RemoteInterface::sendKeyCode keyCode\n");
    const Json::Value json = document(run({"describe", "getModel", "--json"}).output)["result"];
    EXPECT_EQ(json["result"].asString(), "std::wstring");
    EXPECT_TRUE(json["parameters"].isArray());
}

TEST_F(Tool, HelpAndVersionAreData) {
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
             {"--help"}, {"status", "--help"}, {"remote", "-h"}, {"--version"}}) {
        const Ended ended = run(arguments);
        EXPECT_EQ(ended.status, 0);
        EXPECT_EQ(ended.errors, "");
        EXPECT_THAT(ended.output, Not(IsEmpty()));
    }
}

// log4cxx configures itself from a file in the working directory when nobody stops it.
TEST_F(Tool, LogsNothing) {
    const std::string path = testing::TempDir() + "jsondevice-" + std::to_string(::getpid()) + ".properties";
    std::ofstream(path) << "log4j.rootLogger=TRACE, A\nlog4j.logger.DeviceManager.JsonDevice=TRACE\n"
                           "log4j.appender.A=org.apache.log4j.ConsoleAppender\n"
                           "log4j.appender.A.layout=org.apache.log4j.SimpleLayout\n";
    const Ended ended =
        answered({"call", "getLampCounter"}, result("3"), {.environment = {{"LOG4CXX_CONFIGURATION", path}}});
    std::remove(path.c_str());
    EXPECT_EQ(ended.output, "3\n");
    EXPECT_EQ(ended.errors, "");
}

TEST_F(Tool, AsksSeveralDevicesAtTheSameTime) {
    TcpPeer other;
    Process process(tool, withDevice({"-d", other.getAddress(), "call", "getLampHours"}));
    // The second's answer is there although the first has none.
    TcpPeer::Link first = peer.accept();
    TcpPeer::Link second = other.accept();
    second.receiveRecord();
    second.send(result("[3,4]"));
    second.waitForEnd();
    EXPECT_EQ(process.readLine(), other.getAddress() + "  3");
    EXPECT_EQ(process.readLine(), other.getAddress() + "  4");
    first.receiveRecord();
    first.send(result("[1]"));
    EXPECT_EQ(process.readLine(), peer.getAddress() + "  1");
    EXPECT_EQ(process.wait(), 0);
}

TEST_F(Tool, SaysWhichOfSeveralDevicesFailed) {
    TcpPeer other;
    other.stopListening();
    const std::string list = testing::TempDir() + "jsondevice-" + std::to_string(::getpid()) + "-devices";
    std::ofstream(list) << "# the wall\n"
                        << peer.getAddress() << "\n\n  " << other.getAddress() << " # dark\n";
    const std::vector<std::string> arguments = {"-d", "@" + list, "call", "getLampCounter"};
    {
        Process process(tool, arguments);
        TcpPeer::Link link = peer.accept();
        link.receiveRecord();
        link.send(result("3"));
        EXPECT_EQ(process.wait(), 6);
        EXPECT_EQ(process.output(), peer.getAddress() + "  3\n");
        EXPECT_THAT(process.errors(), HasSubstr("error: cannot connect to " + other.getAddress()));
    }
    {
        std::vector<std::string> json = arguments;
        json.emplace_back("--json");
        Process process(tool, json);
        TcpPeer::Link link = peer.accept();
        link.receiveRecord();
        link.send(result("3"));
        EXPECT_EQ(process.wait(), 6);
        const Json::Value both = document(process.output());
        ASSERT_EQ(both.size(), 2u);
        EXPECT_EQ(both[0]["result"].asInt(), 3);
        EXPECT_EQ(both[1]["device"].asString(), other.getAddress());
        EXPECT_EQ(both[1]["error"]["exitStatus"].asInt(), 3);
    }
    peer.stopListening();
    EXPECT_EQ(run(arguments).status, 3) << "all failed in the same way";
    std::remove(list.c_str());
}

class ToolStatus : public Tool {
protected:
    /// Plays a device until it hangs up; `answer` gives the rest of the reply to a method.
    template <class Answer>
    Ended status(const std::vector<std::string>& options, const Answer& answer) {
        std::vector<std::string> arguments = withDevice({"status"});
        arguments.insert(arguments.end(), options.begin(), options.end());
        Process process(tool, arguments);
        TcpPeer::Link link = peer.accept();
        for (int id = 1;; ++id) {
            std::string record;
            try {
                record = link.receiveRecord();
            } catch (const std::runtime_error&) {
                break;
            }
            const std::size_t start = record.find("::") + 2;
            const std::string operation = record.substr(start, record.find('"', start) - start);
            const std::string reply = answer(operation);
            if (reply.empty()) {
                link.close();
                break;
            }
            link.send("{\"id\":" + std::to_string(id) + "," + reply + "}" + '\0');
        }
        const int ended = process.wait();
        return {ended, process.output(), process.errors()};
    }

    static std::string ordinary(const std::string& operation) {
        if (operation == "getLampHours") {
            return R"("result":[1200,1350])";
        }
        if (operation == "getNativeResolution") {
            return R"("result":[1920,1200])";
        }
        if (operation == "getAllTemperatures") {
            return R"("result":{"first":true,"second":{"first":["inlet","lamp"],"second":[24,61]}})";
        }
        for (const char* text :
             {"getModel", "getSerialNumber", "getSoftware", "getSync", "getSyncType", "getSampleRate"}) {
            if (operation == text) {
                return "\"result\":\"" + operation + "\"";
            }
        }
        return R"("result":0)";
    }
};

TEST_F(ToolStatus, ShowsAllInOneLook) {
    const Ended ended = status({}, ordinary);
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.errors, "");
    EXPECT_THAT(ended.output, StartsWith("Projector\n  Model            getModel\n"));
    EXPECT_THAT(ended.output, HasSubstr("\n  Resolution       1920 x 1200 pixels\n"));
    EXPECT_THAT(ended.output, HasSubstr("\n  Lamp hours       1200, 1350 h\n"));
    EXPECT_THAT(ended.output, HasSubstr("\n  Too hot          no\n"));
    EXPECT_THAT(ended.output, HasSubstr("\n  inlet            24 °C\n  lamp             61 °C\n"));
}

TEST_F(ToolStatus, AnErrorDoesNotSpoilTheRest) {
    const auto answer = [](const std::string& operation) {
        return operation == "getQuellFPGATemperature" ? R"("error":{"code":-32601,"message":"none here"})"
                                                      : ordinary(operation);
    };
    const Ended ended = status({}, answer);
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.errors, "");
    EXPECT_THAT(ended.output,
                HasSubstr("  Quell FPGA       (the device answered with error -32601: none here)\n"));
    EXPECT_THAT(ended.output, HasSubstr("Lamp hours       1200"));
    const Json::Value json = document(status({"--json"}, answer).output)["result"];
    EXPECT_EQ(json["temperatures"]["quellFpga"]["error"]["code"].asInt(), -32601);
    EXPECT_EQ(json["lamps"]["hours"][1].asInt(), 1350);
    EXPECT_EQ(json["projector"]["model"].asString(), "getModel");
}

TEST_F(ToolStatus, AResultOfAnotherTypeDoesNotSpoilTheRestEither) {
    const Ended ended = status({}, [](const std::string& operation) {
        return operation == "getLampHours" ? R"("result":"many")" : ordinary(operation);
    });
    EXPECT_EQ(ended.status, 5);
    EXPECT_THAT(ended.output, HasSubstr("is not [whole number, ...]: \"many\")"));
    EXPECT_THAT(ended.output, HasSubstr("Model            getModel"));
}

TEST_F(ToolStatus, ADeviceThatKnowsNothingIsAnError) {
    const Ended ended = status({}, [](const std::string&) { return R"("error":{"code":1,"message":"no"})"; });
    EXPECT_EQ(ended.status, 1);
}

TEST_F(ToolStatus, ADeviceThatGoesAwayEndsIt) {
    int requests = 0;
    const Ended ended = status({}, [&](const std::string& operation) {
        return ++requests == 5 ? std::string() : ordinary(operation);
    });
    EXPECT_EQ(ended.status, 3);
    EXPECT_EQ(ended.output, "");
    EXPECT_THAT(ended.errors, HasSubstr("lost the connection to"));
}

}  // namespace
