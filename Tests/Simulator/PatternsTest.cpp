#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "DeviceManager/JsonDevice/JsonCheckPattern.h"
#include "DeviceManager/JsonDevice/JsonControl.h"
#include "DeviceManager/JsonDevice/JsonExceptions.h"
#include "DeviceManager/JsonDevice/JsonGridTestPattern.h"
#include "DeviceManager/JsonDevice/JsonPreWarpBlockPattern.h"
#include "DeviceManager/JsonDevice/JsonProjectorBlockPattern.h"
#include "DeviceManager/JsonDevice/JsonTestPattern.h"
#include "DeviceManager/JsonDevice/JsonUploadTestPattern.h"
#include "DeviceManager/JsonDevice/JsonUserTestPattern.h"
#include "Platform/Devices/Mesh.h"
#include "Platform/Devices/RasterGrayscaleImage.h"
#include "Platform/Transport/TcpCommunicator.h"
#include "Simulator/Simulator.h"

namespace JsonDevice {

namespace {

using Simulation::Bitmap;
using Simulation::Rgb;
using Simulation::Scene;
using Lines = std::vector<std::string>;
using Colour = TestPatternInterface::TestPatternColour;

/// A picture in letters: K for black, R, G, B, C, M, Y, W, lower case for the
/// same at half brightness, "?" for anything else.
Lines letters(const Bitmap& bitmap) {
    Lines lines;
    for (int y = 0; y < bitmap.height; ++y) {
        std::string line;
        for (int x = 0; x < bitmap.width; ++x) {
            const Rgb colour = bitmap.at(x, y);
            const int most = std::max({colour.red, colour.green, colour.blue});
            int bits = 0;
            bool pure = true;
            for (const int value : {int{colour.blue}, int{colour.green}, int{colour.red}}) {
                bits = bits * 2 + (value == most && most > 0 ? 1 : 0);
                pure = pure && (value == most || value == 0);
            }
            if (!pure || (most != 0 && most != 255 && most != 127 && most != 128)) {
                line += '?';
            } else {
                line += (most == 255 || most == 0 ? "KRGYBMCW" : "krgybmcw")[bits];
            }
        }
        lines.push_back(line);
    }
    return lines;
}

/// A projector of 16 x 10 pixels, so that a picture of it can be read.
class PatternsTest : public testing::Test {
protected:
    PatternsTest() {
        Json::Value resolution(Json::arrayValue);
        resolution.append(16);
        resolution.append(10);
        simulator.getProjector().set("nativeResolution", resolution);
        input = simulator.getProjector().getScene();
        simulator.start();
        communicator = std::make_unique<TcpCommunicator>(simulator.getAddress());
    }

    Lines wall() { return letters(render(simulator.getProjector().getScene(), 16, 10)); }
    /// All of one colour.
    static Lines all(char letter) { return Lines(10, std::string(16, letter)); }
    bool showsInput() { return simulator.getProjector().getScene() == input; }

    template <class Call>
    int errorOf(Call&& call) {
        try {
            call();
            ADD_FAILURE() << "no error";
        } catch (const ErrorReplyException& e) {
            return e.getCode();
        }
        return 0;
    }

