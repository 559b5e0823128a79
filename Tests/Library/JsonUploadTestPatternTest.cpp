#include "Common/Base64.h"
#include "DeviceManager/JsonDevice/JsonUploadTestPattern.h"
#include "DeviceManager/JsonDevice/PngWriter.h"
#include "Platform/Timing/Instrumentation.h"
#include "Platform/Transport/DeviceExceptions.h"
#include "Tests/Library/OperationRows.h"
#include "Tests/Library/PngReading.h"
#include "Tests/Support/ScriptedCommunicator.h"

namespace {

using namespace OperationRows;
using JsonDevice::JsonUploadTestPattern;
using Items = std::vector<std::pair<int, std::wstring>>;

const unsigned char rgb[] = {255, 0, 0, 0, 255, 0, 0, 0, 255, 255, 255, 255};
const image_t redGreenBlueWhite{1, 2, 2, rgb};

/// What is sent for the image above. Built without the writer under test.
std::string expectedText() {
    return encodeBase64(libpngAlone(2, 2, PNG_COLOR_TYPE_RGB, 8, {std::begin(rgb), std::end(rgb)}));
}

const Table table({
    returns<JsonUploadTestPattern>(
        "UploadTestPatternInterface::uploadPngTestPatternImage", "[\"" + expectedText() + "\",3]", "-12",
        [](JsonUploadTestPattern& upload) {
            return upload.uploadTestPattern(redGreenBlueWhite, L"", L"not sent", 3);
        },
        -12),
    returns<JsonUploadTestPattern>(
        "UploadTestPatternInterface::getAvailableUploadSlots", "[]",
        R"([{"first":20,"second":"Slot \u00e9"},{"first":10,"second":""}])",
        [](JsonUploadTestPattern& upload) { return upload.getAvailableUploadSlots(); },
        Items{{20, L"Slot \u00e9"}, {10, L""}}),
    sends<JsonUploadTestPattern>("UploadTestPatternInterface::removeUploadedTestPattern", "[-1]",
                                 [](JsonUploadTestPattern& upload) { upload.removeUploadedTestPattern(-1); }),
});

/// The reports of all timers while it lives, as "timer: lap".
class Laps {
public:
    Laps() {
        Instrumentation::setListener([this](const Instrumentation::Report& report) {
            reports.push_back(std::string(report.timer) + ": " + std::string(report.lap));
        });
    }
    Laps(const Laps&) = delete;
    Laps& operator=(const Laps&) = delete;
    ~Laps() { Instrumentation::setListener(nullptr); }

    std::vector<std::string> reports;
};

TEST(JsonUploadTestPattern, TimesTheEncodingInTwoLaps) {
    const Laps laps;
    ScriptedCommunicator device;
    device.expectAny().reply(R"({"id":1,"result":0})");
    JsonUploadTestPattern(&device).uploadTestPattern(redGreenBlueWhite, L"", L"", 1);
    EXPECT_EQ(laps.reports, (std::vector<std::string>{"JSONUploadTestPattern: Written PNG Image to buffer",
                                                      "JSONUploadTestPattern: Finished Base64 encoding",
                                                      "JSONUploadTestPattern: "}));
}

TEST(JsonUploadTestPattern, RefusesAFileNameBeforeAnyWork) {
    const Laps laps;
    ScriptedCommunicator device;
    JsonUploadTestPattern upload(&device);
    try {
        // The image could not be encoded either; the name is looked at first.
        upload.uploadTestPattern({}, L"C:\\pattern.png", L"", 1);
        FAIL();
    } catch (const DeviceException& e) {
        EXPECT_EQ(e.getMessage(), L"Deprecated API parameter; filename is no longer accepted, only image_t");
        EXPECT_EQ(e.getFile(), "DeviceManager/JsonDevice/JsonUploadTestPattern");
        EXPECT_NE(e.getLine(), 0);
    }
    EXPECT_TRUE(device.requests().empty());
    EXPECT_EQ(laps.reports, std::vector<std::string>{"JSONUploadTestPattern: "});
}

TEST(JsonUploadTestPattern, RejectsAnImageBeforeAnythingIsSent) {
    ScriptedCommunicator device;
    JsonUploadTestPattern upload(&device);
    EXPECT_THROW(upload.uploadTestPattern({32 | 1, 2, 2, rgb}, L"", L"", 1), DeviceException);
    EXPECT_THROW(upload.uploadTestPattern({1, 2, 2, nullptr}, L"", L"", 1), DeviceException);
    EXPECT_THROW(upload.uploadTestPattern({1, 65536, 65536, rgb}, L"", L"", 1), DeviceException);
    EXPECT_TRUE(device.requests().empty());

    // The adapter works on, and its first request is the first.
    device
        .expect(R"({"id":1,"jsonrpc":"2.0","method":"UploadTestPatternInterface::uploadPngTestPatternImage",)"
                R"("params":[")" +
                expectedText() + R"(",1]})")
        .reply(R"({"id":1,"result":5})");
    EXPECT_EQ(upload.uploadTestPattern(redGreenBlueWhite, L"", L"", 1), 5);
}

}  // namespace
