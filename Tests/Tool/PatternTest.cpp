#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "ImageFiles/ImageFile.h"
#include "Tests/Tool/Document.h"
#include "Tests/Tool/Process.h"

/// What the projector shows: the simulated one draws it, and a snapshot fetches it.
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;

class Pattern : public testing::Test {
protected:
    Pattern() : folder(testing::TempDir() + "jsondevice-pattern-" + std::to_string(::getpid()) + "-") {}
    ~Pattern() override {
        for (const std::string& file : files) {
            std::remove(file.c_str());
        }
    }
    std::string fileName(const std::string& name) {
        files.push_back(folder + name);
        return files.back();
    }
    void start(std::vector<std::string> options) {
        options.insert(options.begin(), {"--port", "0"});
        simulator = std::make_unique<Process>(JSONDEVICE_SIMULATOR, options);
        const std::string line = simulator->readLine();
        address = line.substr(line.find("tcp://"));
    }
    std::string run(const std::vector<std::string>& arguments) {
        Process process(JSONDEVICE_TOOL, arguments, {.environment = {{"JSONDEVICE", address}}});
        status = process.wait();
        errors = process.errors();
        return process.output();
    }
    ImageFiles::Picture snapshot() {
        const std::string file = fileName("snapshot.png");
        run({"snapshot", file});
        EXPECT_EQ(status, 0) << errors;
        return ImageFiles::readPicture(file);
    }
    /// "rrggbb" of a pixel.
    static std::string pixel(const ImageFiles::Picture& picture, int x, int y) {
        std::string text;
        for (int channel = 0; channel < 3; ++channel) {
            const std::size_t i = (static_cast<std::size_t>(y) * static_cast<std::size_t>(picture.width) +
                                   static_cast<std::size_t>(x)) *
                                      3 +
                                  static_cast<std::size_t>(channel);
            const int value = static_cast<int>(picture.values.at(i) * 255 + 0.5F);
            text += "0123456789abcdef"[value / 16];
            text += "0123456789abcdef"[value % 16];
        }
        return text;
    }

    const std::string folder;
    std::vector<std::string> files;
    std::unique_ptr<Process> simulator;
    std::string address;
    int status = -1;
    std::string errors;
};

TEST_F(Pattern, ShowsWhatIsDrawn) {
    start({"--http", "0"});
    EXPECT_EQ(run({"pattern", "set", "Red"}), "");
    EXPECT_EQ(status, 0) << errors;
    EXPECT_THAT(run({"pattern", "list"}), ContainsRegex("\\*   3  Red\n"));
    ImageFiles::Picture picture = snapshot();
    EXPECT_EQ(picture.width, 1920);
    EXPECT_EQ(pixel(picture, 10, 10), "ff0000");

    run({"pattern", "boxes", "64x48", "100,100", "300,100", "--color", "blue"});
    run({"pattern", "lines", "500,500,600,500", "500,520,600,520", "-c", "ff8000"});
    run({"pattern", "points", "700,700", "-c", "green"});
    picture = snapshot();
    EXPECT_EQ(pixel(picture, 101, 101), "0000ff");
    EXPECT_EQ(pixel(picture, 362, 146), "0000ff");
    EXPECT_EQ(pixel(picture, 250, 101), "ff0000");
    EXPECT_EQ(pixel(picture, 550, 500), "ff8000");
    EXPECT_EQ(pixel(picture, 550, 520), "ff8000");
    EXPECT_EQ(pixel(picture, 700, 700), "00ff00");

    run({"pattern", "blocks", "600,600,699,699", "800,600,899,699", "-c", "magenta", "--projector"});
    EXPECT_EQ(status, 0) << errors;
    picture = snapshot();
    EXPECT_EQ(pixel(picture, 600, 600), "ff00ff");
    EXPECT_EQ(pixel(picture, 899, 699), "ff00ff");

    run({"pattern", "check", "64", "64"});
    EXPECT_EQ(status, 0) << errors;
    run({"pattern", "clear"});
    EXPECT_EQ(status, 0) << errors;
    run({"pattern", "set", "White"});
    picture = snapshot();
    for (const auto& [x, y] :
         {std::pair(101, 101), std::pair(550, 500), std::pair(700, 700), std::pair(600, 600)}) {
        EXPECT_EQ(pixel(picture, x, y), "ffffff") << x;
    }
    run({"pattern", "grid", "64", "64", "-c", "green"});
    picture = snapshot();
    EXPECT_EQ(pixel(picture, 64, 30), "00ff00");
    EXPECT_EQ(pixel(picture, 30, 30), "ffffff");
}