    std::chrono::steady_clock::time_point now = std::chrono::steady_clock::now();
    Simulator simulator{{.clock = [this] { return now; }}};
    std::unique_ptr<TcpCommunicator> communicator;
    /// The wall without any pattern.
    Scene input;
};

TEST_F(PatternsTest, BuiltInPatternsAreChosenByNumberAndSwitchedOffBy0) {
    JsonTestPattern pattern(communicator.get(), nullptr);
    EXPECT_FALSE(pattern.isInternalTestPatternShowing());
    const auto list = pattern.getInternalTestPatternList();
    ASSERT_EQ(list.size(), 13U);
    EXPECT_EQ(list[0], (std::pair<int, std::wstring>{0, L"Off"}));
    EXPECT_EQ(list[3], (std::pair<int, std::wstring>{3, L"Red"}));
    pattern.setInternalTestPattern(3);
    EXPECT_EQ(pattern.getInternalTestPattern(), 3);
    EXPECT_TRUE(pattern.isInternalTestPatternShowing());
    EXPECT_EQ(wall(), all('R'));
    pattern.setInternalTestPattern(6);
    EXPECT_EQ(wall(), Lines(10, "WWYYCCGGMMRRBBKK"));
    EXPECT_EQ(errorOf([&] { pattern.setInternalTestPattern(99); }), ErrorCode::notFound);
    EXPECT_EQ(pattern.getInternalTestPattern(), 6);
    pattern.setInternalTestPattern(0);
    EXPECT_TRUE(showsInput());
}

TEST_F(PatternsTest, EveryPatternOfTheListLooksDifferent) {
    JsonTestPattern pattern(communicator.get(), nullptr);
    std::vector<Bitmap> pictures;
    for (const auto& [number, name] : pattern.getInternalTestPatternList()) {
        pattern.setInternalTestPattern(static_cast<unsigned int>(number));
        pictures.push_back(render(simulator.getProjector().getScene(), 64, 40));
        for (std::size_t other = 0; other + 1 < pictures.size(); ++other) {
            EXPECT_NE(pictures[other], pictures.back()) << other << " and " << number;
        }
    }
}

TEST_F(PatternsTest, PowerAndShutterDarkenTheWall) {
    JsonTestPattern(communicator.get(), nullptr).setInternalTestPattern(1);
    EXPECT_EQ(wall(), all('W'));
    simulator.getProjector().set("shutter", 1);
    EXPECT_EQ(wall(), all('K'));
    simulator.getProjector().set("shutter", 0);
    EXPECT_EQ(wall(), all('W'));
    simulator.getProjector().set("power", 0);
    EXPECT_EQ(wall(), all('K')) << "it is dark while it cools down";
    now += std::chrono::minutes(1);
    simulator.getProjector().set("power", 1);
    EXPECT_EQ(wall(), all('K')) << "and while it warms up";
    now += std::chrono::minutes(1);
    EXPECT_EQ(wall(), all('W'));
}

TEST_F(PatternsTest, TheFactoryDefaultForgetsPatterns) {
    const Bitmap before = render(input, 16, 10);
    JsonTestPattern pattern(communicator.get(), nullptr);
    JsonUploadTestPattern upload(communicator.get());
    JsonPreWarpBlockPattern blocks(communicator.get());
    const unsigned char grey[] = {7};
    upload.uploadTestPattern({3, 1, 1, grey}, L"", L"", 100);
    pattern.setInternalTestPattern(100);
    pattern.setPointTestPattern({{3, 3}});
    pattern.enablePointTestPattern(true);
    pattern.drawBoxes({{0, 0}}, 5, 5, 255, 0, 0);
    pattern.flushUserTestPattern();
    blocks.setPatternMode(1);
    blocks.setArbitraryBlock(0, {0, 0}, {3, 3}, 0xFFFFFF);
    blocks.flushCommandQueue();
    JsonControl(communicator.get()).setFactoryDefault(1);
    EXPECT_EQ(errorOf([&] { pattern.setInternalTestPattern(100); }), ErrorCode::notFound);
    Scene after = simulator.getProjector().getScene();
    after.width = input.width;
    after.height = input.height;
    EXPECT_TRUE(render(after, 16, 10) == before);
}

TEST_F(PatternsTest, WhatIsDrawnAppearsAtTheFlushAndIsForgottenAtTheClear) {
    JsonTestPattern pattern(communicator.get(), nullptr);
    JsonUserTestPattern user(communicator.get());
    pattern.drawBoxes({{0, 0}, {12, 6}}, 4, 4, 255, 0, 0);
    pattern.drawLines(0, 5, 15, 5, 0, 255, 0);
    EXPECT_TRUE(showsInput());
    EXPECT_FALSE(user.isUserTestPatternDisplayed());
    pattern.flushUserTestPattern();
    EXPECT_TRUE(user.isUserTestPatternDisplayed());
    const Lines drawn{"RRRRKKKKKKKKKKKK", "RRRRKKKKKKKKKKKK", "RRRRKKKKKKKKKKKK", "RRRRKKKKKKKKKKKK",
                      "KKKKKKKKKKKKKKKK", "GGGGGGGGGGGGGGGG", "KKKKKKKKKKKKRRRR", "KKKKKKKKKKKKRRRR",
                      "KKKKKKKKKKKKRRRR", "KKKKKKKKKKKKRRRR"};
    EXPECT_EQ(wall(), drawn);

    user.showUserTestPatternGrid(8, 5, 0, 0, 255);
    EXPECT_EQ(wall(), drawn);
    user.clearUserTestPattern(false);
    user.flushUserTestPattern(true);
    EXPECT_EQ(wall(), drawn) << "what was not flushed yet is forgotten";
    user.flushUserTestPattern(false);
    EXPECT_TRUE(showsInput());
    EXPECT_FALSE(user.isUserTestPatternDisplayed());
    user.flushUserTestPattern(true);
    EXPECT_EQ(wall(), drawn);
    pattern.clearUserTestPattern();
    EXPECT_TRUE(showsInput());
    pattern.flushUserTestPattern();
    EXPECT_FALSE(user.isUserTestPatternDisplayed());

    user.showUserTestPatternGrid(8, 5, 0, 0, 255);
    user.flushUserTestPattern(true);
    Lines grid(10, "BKKKKKKKBKKKKKKK");
    grid[0] = grid[5] = std::string(16, 'B');
    EXPECT_EQ(wall(), grid);
}

TEST_F(PatternsTest, ThereIsALimitToBoxesAndItIsTold) {
    JsonUserTestPattern user(communicator.get());
    EXPECT_EQ(user.getBoxLimit(), 1024U);
    user.drawBoxes(std::vector<Point2I>(1024), 1, 1, 255, 255, 255);
    EXPECT_EQ(errorOf([&] { user.drawBoxes({{0, 0}}, 1, 1, 255, 255, 255); }), ErrorCode::outOfRange);
    user.clearUserTestPattern(true);
    user.drawBoxes({{0, 0}}, 1, 1, 255, 255, 255);
    EXPECT_EQ(errorOf([&] { user.drawBoxes({{0, 0}}, 0, 1, 255, 255, 255); }), ErrorCode::outOfRange);
    EXPECT_EQ(errorOf([&] { user.drawBoxes({{0, 0}}, 1, 1, 256, 255, 255); }), ErrorCode::outOfRange);
    EXPECT_EQ(errorOf([&] { user.showUserTestPatternGrid(1, 2, 0, 0, 0); }), ErrorCode::outOfRange);
}

TEST_F(PatternsTest, PointsAreShownWhileTheyAreEnabled) {
    JsonTestPattern pattern(communicator.get(), nullptr);
    pattern.setPointTestPattern({{9, 9}});
    pattern.setPointTestPattern({{2, 1}});
    pattern.addPointTestPattern({{10, 7}, {1000000, -5}});
    EXPECT_TRUE(render(simulator.getProjector().getScene(), 16, 10) == render(input, 16, 10));
    pattern.enablePointTestPattern(true);
    pattern.setPointTestPatternColor(Colour::yellow);
    const Bitmap shown = render(simulator.getProjector().getScene(), 16, 10);
    EXPECT_EQ(shown.at(2, 1), (Rgb{255, 255, 0}));
    EXPECT_EQ(shown.at(10, 7), (Rgb{255, 255, 0}));
    EXPECT_EQ(shown.at(9, 9), Rgb());
    EXPECT_EQ(shown.at(6, 4), Rgb());
    pattern.clearPointTestPattern();
    EXPECT_EQ(wall(), all('K'));
    pattern.enablePointTestPattern(false);
    EXPECT_TRUE(render(simulator.getProjector().getScene(), 16, 10) == render(input, 16, 10));
}

TEST_F(PatternsTest, UploadedPicturesAreDecodedAndChosenLikeOtherPatterns) {
    JsonUploadTestPattern upload(communicator.get());
    JsonTestPattern pattern(communicator.get(), &upload);
    const unsigned char rgb[] = {255, 0, 0, 0, 255, 0, 0, 0, 255, 255, 255, 255};
    EXPECT_EQ(errorOf([&] { pattern.setInternalTestPattern(101); }), ErrorCode::notFound);
    EXPECT_EQ(upload.uploadTestPattern({1, 2, 2, rgb}, L"", L"", 101), 0);
    pattern.setInternalTestPattern(101);
    Lines quarters(5, "RRRRRRRRGGGGGGGG");
    quarters.insert(quarters.end(), 5, "BBBBBBBBWWWWWWWW");
    EXPECT_EQ(wall(), quarters);

    const auto list = pattern.getInternalTestPatternList();
    ASSERT_EQ(list.size(), 29U);
    EXPECT_EQ(list[13], (std::pair<int, std::wstring>{100, L"Slot 1 (empty)"}));
    EXPECT_EQ(list[14], (std::pair<int, std::wstring>{101, L"Slot 2 (2 x 2)"}));

    const unsigned char deepGrey[] = {0, 0, 255, 255};
    EXPECT_EQ(upload.uploadTestPattern({19, 2, 1, deepGrey}, L"", L"", 101), 0);
    EXPECT_EQ(wall(), Lines(10, "KKKKKKKKWWWWWWWW"));
    upload.removeUploadedTestPattern(101);
    EXPECT_TRUE(showsInput());
    EXPECT_EQ(pattern.getInternalTestPattern(), 0);
    EXPECT_EQ(errorOf([&] { upload.removeUploadedTestPattern(101); }), ErrorCode::notFound);
    EXPECT_EQ(errorOf([&] { upload.uploadTestPattern({1, 2, 2, rgb}, L"", L"", 7); }), ErrorCode::outOfRange);
}

TEST_F(PatternsTest, WhatIsNoPictureIsRefused) {
    auto& projector = simulator.getProjector();
    for (const std::string text : {"", "bm8gcGljdHVyZQ==", "!!!!", "iVBORw0KGgo="}) {
        const std::string reply = projector.handle(
            R"({"id":1,"jsonrpc":"2.0","method":"UploadTestPatternInterface::uploadPngTestPatternImage",)"
            R"("params":[")" +
            text + R"(",100]})");
        EXPECT_NE(reply.find("-32000"), std::string::npos) << reply;
    }
}

