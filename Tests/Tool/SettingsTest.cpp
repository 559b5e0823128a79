#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Tests/Support/TemporaryFolder.h"
#include "Tests/Tool/Document.h"
#include "Tests/Tool/Process.h"
#include "Tools/Settings.h"

namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

std::string fileText(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The commands for settings, against simulated projectors.
class ToolSettings : public testing::Test {
protected:
    struct Projector {
        std::unique_ptr<Process> process;
        std::string address;
    };
    static Projector start(std::vector<std::string> options = {}) {
        options.insert(options.begin(), {"--port", "0"});
        Projector projector{std::make_unique<Process>(JSONDEVICE_SIMULATOR, options), ""};
        const std::string line = projector.process->readLine();
        projector.address = line.substr(line.find("tcp://"));
        return projector;
    }

    struct Ended {
        int status;
        std::string output;
        std::string errors;
    };
    static Ended runOn(const std::string& addresses, const std::vector<std::string>& arguments) {
        Process process(JSONDEVICE_TOOL, arguments, {.environment = {{"JSONDEVICE", addresses}}});
        const int status = process.wait();
        return {status, process.output(), process.errors()};
    }
    Ended run(const std::vector<std::string>& arguments) const { return runOn(simulator.address, arguments); }
    std::string path(const std::string& name) const { return folder + "/" + name; }

    const TemporaryFolder temporary;
    const std::string folder = temporary.path().string();
    Projector simulator = start();
};

TEST_F(ToolSettings, ThePowerIsSwitchedAndAwaited) {
    EXPECT_EQ(run({"power"}).output, "on\n");
    EXPECT_EQ(run({"set", "coolDownTime", "0"}).status, 0);
    EXPECT_EQ(run({"set", "warmUpTime", "600"}).status, 0);
    EXPECT_EQ(run({"power", "off", "--wait", "30"}).output, "off\n");
    EXPECT_EQ(run({"power", "on"}).output, "warming up\n");
    EXPECT_EQ(document(run({"power", "--json"}).output)["result"], Json::Value(2));
    const Ended late = run({"power", "on", "--wait", "0"});
    EXPECT_EQ(late.status, 4);
    EXPECT_THAT(late.errors, HasSubstr("the power is still warming up"));
    for (const char* const wrong : {"warming up", "maybe", "-1"}) {
        EXPECT_EQ(run({"power", "--", wrong}).status, 2) << wrong;
    }
    EXPECT_EQ(run({"power", "7"}).status, 1);
    EXPECT_EQ(run({"power", "--wait", "1"}).status, 2);
}

TEST_F(ToolSettings, InputsAreShownAndSelectedByNumberAndName) {
    EXPECT_THAT(run({"input"}).output, ContainsRegex("^\\*  1  DisplayPort 1 +Image generator, left channel "
                                                     "+1920 x 1200, 60.0 Hz\n"));
    EXPECT_THAT(run({"input", "dvi"}).output, HasSubstr("\n*  3  DVI"));
    EXPECT_THAT(run({"input", "4"}).output, ContainsRegex("\n\\*  4  HDMI +No signal\n"));
    const Json::Value json = document(run({"input", "--json"}).output)["result"];
    EXPECT_EQ(json["selected"], Json::Value(4));
    EXPECT_EQ(json["signal"].asString(), "No signal");
    EXPECT_EQ(json["inputs"].size(), 5U);
    EXPECT_EQ(json["inputs"][2]["description"].asString(), "Operator's computer");
    const Ended none = run({"input", "SCART"});
    EXPECT_EQ(none.status, 2);
    EXPECT_THAT(none.errors, HasSubstr("there is no input \"SCART\"; there are: DisplayPort 1,"));
    EXPECT_EQ(run({"input", "9"}).status, 1);
}

TEST_F(ToolSettings, TheShutterOpensAndCloses) {
    EXPECT_EQ(run({"shutter"}).output, "open\n");
    EXPECT_EQ(run({"shutter", "closed"}).output, "closed\n");
    EXPECT_EQ(run({"shutter"}).output, "closed\n");
    EXPECT_EQ(run({"shutter", "0"}).output, "open\n");
    EXPECT_EQ(run({"shutter", "ajar"}).status, 2);
}

TEST_F(ToolSettings, GammaAndColourHaveRanges) {
    EXPECT_EQ(run({"gamma"}).output,
              "type              0\n"
              "gamma             220\n"
              "gamma-correction  0    (-50 to 50)\n"
              "slope             450\n");
    EXPECT_EQ(run({"gamma", "gamma-correction", "--", "-7"}).output, "gamma-correction  -7  (-50 to 50)\n");
    EXPECT_EQ(run({"color", "color-temperature", "5000"}).output,
              "color-temperature  5000 K  (3200 K to 9300 K)\n");
    const Json::Value json = document(run({"color", "--json", "white-x"}).output)["result"]["white-x"];
    EXPECT_EQ(json["minimum"], Json::Value(0));
    EXPECT_EQ(json["maximum"], Json::Value(10000));
    EXPECT_EQ(run({"gamma", "gamma-correction", "51"}).status, 1);
    EXPECT_EQ(run({"gamma", "slope", "steep"}).status, 2);
    const Ended unknown = run({"gamma", "red-x"});
    EXPECT_EQ(unknown.status, 2);
    EXPECT_THAT(unknown.errors, HasSubstr("there are: type, gamma, gamma-correction, slope"));
}

TEST_F(ToolSettings, WhatADeviceDoesNotHaveIsNoReasonToShowNothing) {
    simulator = start({"--misbehave", "error,method=GammaInterface::getSlope"});
    const Ended all = run({"gamma"});
    EXPECT_EQ(all.status, 0) << all.errors;
    EXPECT_THAT(all.output, ContainsRegex("\nslope +\\("));
    EXPECT_THAT(all.output, ContainsRegex("\ngamma +220\n"));
    EXPECT_EQ(run({"gamma", "slope"}).status, 1);
}

TEST_F(ToolSettings, WhatWasDumpedIsRestored) {
    const std::string before = path("before.json");
    const Ended dumped = run({"settings", "dump", before});
    EXPECT_EQ(dumped.status, 0) << dumped.errors;
    EXPECT_THAT(dumped.output, ContainsRegex("^[0-9]+ settings in "));
    const Json::Value file = document(fileText(before));
    EXPECT_EQ(file["settings"]["ColorInterface::getColorTemperature"], Json::Value(6500));
    EXPECT_EQ(run({"settings", "restore", before}).output, "nothing to change\n");

    // The temperature moves the white point, which was set before it.
    run({"color", "white-x", "3000"});
    run({"color", "color-temperature", "3200"});
    run({"shutter", "closed"});
    const std::string changed = path("changed.json");
    run({"settings", "dump", changed});

    const Ended dry = run({"settings", "restore", "--dry-run", before});
    EXPECT_THAT(dry.output, HasSubstr("ColorInterface::getColorTemperature  3200 K -> 6500 K\n"));
    EXPECT_THAT(dry.output, ContainsRegex("ControlInterface::getShutter +closed -> open\n"));
    EXPECT_EQ(run({"shutter"}).output, "closed\n");

    const Ended restored = run({"settings", "restore", before});
    EXPECT_EQ(restored.status, 0) << restored.errors;
    EXPECT_EQ(restored.output, dry.output);
    EXPECT_EQ(document(run({"settings", "dump", "-"}).output)["settings"], file["settings"]);
    // And the other way.
    EXPECT_EQ(run({"settings", "restore", changed}).status, 0);
    EXPECT_EQ(document(run({"settings", "dump"}).output)["settings"],
              document(fileText(changed))["settings"]);
}

TEST_F(ToolSettings, RestoringStopsAtTheFirstErrorAndSaysWhatWasDone) {
    const std::string file = path("settings.json");
    run({"settings", "dump", file});
    const Projector other = start({"--misbehave", "error,method=GammaInterface::setSlope"});
    for (const char* const setting : {"type", "slope"}) {
        runOn(other.address, {"gamma", setting, "1"});
    }
    // That projector sets it and then says that it could not; so each time another one.
    const auto writeWithSlope = [&, text = fileText(file)](const std::string& value) {
        const std::string slope = "\"GammaInterface::getSlope\": ";
        std::string changed = text;
        changed.replace(changed.find(slope), slope.size() + 3, slope + value);
        std::ofstream(file) << changed;
    };
    writeWithSlope("451");

    const Ended ended = runOn(other.address, {"settings", "restore", file});
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.output, ContainsRegex("GammaInterface::getType +1 -> 0\n"));
    EXPECT_THAT(ended.output, ContainsRegex("GammaInterface::getSlope +not done: "));
    EXPECT_THAT(ended.output, ContainsRegex("ControlInterface::getPower +not done\n"));
    EXPECT_THAT(ended.errors, HasSubstr("error: " + other.address));
    writeWithSlope("452");
    const Json::Value json =
        document(runOn(other.address, {"--json", "settings", "restore", file}).output)["result"];
    EXPECT_TRUE(json["changed"].empty());
    EXPECT_EQ(json["notDone"][0].asString(), "GammaInterface::getSlope");
    EXPECT_EQ(json["error"]["exitStatus"], Json::Value(1));
}

