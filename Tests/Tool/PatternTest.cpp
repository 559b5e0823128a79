#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Common/Base64.h"
#include "DeviceManager/JsonDevice/JsonText.h"
#include "ImageFiles/ImageFile.h"
#include "Tests/Support/TcpPeer.h"
#include "Tests/Support/TemporaryFolder.h"
#include "Tests/Tool/Document.h"
#include "Tests/Tool/Process.h"

/// The commands for patterns, and the picture that comes of them on a simulated projector's wall.
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

using Colour = std::tuple<int, int, int>;
const Colour black(0, 0, 0);
const Colour white(255, 255, 255);
const Colour red(255, 0, 0);
const Colour green(0, 255, 0);

class ToolPattern : public testing::Test {
protected:
    std::string path(const std::string& name) const { return folder + "/" + name; }
    std::string write(const std::string& name, const std::string& content) const {
        std::ofstream(path(name), std::ios::binary) << content;
        return path(name);
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

    const TemporaryFolder temporary;
    const std::string folder = temporary.path().string();
};

class ToolPatternOnWall : public ToolPattern {
protected:
    struct Projector {
        std::unique_ptr<Process> process;
        std::string address;
    };
    static Projector start(std::vector<std::string> options = {}) {
        options.insert(options.begin(), {"--port", "0", "--resolution", "192x120"});
        Projector projector{std::make_unique<Process>(JSONDEVICE_SIMULATOR, options), ""};
        const std::string line = projector.process->readLine();
        projector.address = line.substr(line.find("tcp://"));
        return projector;
    }

    Ended run(const std::vector<std::string>& arguments) const { return runOn(simulator.address, arguments); }
    /// Runs `jsondevice pattern ...`, which has to succeed.
    std::string pattern(std::vector<std::string> arguments) const {
        arguments.insert(arguments.begin(), "pattern");
        const Ended ended = run(arguments);
        EXPECT_EQ(ended.status, 0) << testing::PrintToString(arguments) << ended.errors;
        return ended.output;
    }
    ImageFiles::Picture snapshot(const std::vector<std::string>& options = {}) const {
        std::vector<std::string> arguments = {"snapshot", path("wall.png")};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const Ended ended = run(arguments);
        EXPECT_EQ(ended.status, 0) << ended.errors;
        return ImageFiles::readPicture(path("wall.png"));
    }
    static Colour at(const ImageFiles::Picture& picture, int x, int y) {
        const auto channel = [&](int c) {
            const auto index = static_cast<std::size_t>((y * picture.width + x) * picture.channels +
                                                        (picture.channels == 3 ? c : 0));
            return static_cast<int>(std::lround(picture.values.at(index) * 255));
        };
        return {channel(0), channel(1), channel(2)};
    }