/// Both block patterns are put through the same, which the adapters have in common.
template <class Adapter>
void testBlocks(Communicator* communicator, const std::function<Lines()>& wall,
                const std::function<void(Adapter&)>& flush) {
    Adapter pattern(communicator);
    const Lines before = wall();
    EXPECT_EQ(pattern.getPatternMode(), 0);
    pattern.setGapColor(0x0000FF);
    pattern.setArbitraryBlocks(0, {{{0, 0}, {3, 1}, 0xFF0000}, {{15, 9}, {12, 8}, 0x00FF00}});
    pattern.setArbitraryBlocks(2, {Point2I{5, 4}, Point2I{7, 4}}, {6, 5}, 0xFFFFFF);
    pattern.setArbitraryBlock(4, {0, 9}, {0, 9}, 0xFFFF00);
    pattern.setPatternMode(1);
    EXPECT_EQ(pattern.getPatternMode(), 1);
    EXPECT_EQ(wall(), before) << "nothing appears before the flush";
    flush(pattern);
    EXPECT_EQ(wall(), (Lines{"RRRRBBBBBBBBBBBB", "RRRRBBBBBBBBBBBB", "BBBBBBBBBBBBBBBB", "BBBBBBBBBBBBBBBB",
                             "BBBBBWWWBBBBBBBB", "BBBBBWWWBBBBBBBB", "BBBBBBBBBBBBBBBB", "BBBBBBBBBBBBBBBB",
                             "BBBBBBBBBBBBGGGG", "YBBBBBBBBBBBGGGG"}));
    pattern.setArbitraryBlockRange(1, 1);
    flush(pattern);
    Lines one(10, std::string(16, 'B'));
    one[8] = one[9] = "BBBBBBBBBBBBGGGG";
    EXPECT_EQ(wall(), one);
    pattern.clearArbitraryBlocks();
    pattern.setDisplayMode(1);
    flush(pattern);
    EXPECT_EQ(wall(), before);

    pattern.setPatternMode(2);
    pattern.setDisplayMode(0);
    pattern.setGapColor(0);
    pattern.setBinaryBlocksPerLine(8);
    pattern.setBinaryNumBlockLines(2);
    pattern.setBinaryBlockColor(0xFFFFFF);
    pattern.setBinaryStartPosition({0, 1});
    pattern.setBinaryBlockSize({1, 2});
    pattern.setBinaryBlockSpacing({2, 4});
    pattern.setBinaryBlockExponent(1, 0);
    flush(pattern);
    // Of the numbers 0 to 7 and 8 to 15 those with bit 1.
    const std::string bit1 = "KKKKWKWKKKKKWKWK";
    const std::string none = std::string(16, 'K');
    EXPECT_EQ(wall(), (Lines{none, bit1, bit1, none, none, bit1, bit1, none, none, none}));
    pattern.setBinaryBlockExponent(3, 1);
    pattern.setBinaryStartBlockCount(1);
    flush(pattern);
    // Of the numbers 1 to 8 and 9 to 16 those without bit 3.
    EXPECT_EQ(wall(), (Lines{none, "WKWKWKWKWKWKWKKK", "WKWKWKWKWKWKWKKK", none, none, "KKKKKKKKKKKKKKWK",
                             "KKKKKKKKKKKKKKWK", none, none, none}));
    pattern.setPatternMode(0);
    flush(pattern);
    EXPECT_EQ(wall(), before);
    EXPECT_THROW(pattern.setPatternMode(3), ErrorReplyException);
    EXPECT_THROW(pattern.setArbitraryBlock(pattern.getArbitraryBlockLimit(), {0, 0}, {1, 1}, 0),
                 ErrorReplyException);
}

