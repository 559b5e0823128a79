#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include "Common/WideText.h"
#include "DeviceManager/JsonDevice/JsonText.h"
#include "DeviceManager/JsonDevice/MarshalTypes.h"
#include "DeviceManager/JsonDevice/Vocabulary/Vocabulary.h"
#include "ImageFiles/ImageFile.h"
#include "Platform/Devices/BlackLevelProxy.h"
#include "Platform/Devices/BlendProxy.h"
#include "Platform/Devices/GrayscaleImage.h"
#include "Platform/Devices/Mesh.h"
#include "Tests/Support/TcpPeer.h"
#include "Tests/Tool/Document.h"
#include "Tests/Tool/Process.h"

/// Meshes, maps and what is kept in locations, with a device that the test plays.
namespace {

using testing::HasSubstr;

class Geometry : public testing::Test {
protected:
    Geometry() : folder(testing::TempDir() + "jsondevice-geometry-" + std::to_string(::getpid()) + "-") {}
    ~Geometry() override {
        for (const std::string& file : files) {
            std::remove(file.c_str());
        }
    }

    std::string fileName(const std::string& name) {
        files.push_back(folder + name);
        return files.back();
    }
    std::string writeText(const std::string& name, const std::string& text) {
        const std::string file = fileName(name);
        std::FILE* const stream = std::fopen(file.c_str(), "wb");
        std::fwrite(text.data(), 1, text.size(), stream);
        std::fclose(stream);
        return file;
    }
    std::string writeMesh(const std::string& name, const Mesh& mesh) {
        return writeText(name, toUtf8(mesh.toText()));
    }
    std::string writeMap(const std::string& name, int width, int height, float value, int channels = 1) {
        ImageFiles::Picture picture(width, height, channels);
        picture.values.assign(picture.values.size(), value);
        const std::string file = fileName(name);
        ImageFiles::writePicture(picture, file);
        return file;
    }

    /// Runs against a device that answers each request with the next of these results.
    void run(std::vector<std::string> arguments, const std::vector<std::string>& results) {
        arguments.insert(arguments.begin(), {"-d", peer.getAddress()});
        Process process(JSONDEVICE_TOOL, arguments);
        requests.clear();
        if (!results.empty()) {
            std::unique_ptr<TcpPeer::Link> link;
            for (std::size_t i = 0; i < results.size(); ++i) {
                if (!link) {
                    link = std::make_unique<TcpPeer::Link>(peer.accept());
                }
                Json::Value request;
                ASSERT_TRUE(JsonDevice::JsonText::read(link->receiveRecord(), request));
                requests.push_back(request);
                link->send("{\"id\":" + request["id"].asString() + ",\"result\":" + results[i] + "}" + '\0');
            }
        }
        status = process.wait();
        output = process.output();
        errors = process.errors();
    }
    std::string method(std::size_t i) const { return requests.at(i)["method"].asString(); }
    std::string params(std::size_t i) const {
        std::string text;
        JsonDevice::JsonText::append(text, requests.at(i)["params"]);
        return text;
    }

