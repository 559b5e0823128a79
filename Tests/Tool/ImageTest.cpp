#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <json/value.h>

#include "ImageFiles/ImageFile.h"
#include "Tests/Support/TemporaryFolder.h"
#include "Tests/Tool/Document.h"
#include "Tests/Tool/Process.h"

/// jsondevice image: pictures to JSON and back, without a device.
namespace {

using testing::HasSubstr;

class ImageCommand : public testing::Test {
protected:
    struct Ended {
        int status;
        std::string output;
        std::string errors;
    };
    static Ended run(std::vector<std::string> arguments, const std::string& input = "") {
        arguments.insert(arguments.begin(), "image");
        Process process(JSONDEVICE_TOOL, arguments, {.standardInput = input});
        const int status = process.wait();
        return {status, process.output(), process.errors()};
    }
    /// With limits that the shell's ulimit sets.
    static Ended runWithin(const std::string& limits, std::vector<std::string> arguments,
                           const std::string& input = "") {
        arguments.insert(arguments.begin(),
                         {"-c", "ulimit " + limits + R"( && exec "$0" image "$@")", JSONDEVICE_TOOL});
        Process process("/bin/sh", arguments, {.standardInput = input});
        const int status = process.wait();
        return {status, process.output(), process.errors()};
    }
    std::string path(const char* name) const { return (folder / name).string(); }
    std::string written(const char* name, const std::string& text) const {
        std::ofstream(folder / name, std::ios::binary) << text;
        return path(name);
    }
    /// The worked example of the documentation: rows (0, 0, 0), (0, 1, 1), (0.5, 0.5, 0.5).
    std::string example() const {
        ImageFiles::Picture picture(3, 3, 1);
        picture.values = {0, 0, 0, 0, 1, 1, 0.5F, 0.5F, 0.5F};
        ImageFiles::writePicture(picture, folder / "example.pfm");
        return path("example.pfm");
    }