TEST_F(ToolSettings, AFileThatIsNoneIsRefusedBeforeADeviceIsAsked) {
    const auto refused = [&](const std::string& text) {
        std::ofstream(path("bad.json")) << text;
        const Ended ended = runOn("tcp://127.0.0.1:1", {"settings", "restore", path("bad.json")});
        EXPECT_EQ(ended.status, 2) << ended.errors;
        return ended.errors;
    };
    EXPECT_THAT(refused("{"), HasSubstr("bad.json"));
    EXPECT_THAT(refused("[1]"), HasSubstr("has no settings that were dumped"));
    EXPECT_THAT(refused(R"({"format":"jsondevice settings","version":2,"settings":{}})"),
                HasSubstr("another version"));
    EXPECT_THAT(refused(R"({"format":"jsondevice settings","version":1,"settings":{"x":1}})"),
                HasSubstr("not known: \"x\""));
    EXPECT_THAT(
        refused(R"({"format":"jsondevice settings","version":1,"settings":{"GammaInterface::getType":"a"}})"),
        HasSubstr("GammaInterface::setType"));
    EXPECT_EQ(run({"settings", "restore", path("none.json")}).status, 2);
    EXPECT_EQ(run({"settings", "dump", path("no/such/folder.json")}).status, 74);
}