    const std::string folder;
    std::vector<std::string> files;
    TcpPeer peer;
    std::vector<Json::Value> requests;
    int status = -1;
    std::string output;
    std::string errors;
};

TEST_F(Geometry, ListsWarpsAndMarksTheActiveOne) {
    const std::vector<std::string> results = {
        R"([{"first":1,"second":"one"},{"first":12,"second":"tw\u001bo"}])", "12"};
    run({"warp", "list"}, results);
    EXPECT_EQ(output, "    1  one\n*  12  tw\\x1bo\n");
    EXPECT_EQ(method(0), "WarpInterface::getWarpNamesAndLocations");
    EXPECT_EQ(method(1), "WarpInterface::getWarpLocation");
    run({"warp", "list", "--json"}, results);
    const Json::Value json = document(output)["result"];
    EXPECT_EQ(json["active"].asInt(), 12);
    EXPECT_EQ(json["items"].size(), 2u);
    run({"mask", "list"}, {"4"});
    EXPECT_EQ(output, "active: 4\n");
}

// Where the older protocol counts two higher, the user does not.
TEST_F(Geometry, SpeaksTheOlderProtocol) {
    run({"warp", "select", "1", "--protocol", "1"}, {"null"});
    EXPECT_EQ(params(0), "[3]");
    run({"warp", "select", "1"}, {"null"});
    EXPECT_EQ(params(0), "[1]");
    run({"warp", "list", "--protocol", "1"}, {R"([{"first":1,"second":"one"}])", "3"});
    EXPECT_EQ(output, "*  1  one\n");
    run({"uniformity", "select", "1", "--protocol", "1"}, {"null"});
    EXPECT_EQ(method(0), "BlendingInterface::selectBlend");
    EXPECT_EQ(params(0), "[3]");
    run({"blend", "list", "--protocol", "3"}, {});
    EXPECT_EQ(status, 2);
}

TEST_F(Geometry, SavesAMeshAlone) {
    const Mesh mesh(64, 40, 3, 2);
    run({"warp", "save", "3", writeMesh("mesh", mesh), "--name", "Left wall"}, {"0", "null"});
    EXPECT_EQ(status, 0) << errors;
    EXPECT_EQ(method(0), "WarpInterface::saveWarp");
    EXPECT_EQ(requests[0]["params"][0].asInt(), 3);
    EXPECT_EQ(Mesh::fromText(std::string_view(requests[0]["params"][1].asString())), mesh);
    EXPECT_EQ(method(1), "WarpInterface::nameWarp");
    EXPECT_EQ(params(1), R"([3,"Left wall"])");
}

TEST_F(Geometry, SavesAMeshWithMapsInTheirOrder) {
    const Mesh mesh(8, 4, 2, 2);
    run({"warp", "save", "5", writeMesh("mesh", mesh), "--mask", writeMap("1.png", 8, 4, 0.25F),
         "--screen-mask", writeMap("2.pgm", 8, 4, 0.5F), "--blend", writeMap("3.pfm", 8, 4, 0.75F), "--bu",
         writeMap("4.png", 8, 4, 1.0F), "--black-level", writeMap("5.png", 8, 4, 0.125F)},
        {"0"});
    EXPECT_EQ(status, 0) << errors;
    EXPECT_EQ(method(0), "WarpInterface::saveAll");
    const Json::Value& sent = requests[0]["params"];
    ASSERT_EQ(sent.size(), 12u);
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(sent[i].asInt(), 5);
    }
    auto& registry = *JsonDevice::MarshalJson::instance();
    JsonDevice::Vocabulary::registerAllTypes();
    for (int i = 0; i < 4; ++i) {
        const std::unique_ptr<BlendProxy> map(
            static_cast<BlendProxy*>(registry.fromJson(sent[7 + i], "BlendProxy")));
        ASSERT_NE(map->getImage(), nullptr);
        EXPECT_EQ(map->getImage()->getHSize(), 8);
        EXPECT_EQ(map->getImage()->getVSize(), 4);
        EXPECT_NEAR(map->getImage()->getCenterValue(7, 3), 0.25F * static_cast<float>(i + 1), 1.0 / 4096);
    }
    const std::unique_ptr<BlackLevelProxy> black(
        static_cast<BlackLevelProxy*>(registry.fromJson(sent[11], "BlackLevelProxy")));
    EXPECT_NEAR(black->getImage()->getCenterValue(0, 0), 0.125F, 1.0 / 4096);
}