TEST_F(PatternsTest, BlocksBeforeTheWarpAreAppliedAtTheFlush) {
    testBlocks<JsonPreWarpBlockPattern>(
        communicator.get(), [this] { return wall(); },
        [](JsonPreWarpBlockPattern& pattern) { pattern.flushCommandQueue(); });
}

TEST_F(PatternsTest, BlocksOfTheProjectorAreAppliedAtTheFlush) {
    testBlocks<JsonProjectorBlockPattern>(
        communicator.get(), [this] { return wall(); },
        [](JsonProjectorBlockPattern& pattern) { pattern.flushCommandQueue(true); });
}

TEST_F(PatternsTest, TheGridIsAppliedAtTheFlush) {
    JsonGridTestPattern grid(communicator.get());
    grid.setLineColor(0, 255, 255);
    grid.setBackgroundColor(255, 0, 0);
    grid.setLines(0, {2, 7, 100});
    grid.setLines(1, {4});
    grid.setMode(GridTestPatternInterface::Mode::lines);
    EXPECT_TRUE(showsInput());
    grid.flushCommandQueue();
    Lines lines(10, "RRRRCRRRRRRRRRRR");
    lines[2] = lines[7] = std::string(16, 'C');
    EXPECT_EQ(wall(), lines);
    grid.setRange(2, 1, 8, 9);
    grid.flushCommandQueue();
    Lines part(10, "KKRRCRRRKKKKKKKK");
    part[0] = part[9] = std::string(16, 'K');
    part[2] = part[7] = "KKCCCCCCKKKKKKKK";
    EXPECT_EQ(wall(), part);
    grid.setMode(GridTestPatternInterface::Mode::crossings);
    grid.flushCommandQueue();
    EXPECT_NE(wall(), part);
    EXPECT_EQ(wall()[2][4], 'C');
    EXPECT_EQ(wall()[5][4], 'R');
    grid.setMode(GridTestPatternInterface::Mode::off);
    grid.flushCommandQueue();
    EXPECT_TRUE(render(simulator.getProjector().getScene(), 16, 10) == render(input, 16, 10));
    EXPECT_EQ(errorOf([&] { grid.setRange(5, 0, 5, 10); }), ErrorCode::outOfRange);
}

