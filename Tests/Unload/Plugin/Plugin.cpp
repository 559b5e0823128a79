#include <memory>
#include <string>

#include "Common/Exceptions.h"
#include "Common/WideText.h"
#include "DeviceManager/JsonDevice/JsonExceptions.h"
#include "DeviceManager/JsonDevice/JsonMasking.h"
#include "DeviceManager/JsonDevice/JsonStatus.h"
#include "DeviceManager/JsonDevice/MarshalTypes.h"
#include "Platform/Devices/RasterGrayscaleImage.h"
#include "Platform/Transport/TcpCommunicator.h"
#include "Simulator/Simulator.h"

namespace {

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

    JsonDevice::MarshalJson& registry = *JsonDevice::MarshalJson::instance();
    const RasterGrayscaleImage image(1024, 512, nullptr);
    // The registered type is the abstract one.
    const GrayscaleImage* const written = &image;
    const Json::Value json = registry.toJson("GrayscaleImage", written, {});
    void* const read = registry.fromJson(json, "GrayscaleImage");
    if (read == nullptr) {
        return "no image";
    }
    registry.destroy("GrayscaleImage", read);

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

}  // namespace

/// An empty text when all went well; it is there until the next call.
extern "C" JSONDEVICE_EXPORT const char* useLibrary() {
    static std::string failure;
    try {
        failure = use();
    } catch (const KorvanExceptionBase& error) {
        failure = toUtf8(error.getMessage());
    }
    return failure.c_str();
}