TEST_F(Geometry, MapsThatAreNotGivenAreNull) {
    const std::string mesh = writeMesh("mesh", Mesh(8, 4, 2, 2));
    run({"warp", "preview", "5", mesh}, {"0"});
    EXPECT_EQ(method(0), "WarpInterface::previewWarp");
    EXPECT_THAT(params(0), testing::EndsWith(",null,null,null,null]"));
    run({"warp", "save", "5", mesh, "--numbers", "1,2,3,4,5,6"}, {"0"});
    EXPECT_THAT(params(0), testing::StartsWith("[1,2,3,4,5,6,\"mesh 1"));
    EXPECT_THAT(params(0), testing::EndsWith(",null,null,null,null,null]"));
    run({"mask", "preview", "5", mesh}, {"null"});
    EXPECT_EQ(method(0), "MaskingInterface::previewMask");
    EXPECT_EQ(requests[0]["params"].size(), 6u);
}

TEST_F(Geometry, EveryFamilyHasItsOwnMethods) {
    const std::string mesh = writeMesh("mesh", Mesh(8, 4, 2, 2));
    const std::string map = writeMap("map.png", 8, 4, 0.5F);
    const std::vector<std::pair<std::vector<std::string>, std::string>> all = {
        {{"blend", "save", "1", mesh}, "BlendingInterface::saveBlend"},
        {{"blend", "preview", "1", mesh}, "BlendingInterface::previewBlend"},
        {{"blend", "show"}, "BlendingInterface::showBlend"},
        {{"blend", "select", "1"}, "BlendingInterface::selectBlend"},
        {{"blend", "name", "1", "x"}, "BlendingInterface::nameBlend"},
        {{"blend", "delete", "1"}, "BlendingInterface::deleteBlend"},
        {{"uniformity", "save", "1", mesh}, "BlendingInterface::saveUniformity"},
        {{"uniformity", "preview", "1", mesh}, "BlendingInterface::previewUniformity"},
        {{"uniformity", "show"}, "BlendingInterface::showUniformity"},
        {{"uniformity", "select", "1"}, "BlendingInterface::selectUniformity"},
        {{"uniformity", "name", "1", "x"}, "BlendingInterface::nameUniformity"},
        {{"uniformity", "delete", "1"}, "BlendingInterface::deleteUniformity"},
        {{"mask", "save", "1", mesh}, "MaskingInterface::saveMask"},
        {{"mask", "show"}, "MaskingInterface::showMask"},
        {{"mask", "select", "1"}, "MaskingInterface::selectMask"},
        {{"mask", "name", "1", "x"}, "MaskingInterface::nameMask"},
        {{"mask", "delete", "1"}, "MaskingInterface::deleteMask"},
        {{"blacklevel", "save", "1", map, "--factors", "1,0.5,1"}, "BlackLevelInterface::saveBlacklevel"},
        {{"blacklevel", "preview", "1", map}, "BlackLevelInterface::previewBlacklevel"},
        {{"blacklevel", "select", "1"}, "BlackLevelInterface::selectBlackLevel"},
        {{"blacklevel", "delete", "1"}, "BlackLevelInterface::deleteBlackLevel"},
        {{"warp", "show"}, "WarpInterface::showWarp"},
        {{"warp", "name", "1", "x"}, "WarpInterface::nameWarp"},
        {{"warp", "delete", "1"}, "WarpInterface::deleteWarp"},
    };
    for (const auto& [arguments, expected] : all) {
        run(arguments, {"null"});
        EXPECT_EQ(method(0), expected);
        EXPECT_EQ(errors.find("error: argument"), std::string::npos) << errors;
    }
    run({"warp", "xml", "1"}, {R"("<Mesh/>")"});
    EXPECT_EQ(output, "<Mesh/>\n");
    EXPECT_EQ(method(0), "WarpInterface::getWarpXmlFromProjector");
    run({"blend", "xml", "1"}, {R"("<Blend/>")"});
    EXPECT_EQ(method(0), "WarpInterface::getBlendXmlFromProjector");
    run({"blacklevel", "xml", "1"}, {R"("<B/>")"});
    EXPECT_EQ(method(0), "BlackLevelInterface::getBlackLevelXmlFromProjector");
}