TEST_F(Pattern, UploadsPictures) {
    start({"--http", "0"});
    ImageFiles::Picture logo(1920, 1200, 3);
    for (std::size_t i = 0; i < logo.values.size(); i += 3) {
        logo.values[i + 1] = 1;
    }
    const std::string file = fileName("logo.png");
    ImageFiles::writePicture(logo, file, 8);
    run({"pattern", "upload", file, "101"});
    EXPECT_EQ(status, 0) << errors;
    run({"pattern", "set", "101"});
    EXPECT_EQ(status, 0) << errors;
    EXPECT_EQ(pixel(snapshot(), 960, 600), "00ff00");
    EXPECT_THAT(run({"pattern", "slots"}), HasSubstr("101  "));
    run({"pattern", "remove", "101"});
    EXPECT_EQ(status, 0) << errors;
    run({"pattern", "set", "101"});
    EXPECT_EQ(status, 1);
    run({"pattern", "upload", "/nowhere", "101"});
    EXPECT_EQ(status, 2);
    run({"pattern", "upload", file, "7"});
    EXPECT_EQ(status, 1);
}

TEST_F(Pattern, SnapshotsHaveASizeOfChoice) {
    start({"--http", "0"});
    const std::string file = fileName("small.png");
    const Json::Value json = document(run({"snapshot", file, "--size", "480x300", "--json"}));
    EXPECT_EQ(json["result"]["file"].asString(), file);
    const ImageFiles::Picture picture = ImageFiles::readPicture(file);
    EXPECT_EQ(picture.width, 480);
    EXPECT_EQ(picture.height, 300);
    run({"snapshot", "/nowhere/x.png"});
    EXPECT_EQ(status, 74);
    run({"snapshot", file, "--size", "99999x1"});
    EXPECT_EQ(status, 2);
    run({"snapshot", file, "--size", "8000x8000"});
    EXPECT_EQ(status, 5);
}

TEST_F(Pattern, ADeviceWithoutAPictureSaysSo) {
    start({});
    run({"snapshot", fileName("none.png")});
    EXPECT_EQ(status, 1);
    EXPECT_THAT(errors, HasSubstr("the device offers no picture of what it shows"));
}

TEST_F(Pattern, RefusesWhatIsNoPlaceAndNoColour) {
    start({});
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"lines", "0,0"},
                                               {"lines"},
                                               {"lines", "0,0,1,x"},
                                               {"lines", "0,0,1,1", "-c", "pink"},
                                               {"lines", "0,0,1,1", "-c", "12345g"},
                                               {"points", "1"},
                                               {"points", "1,2", "-c", "ff0000"},
                                               {"boxes", "64", "1,1"},
                                               {"boxes", "64x48"},
                                               {"boxes", "0x48", "1,1"},
                                               {"grid", "64"},
                                               {"grid", "x", "64"},
                                               {"check", "64", "64", "--shift", "1"},
                                               {"blocks"},
                                               {"blocks", "1,2,3"},
                                               {"blocks", "1,2,3,99999999999"},
                                               {"set"},
                                               {"set", "no such"},
                                               {"remove", "x"}}) {
        std::vector<std::string> all = arguments;
        all.insert(all.begin(), "pattern");
        run(all);
        EXPECT_EQ(status, 2) << testing::PrintToString(arguments);
        EXPECT_THAT(errors, testing::StartsWith("error: "));
    }
}

}  // namespace