class Projector final : public Device {
public:
    explicit Projector(Communicator* transport) : communicator(transport) {}
    Communicator* getCommunicator() override { return communicator; }
    std::string getMACAddress() const override { return {}; }

private:
    Communicator* communicator;
};

TEST_F(PatternsTest, ChecksComeAndGoAtOnce) {
    Projector device(communicator.get());
    JsonCheckPattern check(&device);
    check.displayCheckPattern(8, 5, 4, 0, true, false, false);
    Lines checks(5, "KKKKWWWWWWWWKKKK");
    checks.insert(checks.end(), 5, "WWWWKKKKKKKKWWWW");
    EXPECT_EQ(wall(), checks);
    check.clearCheckPattern(true);
    EXPECT_TRUE(showsInput());

    JsonTestPattern(communicator.get(), nullptr).setInternalTestPattern(2);
    check.displayCheckPattern(8, 5, 0, 0, false, true, false);
    const Bitmap subliminal = render(simulator.getProjector().getScene(), 16, 10);
    EXPECT_EQ(subliminal.at(0, 0), (Rgb{10, 10, 10}));
    EXPECT_EQ(subliminal.at(9, 0), Rgb());
    EXPECT_EQ(errorOf([&] { check.displayCheckPattern(0, 5, 0, 0, false, false, false); }),
              ErrorCode::outOfRange);
}