    Projector simulator = start();
};

TEST_F(ToolPatternOnWall, PatternsAreListedAndSetByNumberAndName) {
    const std::string before = pattern({"list"});
    EXPECT_THAT(before, ContainsRegex("^\\*    0  Off\n     1  White\n"));
    EXPECT_THAT(before, ContainsRegex("\n   100  Slot 1 \\(empty\\)\n"));
    EXPECT_EQ(pattern({"set", "3"}), "");
    EXPECT_EQ(snapshot().width, 192);
    const ImageFiles::Picture all = snapshot();
    for (int y = 0; y < all.height; ++y) {
        for (int x = 0; x < all.width; ++x) {
            ASSERT_EQ(at(all, x, y), red) << x << ", " << y;
        }
    }
    pattern({"set", "COLOUR bars"});
    const ImageFiles::Picture bars = snapshot();
    EXPECT_EQ(at(bars, 12, 60), white);
    EXPECT_EQ(at(bars, 132, 60), red);
    EXPECT_EQ(at(bars, 180, 60), black);
    EXPECT_THAT(pattern({"list"}), HasSubstr("\n*    6  Colour bars\n"));
    const Json::Value json = document(pattern({"list", "--json"}))["result"];
    EXPECT_EQ(json["pattern"], Json::Value(6));
    EXPECT_EQ(json["showing"], Json::Value(true));
    EXPECT_EQ(json["patterns"][6]["name"].asString(), "Colour bars");
    EXPECT_EQ(json["slots"][0]["number"], Json::Value(100));

    const Ended unknown = run({"pattern", "set", "plaid"});
    EXPECT_EQ(unknown.status, 2);
    EXPECT_THAT(unknown.errors, HasSubstr("there is no pattern \"plaid\"; there are: Off, White"));
    EXPECT_EQ(run({"pattern", "set", "77"}).status, 1);
    EXPECT_EQ(at(snapshot(), 132, 60), red);
}

TEST_F(ToolPatternOnWall, AnUploadedPictureIsOnTheWallPixelByPixel) {
    for (const int channels : {1, 3}) {
        ImageFiles::Picture picture(192, 120, channels);
        for (std::size_t i = 0; i < picture.values.size(); ++i) {
            picture.values[i] = static_cast<float>(i * 7919 % 256) / 255;
        }
        ImageFiles::writePicture(picture, path("own.png"), 8);
        for (const std::string bits : {"8", "16"}) {
            EXPECT_EQ(pattern({"upload", path("own.png"), "101", "--bits", bits}), "0\n");
            pattern({"set", "Slot 2 (192 x 120)"});
            const ImageFiles::Picture wall = snapshot();
            for (int y = 0; y < wall.height; ++y) {
                for (int x = 0; x < wall.width; ++x) {
                    ASSERT_EQ(at(wall, x, y), at(picture, x, y)) << x << ", " << y << " of " << bits;
                }
            }
            EXPECT_EQ(pattern({"remove", "101"}), "");
            EXPECT_THAT(pattern({"list"}), HasSubstr("\n   101  Slot 2 (empty)\n"));
        }
        pattern({"upload", path("own.png"), "102", "--show"});
        EXPECT_EQ(at(snapshot(), 100, 50), at(picture, 100, 50));
        pattern({"clear"});
    }
    EXPECT_EQ(run({"pattern", "remove", "101"}).status, 1);
    EXPECT_EQ(run({"pattern", "upload", path("own.png"), "99"}).status, 1);
}

TEST_F(ToolPatternOnWall, WhatIsDrawnIsOnTheWallUntilItIsCleared) {
    const Colour before = at(snapshot(), 60, 60);
    pattern({"boxes", "20x15", "10,10", "100,80", "--color", "red"});
    ImageFiles::Picture wall = snapshot();
    EXPECT_EQ(at(wall, 10, 10), red);
    EXPECT_EQ(at(wall, 29, 24), red);
    EXPECT_EQ(at(wall, 110, 85), red);
    EXPECT_EQ(at(wall, 30, 10), black);
    EXPECT_EQ(at(wall, 60, 60), black);

    pattern({"lines", "0,110,191,110", "--color", "00ff00", "--hold"});
    EXPECT_EQ(at(snapshot(), 60, 110), black);
    pattern({"lines", "@" + write("lines.txt", "0,100,191,100\n  0,104,191,104\r\n"), "--color", "1,2,3"});
    wall = snapshot();
    EXPECT_EQ(at(wall, 60, 110), green);
    EXPECT_EQ(at(wall, 60, 100), Colour(1, 2, 3));
    EXPECT_EQ(at(wall, 60, 104), Colour(1, 2, 3));
    EXPECT_EQ(at(wall, 10, 10), red);

    pattern({"grid", "50x40", "--user"});
    wall = snapshot();
    EXPECT_EQ(at(wall, 50, 7), white);
    EXPECT_EQ(at(wall, 49, 40), white);
    EXPECT_EQ(at(wall, 49, 41), black);
    pattern({"clear", "drawing"});
    EXPECT_EQ(at(snapshot(), 60, 60), before);
}

TEST_F(ToolPatternOnWall, PointsAreShownAddedAndCleared) {
    pattern({"set", "Black"});
    pattern({"points", "40,40", "--color", "green"});
    pattern({"points", "90,40", "--add"});
    ImageFiles::Picture wall = snapshot();
    EXPECT_EQ(at(wall, 40, 40), green);
    EXPECT_EQ(at(wall, 90, 40), green);
    pattern({"points", "150,100", "--color", "1"});
    wall = snapshot();
    EXPECT_EQ(at(wall, 150, 100), red);
    EXPECT_EQ(at(wall, 40, 40), black);
    pattern({"clear", "points"});
    EXPECT_EQ(at(snapshot(), 150, 100), black);
}

TEST_F(ToolPatternOnWall, TheGridHasLinesWhereTheyAreGiven) {
    pattern(
        {"grid", "--vertical", "20,120", "--horizontal", "60", "--color", "green", "--background", "000040"});
    ImageFiles::Picture wall = snapshot();
    EXPECT_EQ(at(wall, 20, 5), green);
    EXPECT_EQ(at(wall, 120, 119), green);
    EXPECT_EQ(at(wall, 100, 60), green);
    EXPECT_EQ(at(wall, 100, 61), Colour(0, 0, 64));
    pattern({"grid", "--mode", "crossings"});
    wall = snapshot();
    EXPECT_EQ(at(wall, 20, 60), green);
    EXPECT_EQ(at(wall, 70, 60), Colour(0, 0, 64));
    pattern({"grid", "--range", "0,0,100,120", "--mode", "lines"});
    wall = snapshot();
    EXPECT_EQ(at(wall, 20, 5), green);
    EXPECT_NE(at(wall, 120, 119), green);
    pattern({"clear", "grid"});
    EXPECT_NE(at(snapshot(), 20, 5), green);
}

TEST_F(ToolPatternOnWall, BlocksAreAtTheirPlaces) {
    for (const bool projector : {false, true}) {
        const auto blocks = [&](std::vector<std::string> arguments) {
            arguments.insert(arguments.begin(), "blocks");
            if (projector) {
                arguments.emplace_back("--projector");
            }
            pattern(arguments);
        };
        blocks({"10,10,19,19=red", "30,10,39,19", "--color", "0xff00", "--gap", "0x3"});
        ImageFiles::Picture wall = snapshot();
        EXPECT_EQ(at(wall, 10, 10), red);
        EXPECT_EQ(at(wall, 19, 19), red);
        EXPECT_EQ(at(wall, 20, 19), Colour(0, 0, 3));
        EXPECT_EQ(at(wall, 35, 15), green);
        blocks({"30,10,39,19=white", "--add", "--index", "1", "--range", "1,1"});
        wall = snapshot();
        EXPECT_EQ(at(wall, 35, 15), white);
        EXPECT_EQ(at(wall, 10, 10), Colour(0, 0, 3));
        blocks({"--binary", "4x2", "--size", "20x30", "--spacing", "40x60", "--start", "5,5", "--color",
                "ff0000"});
        wall = snapshot();
        // They are numbered line by line from 0; the lowest bit lights every second one.
        EXPECT_EQ(at(wall, 10, 10), Colour(0, 0, 3));
        EXPECT_EQ(at(wall, 50, 10), red);
        EXPECT_EQ(at(wall, 50, 70), red);
        EXPECT_EQ(at(wall, 66, 10), Colour(0, 0, 3));
        blocks({"--binary", "4x2", "--size", "20x30", "--spacing", "40x60", "--start", "5,5", "--color",
                "ff0000", "--first", "2", "--bit", "1", "--inverted"});
        wall = snapshot();
        EXPECT_EQ(at(wall, 50, 10), Colour(0, 0, 3));
        EXPECT_EQ(at(wall, 90, 10), red);
        pattern({"clear", "blocks"});
        EXPECT_NE(at(snapshot(), 90, 10), red);
    }
}

TEST_F(ToolPatternOnWall, ChecksAlternate) {
    pattern({"check", "16x12"});
    ImageFiles::Picture wall = snapshot();
    const Colour first = at(wall, 8, 6);
    const Colour second = at(wall, 24, 6);
    EXPECT_NE(first, second);
    EXPECT_EQ(at(wall, 24, 18), first);
    pattern({"check", "16x12", "--shift", "16,0"});
    EXPECT_EQ(at(snapshot(), 8, 6), second);
    pattern({"check", "16x12", "--subliminal"});
    const auto level = [&](const Colour& colour) { return std::get<0>(colour); };
    wall = snapshot();
    EXPECT_LT(std::abs(level(at(wall, 8, 6)) - level(at(wall, 24, 6))),
              std::abs(level(first) - level(second)));
}

TEST_F(ToolPatternOnWall, AllIsCleared) {
    const ImageFiles::Picture before = snapshot();
    pattern({"set", "White"});
    pattern({"points", "40,40"});
    pattern({"lines", "0,0,10,10"});
    pattern({"grid", "--vertical", "7"});
    pattern({"check", "9x9"});
    pattern({"blocks", "1,1,5,5"});
    EXPECT_NE(snapshot().values, before.values);
    EXPECT_EQ(pattern({"clear"}), "");
    EXPECT_EQ(snapshot().values, before.values);
}

TEST_F(ToolPatternOnWall, WhatADeviceDoesNotHaveNeedsNoClearing) {
    simulator = start({"--misbehave", "error,method=CheckPatternInterface::*", "--misbehave",
                       "error,method=UploadTestPatternInterface::*", "--misbehave",
                       "error,method=ProjectorBlockPatternInterface::*"});
    pattern({"set", "White"});
    pattern({"blocks", "1,1,5,5=red"});
    pattern({"clear"});
    EXPECT_NE(at(snapshot(), 3, 3), red);
    pattern({"clear", "blocks", "points"});
    EXPECT_THAT(pattern({"list"}), Not(HasSubstr("Slot")));
    EXPECT_EQ(run({"pattern", "clear", "check"}).status, 1);
    simulator = start({"--misbehave", "error"});
    EXPECT_EQ(run({"pattern", "clear"}).status, 1);
    EXPECT_EQ(run({"pattern", "list"}).status, 1);
}

TEST_F(ToolPatternOnWall, ASnapshotIsAsLargeAsAsked) {
    pattern({"set", "Red"});
    const ImageFiles::Picture small = snapshot({"--size", "31x17"});
    EXPECT_EQ(small.width, 31);
    EXPECT_EQ(small.height, 17);
    EXPECT_EQ(at(small, 30, 16), red);
    const Ended told = run({"snapshot", path("told.png")});
    EXPECT_EQ(told.output, "192 x 120 pixels in " + path("told.png") + "\n");
    const Json::Value json = document(run({"snapshot", path("told.png"), "--json"}).output)["result"];
    EXPECT_EQ(json["width"], Json::Value(192));
    EXPECT_EQ(json["file"].asString(), path("told.png"));
    EXPECT_EQ(run({"snapshot", path("large.png"), "--size", "4097x1"}).status, 1);
    EXPECT_EQ(run({"snapshot", path("large.png"), "--size", "many"}).status, 2);
    EXPECT_FALSE(std::filesystem::exists(path("large.png")));
    EXPECT_EQ(run({"snapshot", path("none/wall.png")}).status, 74);
}

TEST_F(ToolPatternOnWall, SnapshotsOfSeveralProjectorsGoToFilesOfTheirOwn) {
    const Projector other = start();
    EXPECT_EQ(runOn(other.address, {"pattern", "set", "Red"}).status, 0);
    pattern({"set", "Green"});
    const std::string both = simulator.address + " " + other.address;
    EXPECT_EQ(runOn(both, {"snapshot", path("%.png")}).status, 0);
    const auto file = [&](const Projector& projector) {
        std::string name = projector.address.substr(6);
        std::ranges::replace(name, ':', '_');
        return path(name + ".png");
    };
    EXPECT_EQ(at(ImageFiles::readPicture(file(simulator)), 5, 5), green);
    EXPECT_EQ(at(ImageFiles::readPicture(file(other)), 5, 5), red);
    const Ended one = runOn(both, {"snapshot", path("one.png")});
    EXPECT_EQ(one.status, 6);
    EXPECT_THAT(one.errors, HasSubstr("is another device's"));
}

/// With a device that the test plays.
class ToolPatternRequests : public ToolPattern {
protected:
    /// Every request is answered with the result.
    Ended run(std::vector<std::string> arguments, std::size_t count, const std::string& result = "") {
        arguments.insert(arguments.begin(), {"-d", peer.getAddress()});
        Process process(JSONDEVICE_TOOL, arguments);
        requests.clear();
        if (count > 0) {
            TcpPeer::Link link(peer.accept());
            for (std::size_t i = 0; i < count; ++i) {
                Json::Value request;
                EXPECT_TRUE(JsonDevice::JsonText::read(link.receiveRecord(), request));
                std::string text = request["method"].asString() + " ";
                JsonDevice::JsonText::append(text, request["params"]);
                requests.push_back(text);
                link.send("{\"id\":" + request["id"].asString() + "," + result + "}" + '\0');
            }
        }
        const int status = process.wait();
        return {status, process.output(), process.errors()};
    }
    /// Every request is answered, and these are all.
    void expect(const std::vector<std::string>& arguments, const std::vector<std::string>& expected,
                const std::string& result = "\"result\":null") {
        const Ended ended = run(arguments, expected.size(), result);
        EXPECT_EQ(ended.status, 0) << ended.errors;
        EXPECT_EQ(requests, expected);
    }