TEST_F(Geometry, TellsPositionsAndContents) {
    run({"model", "position", "0", "-1.5", "2", "0", "90", "-.5"}, {"true"});
    EXPECT_EQ(method(0), "ModelInterface::updatePositionOrientation");
    EXPECT_EQ(params(0), R"([{"x":0.0,"y":-1.5,"z":2.0},{"x":0.0,"y":90.0,"z":-0.5}])");
    EXPECT_EQ(output, "true\n");
    run({"model", "position", "0", "0", "0", "0", "0", "0", "--perspective", "1,2.5"}, {"true"});
    EXPECT_THAT(params(0), testing::StartsWith("[[1.0,2.5],{"));
    run({"model", "position", "0", "x", "2", "0", "90", "0"}, {});
    EXPECT_EQ(errors, "error: Y: \"x\" is not a number\n");
    run({"content", "add", "logo", writeMap("logo.png", 2, 2, 0.5F, 3)}, {"true"});
    EXPECT_EQ(method(0), "IGInterface::addContent");
    EXPECT_EQ(requests[0]["params"][1]["name"].asString(), "logo");
    EXPECT_EQ(status, 0) << errors;
    run({"content", "add", "grey", writeMap("grey.pgm", 2, 2, 0.5F)}, {"true"});
    EXPECT_EQ(status, 0) << errors;
    run({"content", "select", "logo"}, {"true"});
    EXPECT_EQ(params(0), R"(["logo"])");
}

// The device would answer, but is never asked.
TEST_F(Geometry, RefusesFilesBeforeAnythingIsSent) {
    const std::string mesh = writeMesh("mesh", Mesh(8, 4, 2, 2));
    const std::string small = writeMap("small.png", 4, 4, 1);
    const std::string colour = writeMap("colour.png", 8, 4, 1, 3);
    const std::string broken = writeText("broken.png", "\x89PNG\r\n\x1a\nnot");
    const auto refusal = [&](const std::vector<std::string>& arguments) {
        run(arguments, {});
        EXPECT_EQ(status, 2);
        EXPECT_EQ(output, "");
        return errors;
    };
    EXPECT_THAT(refusal({"warp", "save", "1", "/nowhere"}), HasSubstr("cannot read \"/nowhere\""));
    EXPECT_THAT(refusal({"warp", "save", "1", small}), HasSubstr("not a mesh"));
    EXPECT_THAT(refusal({"warp", "save", "x", mesh}), HasSubstr("argument 1 (location)"));
    EXPECT_THAT(refusal({"warp", "save", "1", mesh, "--blend", "/nowhere"}), HasSubstr("/nowhere"));
    EXPECT_THAT(refusal({"warp", "save", "1", mesh, "--blend", broken}), HasSubstr("broken.png"));
    EXPECT_THAT(refusal({"warp", "save", "1", mesh, "--blend", colour}), HasSubstr("a map is grey"));
    EXPECT_THAT(refusal({"warp", "save", "1", mesh, "--blend", small}),
                HasSubstr("is a mesh for 8 x 4 pixels, but " + small + " is of 4 x 4"));
    EXPECT_THAT(refusal({"blend", "save", "1", mesh, "--blend", small, "--bu", writeMap("8x4.png", 8, 4, 1)}),
                HasSubstr("is of 8 x 4 pixels, but " + small + " is of 4 x 4"));
    EXPECT_THAT(refusal({"warp", "save", "1", mesh, "--numbers", "1,2"}),
                HasSubstr("takes 6 arguments, not 2"));
    EXPECT_THAT(refusal({"warp", "save", "1", mesh, "--size", "8"}), HasSubstr("is no size in pixels"));
    EXPECT_THAT(refusal({"blacklevel", "save", "1", colour}), HasSubstr("a map is grey"));
    EXPECT_THAT(refusal({"blacklevel", "save", "1", small, "--factors", "1"}), HasSubstr("three numbers"));
    EXPECT_THAT(refusal({"content", "add", "x", broken}), HasSubstr("broken.png"));
}

