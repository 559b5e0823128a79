#include "DeviceManager/JsonDevice/JsonUploadTestPattern.h"

#include <log4cxx/logger.h>

#include "Common/Base64.h"
#include "DeviceManager/JsonDevice/PngWriter.h"
#include "DeviceManager/JsonDevice/TypedCall.h"
#include "DeviceManager/JsonDevice/Vocabulary/UploadTestPattern.h"
#include "Platform/Timing/Instrumentation.h"
#include "Platform/Transport/DeviceExceptions.h"

namespace JsonDevice {

namespace {

[[maybe_unused]] const log4cxx::LoggerPtr logger =
    log4cxx::Logger::getLogger("DeviceManager.JsonDevice.JsonUploadTestPattern");

namespace Methods = Vocabulary::UploadTestPattern;

/// The text that is uploaded. The PNG file is released before the request is made.
std::string base64Png(const image_t& image, Instrumentation& timer) {
    const std::vector<unsigned char> png = makePng(image, "");
    timer.lap("Written PNG Image to buffer");
    std::string text = encodeBase64(png);
    timer.lap("Finished Base64 encoding");
    return text;
}

}  // namespace

JsonUploadTestPattern::JsonUploadTestPattern(Device* device) : JsonAdapter(device) {
    registerUploadTypes();
}

JsonUploadTestPattern::JsonUploadTestPattern(Communicator* communicator) : JsonAdapter(communicator) {
    registerUploadTypes();
}

JsonUploadTestPattern::~JsonUploadTestPattern() = default;

void JsonUploadTestPattern::registerUploadTypes() {}

int JsonUploadTestPattern::uploadTestPattern(const image_t& image, const std::wstring& filename,
                                             const std::wstring&, int slot) {
    Instrumentation timer("JSONUploadTestPattern");
    if (!filename.empty()) {
        throw DeviceException("DeviceManager/JsonDevice/JsonUploadTestPattern", 62,
                              L"Deprecated API parameter; filename is no longer accepted, only image_t");
    }
    return TypedCall::call(*connection, Methods::uploadPngTestPatternImage, base64Png(image, timer), slot);
}

std::vector<std::pair<int, std::wstring>> JsonUploadTestPattern::getAvailableUploadSlots() {
    return TypedCall::call(*connection, Methods::getAvailableUploadSlots);
}

void JsonUploadTestPattern::removeUploadedTestPattern(int slot) {
    TypedCall::call(*connection, Methods::removeUploadedTestPattern, slot);
}

}  // namespace JsonDevice
