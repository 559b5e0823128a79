#include <algorithm>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "Common/Base64.h"
#include "Common/Exceptions.h"
#include "Common/WideText.h"
#include "Common/ZLibCompress.h"
#include "DeviceManager/JsonDevice/JsonExceptions.h"
#include "DeviceManager/JsonDevice/JsonMasking.h"
#include "DeviceManager/JsonDevice/JsonStatus.h"
#include "DeviceManager/JsonDevice/MarshalTypes.h"
#include "Platform/Devices/RasterGrayscaleImage.h"
#include "Platform/Transport/TcpCommunicator.h"
#include "Simulator/Simulator.h"

namespace {

Json::Value encoded(const RasterGrayscaleImage& image, const char* compression) {
    // The registered type is the abstract one.
    const GrayscaleImage* const written = &image;
    return JsonDevice::MarshalJson::instance()->toJson("GrayscaleImage", written,
                                                       {{"compression", compression}});
}

/// Whether it reads as the image.
bool isDecoded(const Json::Value& json, const RasterGrayscaleImage& image) {
    JsonDevice::MarshalJson& registry = *JsonDevice::MarshalJson::instance();
    void* const read = registry.fromJson(json, "GrayscaleImage");
    if (read == nullptr) {
        return false;
    }
    const auto* const decoded = static_cast<const GrayscaleImage*>(read);
    const int h = image.getHSize();
    bool equal = decoded->getHSize() == h && decoded->getVSize() == image.getVSize();
    std::vector<float> buffer(static_cast<std::size_t>(h));
    for (int y = 0; equal && y < image.getVSize(); ++y) {
        const float* const expected = image.getCenterValues(0, y, h, nullptr);
        equal = std::equal(expected, expected + h, decoded->getCenterValues(0, y, h, buffer.data()));
    }
    registry.destroy("GrayscaleImage", read);
    return equal;
}

/// Every part that keeps something in the process: the registry, loggers, worker
/// threads, the curves' XML reader, sockets, and exceptions that are thrown across libraries.
std::string use() {
    JsonDevice::Simulator simulator;
    simulator.start();
    TcpCommunicator communicator(simulator.getAddress());
    JsonDevice::JsonStatus status(&communicator);
    if (status.getModel().empty()) {
        return "no model";
    }
    simulator.misbehave("error,count=1");
    try {
        status.getModel();
        return "no error";
    } catch (const JsonDevice::ErrorReplyException&) {
    }

    // Large enough for worker threads.
    RasterGrayscaleImage image(1024, 512, nullptr);
    std::fill_n(image.getData() + 300000, 100000, 1.0F);
    for (const char* const compression : {"RLE", "ZLIB"}) {
        if (!isDecoded(encoded(image, compression), image)) {
            return std::string("no image in ") + compression;
        }
    }

    JsonDevice::MarshalJson& registry = *JsonDevice::MarshalJson::instance();
    JsonDevice::JsonMasking masking(&communicator);
    Json::Value curves(Json::objectValue);
    curves["name"] = curves["xml"] = "";
    curves["bottom"] = "<CubicControlCurve><Point x='0' y='0.1'/><Point x='1' y='0.2'/></CubicControlCurve>";
    curves["top"] = curves["left"] = curves["right"] = Json::nullValue;
    void* const proxy = registry.fromJson(curves, "ControlCurveProxy");
    if (proxy == nullptr) {
        return "no curves";
    }
    registry.destroy("ControlCurveProxy", proxy);
    return {};
}

/// A raster is taken over by worker threads while it is inflated, and nothing else
/// has called for any before.
std::string decodeAlone() {
    const RasterGrayscaleImage image(1024, 512, nullptr);
    std::vector<unsigned char> bytes(1024 * 512);
    std::vector<unsigned char> deflated(bytes.size());
    unsigned long length = 0;
    if (ZLibCompress::zLibDeflate(bytes.data(), bytes.size(), deflated.data(), deflated.size(), length) !=
        ZLibCompress::NoError) {
        return "nothing to decode";
    }
    Json::Value json(Json::objectValue);
    json["h"] = 1024;
    json["v"] = 512;
    json["compression"] = "ZLIB";
    json["raster"] = encodeBase64(std::span(deflated).first(length));
    return isDecoded(json, image) ? "" : "no image";
}

/// What it says, or what it throws; there until the next call.
const char* result(std::string (*part)()) {
    static std::string failure;
    try {
        failure = part();
    } catch (const KorvanExceptionBase& error) {
        failure = toUtf8(error.getMessage());
    }
    return failure.c_str();
}

}  // namespace

// An empty text when all went well.
extern "C" JSONDEVICE_EXPORT const char* useLibrary() {
    return result(use);
}
extern "C" JSONDEVICE_EXPORT const char* decodeImage() {
    return result(decodeAlone);
}