TEST_F(Geometry, ReadsAMeshFromCoordinates) {
    ImageFiles::Picture picture(3, 2, 3);
    Mesh expected(64, 40, 3, 2);
    for (int i = 0; i < 6; ++i) {
        Mesh::ControlPoint point = expected.getControlPoint(i % 3, i / 3);
        point[0] += 1.5F;
        expected.setControlPoint(i % 3, i / 3, point);
        picture.values[static_cast<std::size_t>(3 * i)] = point[0];
        picture.values[static_cast<std::size_t>(3 * i + 1)] = point[1];
    }
    const std::string file = fileName("mesh.pfm");
    ImageFiles::writePicture(picture, file);
    run({"warp", "save", "1", file, "--size", "64x40"}, {"0"});
    EXPECT_EQ(status, 0) << errors;
    EXPECT_EQ(Mesh::fromText(std::string_view(requests[0]["params"][1].asString())), expected);
    run({"warp", "save", "1", file}, {});
    EXPECT_THAT(errors, HasSubstr("use --size"));
}

TEST_F(Geometry, ChecksForFoldsWithoutADevice) {
    Mesh mesh(64, 40, 3, 3);
    run({"warp", "check", writeMesh("plain", mesh)}, {});
    EXPECT_EQ(status, 0);
    EXPECT_EQ(output, "no folds\n");
    Mesh::ControlPoint folded = mesh.getControlPoint(1, 1);
    folded[0] += 60;
    mesh.setControlPoint(1, 1, folded);
    const std::string file = writeMesh("folded", mesh);
    const std::string picture = fileName("folded.png");
    run({"warp", "check", file, "--picture", picture, "--json"}, {});
    EXPECT_EQ(status, 0) << output;
    EXPECT_GT(document(output)["result"]["folds"].size(), 0u);
    const ImageFiles::Picture drawn = ImageFiles::readPicture(picture);
    EXPECT_EQ(drawn.width, 64);
    int red = 0;
    for (std::size_t i = 0; i < drawn.values.size(); i += 3) {
        red += drawn.values[i] > 0.9F && drawn.values[i + 1] < 0.5F ? 1 : 0;
    }
    EXPECT_GT(red, 0);
    run({"warp", "check", file}, {});
    EXPECT_THAT(output, HasSubstr("x1"));
    run({"warp", "check", file, "--picture", "/nowhere/x.png"}, {});
    EXPECT_EQ(status, 74);
    run({"warp", "check", file, "--picture", "x.bmp"}, {});
    EXPECT_EQ(status, 2);
}

class GeometryWithSimulator : public Geometry {
protected:
    void start(std::vector<std::string> options = {}) {
        options.insert(options.begin(), {"--port", "0"});
        simulator = std::make_unique<Process>(JSONDEVICE_SIMULATOR, options);
        const std::string line = simulator->readLine();
        address = line.substr(line.find("tcp://"));
    }
    std::string ask(const std::vector<std::string>& arguments, const std::string& terminal = "") {
        Process::Setup setup{.environment = {{"JSONDEVICE", address}, {"TERM", "xterm"}}};
        if (!terminal.empty()) {
            setup.files[2] = terminal;
        }
        Process process(JSONDEVICE_TOOL, arguments, setup);
        status = process.wait();
        errors = process.errors();
        return process.output();
    }
    /// Of the projector's size, and of values that do not shorten well.
    std::string noisyMap() {
        ImageFiles::Picture picture(1920, 1200, 1);
        unsigned int state = 1;
        for (float& value : picture.values) {
            state = state * 1664525U + 1013904223U;
            value = static_cast<float>(state >> 16) / 65535.0F;
        }
        const std::string file = fileName("noise.pgm");
        ImageFiles::writePicture(picture, file);
        return file;
    }

    std::unique_ptr<Process> simulator;
    std::string address;
};