    const TemporaryFolder temporary;
    const std::filesystem::path folder = temporary.path();
};

TEST_F(ImageCommand, PrintsAPictureInEveryEncoding) {
    EXPECT_EQ(run({"encode", example()}).output,
              R"({"compression":"RLE","h":3,"raster":"AA/DgA/BQA/C","v":3})"
              "\n");
    EXPECT_EQ(run({"encode", "-c", "none", example()}).output,
              R"({"compression":"none","h":3,"raster":"AAAAAP//gICA","v":3})"
              "\n");
    ImageFiles::writePicture(ImageFiles::Picture(20, 20, 1), folder / "black.png", 8);
    EXPECT_EQ(run({"encode", "--compression", "ZLIB", path("black.png")}).output,
              R"({"compression":"ZLIB","h":20,"raster":"eJxjYBgFgwkAAAGQAAE=","v":20})"
              "\n");
}

TEST_F(ImageCommand, WritesThePictureBack) {
    const std::string json = run({"encode", example()}).output;
    for (const char* const name : {"a.png", "a.pgm", "a.pfm"}) {
        const Ended ended = run({"decode", "-", path(name)}, json);
        EXPECT_EQ(ended.status, 0) << ended.errors;
        EXPECT_EQ(ended.output, "GrayscaleImage, 3 x 3: " + path(name) + "\n");
        const ImageFiles::Picture picture = ImageFiles::readPicture(folder / name);
        EXPECT_EQ(picture.width, 3);
        EXPECT_EQ(picture.values[3], 0.0F);
        EXPECT_EQ(picture.values[4], 1.0F);
        EXPECT_NEAR(picture.values[6], 0.5F, 1.0F / 65535);
    }
    EXPECT_EQ(run({"decode", "--bits", "8", written("a.json", json), path("b.pgm")}).status, 0);
    EXPECT_EQ(std::filesystem::file_size(folder / "b.pgm"), 11U + 9U);
}

TEST_F(ImageCommand, KnowsColourByItsContent) {
    ImageFiles::Picture picture(2, 1, 3);
    picture.values.assign(6, 1.0F);
    ImageFiles::writePicture(picture, folder / "white.png", 8);
    const Ended ended = run({"encode", path("white.png")});
    EXPECT_EQ(ended.output, "{\"h\":2,\"raster\":\"gA/F\",\"v\":1}\n");
    EXPECT_EQ(run({"decode", "-", path("back.pfm")}, ended.output).status, 0);
    EXPECT_EQ(ImageFiles::readPicture(folder / "back.pfm").values, picture.values);
    EXPECT_EQ(run({"encode", "-c", "ZLIB", path("white.png")}).status, 2);
    // What an object without "compression" is can be said.
    EXPECT_EQ(run({"decode", "--grayscale", "-", path("grey.pfm")}, ended.output).output,
              "GrayscaleImage, 2 x 1: " + path("grey.pfm") + "\n");
}

TEST_F(ImageCommand, TellsHowLargeAPictureIs) {
    const Ended ended = run({"--json", "info", example()});
    EXPECT_EQ(ended.status, 0) << ended.errors;
    EXPECT_THAT(ended.output, HasSubstr("GrayscaleImage"));
    const std::string text = run({"info", example()}).output;
    EXPECT_THAT(text, HasSubstr("GrayscaleImage, 3 x 3\n"));
    EXPECT_THAT(text, HasSubstr("1.333"));  // 12 characters for 9 pixels
    EXPECT_THAT(text, HasSubstr("cannot be made smaller"));
}

TEST_F(ImageCommand, RefusesWhatIsNoPictureInOneClearLine) {
    const auto refused = [](const Ended& ended, const std::string& why) {
        EXPECT_EQ(ended.status, 2);
        EXPECT_EQ(ended.output, "");
        EXPECT_THAT(ended.errors, HasSubstr(why));
    };
    refused(run({"encode", path("missing.png")}), "cannot be opened");
    refused(run({"info", written("a.png", "hello")}), "neither a PNG nor a binary PGM nor a PFM");
    refused(run({"info", written("a.pgm", "P5\n100000 100000\n255\nx")}), "too large");
    refused(run({"encode", "-c", "zip", example()}), "none of RLE, none, ZLIB");
    refused(run({"encode", "-c", "ZLIB", example()}), "cannot make this picture smaller");
    refused(run({"decode", "-", path("a.png")}, "{"), "standard input");
    refused(run({"decode", "-", path("a.png")}, "[]"), "JSON value is not a GrayscaleImage");
    refused(run({"decode", "-", path("a.png")}, "null"), "null is no image");
    refused(run({"decode", "-", path("a.png")}, R"({"h":3,"v":3,"raster":"AA"})"),
            "JSON value is not a RGBImage");
    refused(run({"decode", "-", path("a.png")}, R"({"h":1,"v":1,"compression":"ZLIB","raster":"AA"})"),
            "does not inflate");
    refused(run({"decode", "-", path("a.gif")}, R"({"h":1,"v":1,"compression":"RLE","raster":"AA"})"),
            "must end in .png, .pgm or .pfm");
    EXPECT_EQ(
        run({"decode", "-", path("none/a.png")}, R"({"h":1,"v":1,"compression":"RLE","raster":"AA"})").status,
        74);
}

TEST_F(ImageCommand, AFileThatIsThereStaysWhenThePictureDoesNotGoIntoIt) {
    const std::string file = written("precious.pgm", "precious");
    const Ended ended = run({"decode", "-", file}, R"({"h":2,"v":1,"raster":"gA/F"})");
    EXPECT_EQ(ended.status, 74);
    EXPECT_THAT(ended.errors, HasSubstr("a PGM holds no colour; write a PNG or a PFM"));
    EXPECT_EQ(std::filesystem::file_size(file), 8U);
}

TEST_F(ImageCommand, AnImageWithoutPixelsIsRefusedAtOnce) {
    for (const char* const json : {R"({"h":0,"v":2147483647,"raster":"","compression":"RLE"})",
                                   R"({"h":0,"v":2147483647,"raster":""})",
                                   R"({"h":2147483647,"v":0,"raster":"","compression":"none"})"}) {
        const Ended ended = runWithin("-t 3", {"decode", "-", path("a.png")}, json);
        EXPECT_EQ(ended.status, 74) << json;
        EXPECT_THAT(ended.errors, HasSubstr("an image without pixels cannot be written"));
    }
}

TEST_F(ImageCommand, WhatTheMemoryDoesNotHoldIsAnErrorLikeOthers) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "sanitizers take more address space than there is memory";
#endif
    const std::string file = written("large.pgm", "P5\n16000 16000\n65535\n");
    std::filesystem::resize_file(file, 530000000);  // sparse
    const Ended ended = runWithin("-v 500000", {"info", file});
    EXPECT_EQ(ended.status, 2);
    EXPECT_EQ(ended.output, "");
    EXPECT_EQ(ended.errors, "error: there is not enough memory for this\n");
    const Ended json = runWithin("-v 500000", {"--json", "info", file});
    EXPECT_EQ(json.status, 2);
    EXPECT_EQ(document(json.output)["error"]["exitStatus"].asInt(), 2);
    EXPECT_EQ(json.errors, "");
}

}  // namespace