TEST_F(ToolSettings, SeveralDevicesHaveAFileEach) {
    const Projector other = start();
    const std::string both = simulator.address + " " + other.address;
    EXPECT_EQ(runOn(both, {"settings", "dump", path("%.json")}).status, 0);
    int files = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        EXPECT_THAT(entry.path().filename().string(), ContainsRegex("^127.0.0.1_[0-9]+.json$"));
        ++files;
    }
    EXPECT_EQ(files, 2);
    const Ended one = runOn(both, {"settings", "dump", path("one.json")});
    EXPECT_EQ(one.status, 6);
    EXPECT_THAT(one.errors, HasSubstr("is another device's"));
}

// One that does not answer is not waited for before the others are asked, and
// each line says which device it is from.
TEST_F(ToolSettings, ADeadDeviceDoesNotKeepTheOthersFromTheirAnswers) {
    const Projector dead = start({"--misbehave", "no-answer"});
    const Projector third = start();
    std::ofstream(path("devices")) << simulator.address << "\n"
                                   << dead.address << "  # dead\n"
                                   << third.address;
    const Ended ended = runOn("", {"-d", "@" + path("devices"), "--timeout", "300ms", "shutter", "closed"});
    EXPECT_EQ(ended.status, 6);
    EXPECT_THAT(ended.output, HasSubstr(simulator.address + "  closed\n"));
    EXPECT_THAT(ended.output, HasSubstr(third.address + "  closed\n"));
    EXPECT_THAT(ended.output, Not(HasSubstr(dead.address)));
    EXPECT_THAT(ended.errors, HasSubstr("error: " + dead.address));
}

TEST_F(ToolSettings, AnswersAreShownAsTheyCome) {
    const Projector dead = start({"--misbehave", "no-answer"});
    Process tool(JSONDEVICE_TOOL, {"-d", dead.address, "-d", simulator.address, "--timeout", "0", "shutter"});
    // The first one never answers.
    EXPECT_EQ(tool.readLine(), simulator.address + "  open");
    tool.signal(SIGINT);
    EXPECT_EQ(tool.wait(), 130);
}

TEST(Settings, AreFoundByTheirMethods) {
    for (const Tool::Setting& setting : Tool::allSettings()) {
        EXPECT_TRUE(setting.get.parameters.empty()) << setting.method();
        EXPECT_EQ(setting.set.parameters.size(), 1U) << setting.method();
        EXPECT_EQ(setting.least == nullptr, setting.most == nullptr) << setting.method();
    }
    EXPECT_EQ(Tool::allSettings().back().method(), "ControlInterface::getPower");
    EXPECT_GE(Tool::allSettings().size(), 34U);
}

}  // namespace
