#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "DeviceManager/JsonDevice/JsonWarp.h"
#include "Platform/Devices/Device.h"
#include "Platform/Devices/RasterGrayscaleImage.h"
#include "Tests/Library/GeometryProxies.h"
#include "Tests/Support/LogCapture.h"
#include "Tests/Support/ScriptedCommunicator.h"
#include "Tests/Support/TemporaryFolder.h"

namespace {

namespace fs = std::filesystem;
using JsonDevice::JsonWarp;

/// A folder of its own as the current one, removed at the end.
class CurrentFolder {
public:
    CurrentFolder() : former(fs::current_path()) { fs::current_path(temporary.path()); }
    ~CurrentFolder() { fs::current_path(former); }
    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(temporary.path())) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

private:
    const TemporaryFolder temporary;
    fs::path former;
};

class Projector : public Device {
public:
    explicit Projector(Communicator& communicator) : communicator(communicator) {}
    Communicator* getCommunicator() override { return &communicator; }
    std::string getMACAddress() const override { return "00:1B:C5:00:00:01"; }

private:
    Communicator& communicator;
};

/// Hides its image once it was dumped, so that the request needs no encoder.
class OneLook : public BlendProxy {
public:
    explicit OneLook(float value) : image(1, 1, &value) {}
    const GrayscaleImage* getImage() const override { return looks++ == 0 ? &image : nullptr; }
    std::wstring getName() const override { return L""; }
    std::wstring getXml() const override { return L""; }

private:
    RasterGrayscaleImage image;
    mutable int looks = 0;
};

std::string content(const std::string& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

int saveAll(JsonWarp& warp, BlendProxy* mask, BlendProxy* screenMask, BlendProxy* blend, BlendProxy* bu) {
    return warp.saveAll(0, 0, 0, 0, 0, 0, nullptr, mask, screenMask, blend, bu, nullptr);
}

TEST(JsonWarpTrace, WritesTheFourMapsUnderTheirNames) {
    const CurrentFolder folder;
    const LogCapture trace("DeviceManager.JsonDevice.JsonWarp");
    ScriptedCommunicator device;
    Projector projector(device);
    JsonWarp warp(&projector);
    device.expectAny().reply(R"({"id":1,"result":4})");
    OneLook mask(0);
    OneLook screenMask(1);
    OneLook blend(0.5);
    OneLook bu(0.25);
    EXPECT_EQ(saveAll(warp, &mask, &screenMask, &blend, &bu), 4);
    EXPECT_EQ(folder.files(),
              (std::vector<std::string>{"00-1B-C5-00-00-01_blend.pgm", "00-1B-C5-00-00-01_bu.pgm",
                                        "00-1B-C5-00-00-01_mask.pgm", "00-1B-C5-00-00-01_screenMask.pgm"}));
    const std::string header = "P5\n1 1\n65535\n";
    EXPECT_EQ(content("00-1B-C5-00-00-01_mask.pgm"), header + std::string("\0\0", 2));
    EXPECT_EQ(content("00-1B-C5-00-00-01_screenMask.pgm"), header + "\xFF\xFF");
    EXPECT_EQ(content("00-1B-C5-00-00-01_blend.pgm"), header + std::string("\x80\x00", 2));
    EXPECT_EQ(content("00-1B-C5-00-00-01_bu.pgm"), header + std::string("\x40\x00", 2));
}

TEST(JsonWarpTrace, SkipsWhatIsMissing) {
    const CurrentFolder folder;
    const LogCapture trace("DeviceManager.JsonDevice.JsonWarp");
    ScriptedCommunicator device;
    Projector projector(device);
    JsonWarp warp(&projector);
    device.expectAny().reply(R"({"id":1,"result":4})");
    OneLook blend(1);
    GeometryProxies withoutImages;
    EXPECT_EQ(saveAll(warp, nullptr, &withoutImages.screenMask, &blend, nullptr), 4);
    EXPECT_EQ(folder.files(), (std::vector<std::string>{"00-1B-C5-00-00-01_blend.pgm"}));
}

TEST(JsonWarpTrace, WritesNothingWithoutADevice) {
    const CurrentFolder folder;
    const LogCapture trace("DeviceManager.JsonDevice.JsonWarp");
    ScriptedCommunicator device;
    JsonWarp warp(&device);
    device.expectAny().reply(R"({"id":1,"result":4})");
    GeometryProxies p;
    EXPECT_EQ(saveAll(warp, &p.mask, &p.screenMask, &p.blend, &p.bu), 4);
    EXPECT_TRUE(folder.files().empty());
}

TEST(JsonWarpTrace, WritesNothingWhenTraceIsOffOrOnAPreview) {
    const CurrentFolder folder;
    ScriptedCommunicator device;
    Projector projector(device);
    JsonWarp warp(&projector);
    GeometryProxies p;
    device.expectAny().reply(R"({"id":1,"result":4})");
    log4cxx::Logger::getLogger("DeviceManager.JsonDevice.JsonWarp")->setLevel(log4cxx::Level::getDebug());
    EXPECT_EQ(saveAll(warp, &p.mask, &p.screenMask, &p.blend, &p.bu), 4);
    const LogCapture trace("DeviceManager.JsonDevice.JsonWarp");
    device.expectAny().reply(R"({"id":2,"result":4})");
    EXPECT_EQ(warp.previewAll(0, 0, 0, 0, 0, 0, nullptr, &p.mask, &p.screenMask, &p.blend, &p.bu, nullptr),
              4);
    EXPECT_TRUE(folder.files().empty());
}

}  // namespace