    TcpPeer peer;
    std::vector<std::string> requests;
};

TEST_F(ToolPatternRequests, CarryWhatWasTyped) {
    expect({"pattern", "set", "7"}, {"TestPatternInterface::setInternalTestPattern [7]"});
    expect({"pattern", "points", "1,2", "3,4", "--color", "magenta"},
           {"TestPatternInterface::setPointTestPatternColor [5]",
            R"(TestPatternInterface::setPointTestPattern [[{"x":1,"y":2},{"x":3,"y":4}]])",
            "TestPatternInterface::enablePointTestPattern [true]"});
    expect({"pattern", "lines", "1,2,3,4", "--color", "1023,0,5"},
           {"TestPatternInterface::drawLines [1,2,3,4,1023,0,5]",
            "TestPatternInterface::flushUserTestPattern []"});
    expect({"pattern", "lines", "--user", "--hold", "--", "-1,2,-3,4"},
           {"UserTestPatternInterface::drawLines [-1,2,-3,4,255,255,255]"});
    expect({"pattern", "boxes", "3x4", "1,2", "--color", "blue", "--user"},
           {R"(UserTestPatternInterface::drawBoxes [[{"x":1,"y":2}],3,4,0,0,255])",
            "UserTestPatternInterface::flushUserTestPattern [true]"});
    expect({"pattern", "grid", "5x6"}, {"TestPatternInterface::showUserTestPatternGrid [5,6,255,255,255]",
                                        "TestPatternInterface::flushUserTestPattern []"});
    expect({"pattern", "grid", "--horizontal", "1,2", "--vertical", "3", "--range", "1,2,3,4", "--color",
            "010203", "--background", "black"},
           {"GridTestPatternInterface::setLines [0,[1,2]]", "GridTestPatternInterface::setLines [1,[3]]",
            "GridTestPatternInterface::setLineColor [1,2,3]",
            "GridTestPatternInterface::setBackgroundColor [0,0,0]",
            "GridTestPatternInterface::setRange [1,2,3,4]", "GridTestPatternInterface::setMode [1]",
            "GridTestPatternInterface::flushCommandQueue []"});
    expect({"pattern", "check", "1x2", "--shift", "3,4", "--no-sync", "--sine"},
           {"CheckPatternInterface::displayCheckPattern [1,2,3,4,false,false,true]"});
    expect({"pattern", "blocks", "1,2,3,4=red", "5,6,7,8", "--color", "0x9", "--display", "1", "--mode", "5",
            "--projector"},
           {"ProjectorBlockPatternInterface::clearArbitraryBlocks []",
            R"(ProjectorBlockPatternInterface::setArbitraryBlocks2 [0,[{"x":1,"y":2},{"x":5,"y":6}],)"
            R"([{"x":3,"y":4},{"x":7,"y":8}],[16711680,9]])",
            "ProjectorBlockPatternInterface::setArbitraryBlockRange [0,1]",
            "ProjectorBlockPatternInterface::setDisplayMode [1]",
            "ProjectorBlockPatternInterface::setPatternMode [5]",
            "ProjectorBlockPatternInterface::flushCommandQueue []"});
    expect({"pattern", "clear", "grid", "check"},
           {"GridTestPatternInterface::setMode [0]", "GridTestPatternInterface::flushCommandQueue []",
            "CheckPatternInterface::clearCheckPattern [true]"});
    ImageFiles::writePicture(ImageFiles::Picture(2, 1, 1), path("two.png"), 8);
    std::ifstream file(path("two.png"), std::ios::binary);
    const std::vector<unsigned char> bytes{std::istreambuf_iterator<char>(file), {}};
    expect({"snapshot", path("wall.png"), "--size", "2x1"}, {"Simulator::getPicture [2,1]"},
           R"("result":")" + encodeBase64(bytes) + '"');
    EXPECT_EQ(ImageFiles::readPicture(path("wall.png")).width, 2);
}

TEST_F(ToolPatternRequests, ASnapshotOfADeviceThatOffersNoneSaysSo) {
    const Ended none =
        run({"snapshot", path("wall.png")}, 1, R"("error":{"code":-32601,"message":"Method not found"})");
    EXPECT_EQ(none.status, 1);
    EXPECT_THAT(none.errors, HasSubstr("cannot tell what is on the wall; a simulated projector can"));
    for (const char* const bad : {R"("result":"AAAA")", R"("result":"")", R"("result":"iVBORw0KGgo=")",
                                  R"("result":{"png":1})", R"("result":null)"}) {
        const Ended ended = run({"snapshot", path("wall.png")}, 1, bad);
        EXPECT_EQ(ended.status, 5) << bad;
        EXPECT_EQ(ended.output, "");
        EXPECT_FALSE(std::filesystem::exists(path("wall.png"))) << bad;
    }
}

TEST_F(ToolPatternRequests, AreNotMadeOfWrongCommandLinesAndBrokenFiles) {
    const std::string broken = write("broken.png", "\x89PNG\r\n\x1a\n broken");
    ImageFiles::writePicture(ImageFiles::Picture(2, 2, 1), path("good.png"), 8);
    const std::vector<std::vector<std::string>> wrong = {
        {"set"},
        {"upload", broken, "1"},
        {"upload", path("missing.png"), "1"},
        {"upload", path("good.png"), "one"},
        {"upload", path("good.png"), "1", "--bits", "12"},
        {"upload", "--show", "--", path("good.png"), "-1"},
        {"remove", "one"},
        {"points"},
        {"points", "1"},
        {"points", "1,2,3"},
        {"points", "1,b"},
        {"points", "1,99999999999"},
        {"points", "1,2", "--color", "8"},
        {"points", "1,2", "--color", "pink"},
        {"points", "@" + path("missing.txt")},
        {"points", "@" + write("empty.txt", " \n")},
        {"lines", "1,2,3"},
        {"lines", "1,2,3,4", "--color", "1,2"},
        {"lines", "1,2,3,4", "--color", "12345"},
        {"lines", "1,2,3,4", "--color", "12345g"},
        {"boxes", "5", "1,2"},
        {"boxes", "5x6"},
        {"grid"},
        {"grid", ""},
        {"grid", "5x6", "--mode", "lines"},
        {"grid", "--mode", "dots"},
        {"grid", "--vertical", "1,,2"},
        {"grid", "--vertical", "1", "--hold"},
        {"check", "x"},
        {"check", "1x2", "--shift", "1"},
        {"blocks"},
        {"blocks", "1,2,3"},
        {"blocks", "1,2,3,4="},
        {"blocks", "1,2,3,4=7"},
        {"blocks", "1,2,3,4=0x-7"},
        {"blocks", "1,2,3,4", "5,6,7,8", "--index", "2147483647"},
        {"blocks", "1,2,3,4=256,0,0"},
        {"blocks", "1,2,3,4", "--bit", "1"},
        {"blocks", "1,2,3,4", "--binary", "2x2"},
        {"blocks", "--binary", "2x2", "--add"},
        {"clear", "everything"},
    };
    for (std::vector<std::string> arguments : wrong) {
        arguments.insert(arguments.begin(), "pattern");
        const Ended ended = run(arguments, 0);
        EXPECT_EQ(ended.status, 2) << testing::PrintToString(arguments) << ended.errors;
        EXPECT_EQ(ended.output, "");
    }
}

}  // namespace