TEST(Scene, ShutterWarpBlendAndMaskTakePart) {
    Scene scene;
    scene.width = 16;
    scene.height = 10;
    scene.builtIn = Simulation::BuiltInPattern::white;
    const auto picture = [&] { return letters(render(scene, 16, 10)); };

    // The left half of the picture is where all of it goes.
    auto mesh = std::make_shared<Mesh>(16, 10, 2, 2);
    mesh->setControlPoint(1, 0, {{8, 0}});
    mesh->setControlPoint(1, 1, {{8, 10}});
    mesh->prepareRows();
    mesh->prepareColumns();
    scene.warp = mesh;
    EXPECT_EQ(picture(), Lines(10, "WWWWWWWWKKKKKKKK"));
    scene.projectorBlocks.mode = Simulation::Blocks::Mode::arbitrary;
    scene.projectorBlocks.transparent = true;
    scene.projectorBlocks.blocks = {{true, {12, 0}, {15, 9}, {255, 0, 0}}};
    EXPECT_EQ(picture(), Lines(10, "WWWWWWWWKKKKRRRR")) << "blocks of the projector are not warped";
    scene.preWarpBlocks = scene.projectorBlocks;
    scene.preWarpBlocks.blocks[0].colour = {0, 255, 0};
    EXPECT_EQ(picture(), Lines(10, "WWWWWWGGKKKKRRRR")) << "blocks before the warp are";

    const float half[] = {0.5F, 1};
    scene.blend = std::make_shared<RasterGrayscaleImage>(2, 1, half);
    EXPECT_EQ(picture(), Lines(10, "wwwwwwggKKKKRRRR"));
    const float cut[] = {1, 1, 1, 0};
    scene.mask = std::make_shared<RasterGrayscaleImage>(4, 1, cut);
    EXPECT_EQ(picture(), Lines(10, "wwwwwwggKKKKKKKK"));
    scene.shutterOpen = false;
    EXPECT_EQ(picture(), Lines(10, std::string(16, 'K')));
}

TEST(Scene, WhateverIsAskedForIsRenderedInTime) {
    // Far more than anybody can look at.
    Scene scene;
    scene.projectorBlocks.mode = Simulation::Blocks::Mode::binary;
    scene.projectorBlocks.perLine = 512;
    scene.projectorBlocks.lineCount = 512;
    scene.projectorBlocks.size = {65536, 65536};
    scene.drawing.boxes.assign(1024, {{-2147483647 - 1, -2147483647 - 1}, 65536, 65536, {255, 0, 0}});
    scene.drawing.lines.assign(4096,
                               {{-2147483647 - 1, 2147483647}, {2147483647, -2147483647 - 1}, {0, 0, 255}});
    auto mesh = std::make_shared<Mesh>(1920, 1200, 64, 40);
    for (int column = 0; column < 64; ++column) {
        for (int row = 0; row < 40; ++row) {
            const float far = (column + row) % 2 == 0 ? -1e9F : 1e9F;
            mesh->setControlPoint(column, row, {{far, column % 2 == 0 ? far : -far}});
        }
    }
    mesh->prepareRows();
    mesh->prepareColumns();
    scene.warp = mesh;
    EXPECT_EQ(render(scene, 480, 300).width, 480);
}

TEST(Scene, ASmallPictureKeepsThinLinesAndALargeOneIsSharp) {
    Scene scene;
    scene.drawing.lines = {{{0, 600}, {1919, 600}, {255, 255, 255}}};
    EXPECT_EQ(letters(render(scene, 16, 10))[5], std::string(16, 'W'));
    scene.drawing = {};
    scene.drawing.boxes = {{{960, 0}, 960, 1200, {255, 0, 0}}};
    EXPECT_EQ(letters(render(scene, 16, 10)), Lines(10, "KKKKKKKKRRRRRRRR"));
    const Bitmap large = render(scene, 3840, 2400);
    EXPECT_EQ(large.at(1919, 2399), Rgb());
    EXPECT_EQ(large.at(1920, 0), (Rgb{255, 0, 0}));
}

}  // namespace

}  // namespace JsonDevice