TEST_F(GeometryWithSimulator, WhatIsSavedIsListedSelectedNamedAndDeleted) {
    start();
    const std::string mesh = writeMesh("mesh", Mesh(1920, 1200, 5, 4));
    ask({"warp", "save", "3", mesh, "--blend", noisyMap(), "--name", "Left wall"});
    EXPECT_EQ(status, 0) << errors;
    EXPECT_THAT(errors, testing::Not(testing::HasSubstr("sending"))) << "no progress where nobody watches";
    ask({"warp", "save", "4", mesh});
    ask({"warp", "select", "3"});
    EXPECT_THAT(ask({"warp", "list"}), testing::StartsWith("*  3  Left wall\n   4  "));
    EXPECT_THAT(ask({"warp", "xml", "3"}), testing::StartsWith("<Mesh width=\"1920\" height=\"1200\""));
    ask({"warp", "name", "4", "Right wall"});
    EXPECT_THAT(ask({"warp", "list"}), HasSubstr("   4  Right wall\n"));
    ask({"warp", "delete", "4"});
    EXPECT_EQ(status, 0) << errors;
    EXPECT_EQ(ask({"warp", "list"}), "*  3  Left wall\n");
    ask({"warp", "delete", "4"});
    EXPECT_EQ(status, 1);
    // A map of another size than the projector's is the projector's to refuse.
    ask({"warp", "preview", "1", writeMesh("small", Mesh(8, 4, 2, 2)), "--blend",
         writeMap("small.png", 8, 4, 1)});
    EXPECT_EQ(status, 1);
}

TEST_F(GeometryWithSimulator, BothProtocolsShowTheSameLocations) {
    for (const std::string protocol : {"1", "2"}) {
        start({"--protocol", protocol});
        const std::string mesh = writeMesh("mesh", Mesh(1920, 1200, 5, 4));
        ask({"warp", "save", "1", mesh, "--name", "one"});
        ask({"warp", "save", "2", mesh, "--name", "two"});
        ask({"warp", "select", "2", "--protocol", protocol});
        EXPECT_EQ(status, 0) << errors;
        EXPECT_EQ(ask({"warp", "list", "--protocol", protocol}), "   1  one\n*  2  two\n");
    }
}

TEST_F(GeometryWithSimulator, ShowsHowFarALongTransferHasCome) {
    start();
    const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_GE(terminal, 0);
    ASSERT_EQ(::grantpt(terminal), 0);
    ASSERT_EQ(::unlockpt(terminal), 0);
    // Kept open, or what was written would be gone with the last who has it open.
    const int other = ::open(::ptsname(terminal), O_RDWR | O_NOCTTY | O_CLOEXEC);
    const std::string mesh = writeMesh("mesh", Mesh(1920, 1200, 5, 4));
    const std::vector<std::string> arguments = {"warp", "save", "3", mesh, "--blend", noisyMap()};
    ask(arguments, ::ptsname(terminal));
    EXPECT_EQ(status, 0);
    char shown[65536];
    const ssize_t length = ::read(terminal, shown, sizeof shown);
    ASSERT_GT(length, 0);
    const std::string progress(shown, static_cast<std::size_t>(length));
    EXPECT_THAT(progress, testing::ContainsRegex("sending [0-9.]+ of [0-9.]+ MB"));
    EXPECT_THAT(progress, testing::EndsWith("\r\033[K")) << "nothing stays behind";

    std::vector<std::string> quietly = arguments;
    quietly.emplace_back("--quiet");
    ask(quietly, ::ptsname(terminal));
    EXPECT_EQ(status, 0);
    pollfd more{terminal, POLLIN, 0};
    if (::poll(&more, 1, 0) != 0) {
        // On a slow machine, that encoding took long.
        const ssize_t rest = ::read(terminal, shown, sizeof shown);
        ASSERT_GT(rest, 0);
        EXPECT_THAT(std::string(shown, static_cast<std::size_t>(rest)),
                    testing::Not(testing::HasSubstr("sending")));
    }
    ::close(other);
    ::close(terminal);
}

}  // namespace
