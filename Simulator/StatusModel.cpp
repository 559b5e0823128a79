#include "Simulator/StatusModel.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "DeviceManager/JsonDevice/Vocabulary/Status.h"
#include "Simulator/Scene.h"

namespace JsonDevice::Simulation {

namespace Methods = Vocabulary::Status;

namespace {

using std::chrono::minutes;

constexpr double roomTemperature = 22;
/// The lamp's exhaust has 68 degrees in normal use.
constexpr int overtemperature = 85;

CodeDescription fact(const char* code, const char* summary, const char* unit = "") {
    return {.code = code, .summary = summary, .unit = unit, .readOnly = true};
}

}  // namespace

StatusModel::Sensor::Sensor(CodeTable& codes, const char* code, const wchar_t* sensorName,
                            const char* summary, double warmTemperature, Seconds constant)
    : name(sensorName),
      warm(warmTemperature),
      timeConstant(constant),
      exact(warmTemperature),
      degrees(codes, fact(code, summary, "°C"), static_cast<int>(warmTemperature)) {}

void StatusModel::Sensor::advance(Seconds elapsed, bool on) {
    // Another value was put there meanwhile: go on from it.
    if (degrees.get() != std::lround(exact)) {
        exact = degrees.get();
    }
    const double target = on ? warm : roomTemperature;
    exact = target + (exact - target) * std::exp(-elapsed / timeConstant);
    degrees.set(static_cast<int>(std::lround(exact)));
}

StatusModel::StatusModel(RequestDispatcher& dispatcher, CodeTable& codeTable, const PowerModel& powerModel)
    : Feature(dispatcher, codeTable),
      power(powerModel),
      lampCounter(codes, fact("lampCounter", "The number of lamps."), 2),
      lampHours(codes, fact("lampHours", "The hours of each lamp.", "h"), {412, 398}),
      projectorHours(codes, fact("projectorHours", "The hours that the projector has run.", "h"), 1520),
      software(codes, fact("software", "The version of the software."), L"4.2.1"),
      model(codes, fact("model", "The name of the model."), L"Simulated projector"),
      serialNumber(codes, fact("serialNumber", "The serial number."), L"SIM-000001"),
      nativeResolution(codes, fact("nativeResolution", "Width and height of the picture.", "px"),
                       {1920, 1200}),
      sampleRate(codes, fact("sampleRate", "The sample rate of the input signal."), L"154.0 MHz"),
      syncType(codes, fact("syncType", "The kind of synchronisation of the input signal."), L"Digital"),
      sync(codes, fact("sync", "The synchronisation frequencies of the input signal."),
           L"74.0 kHz / 60.0 Hz"),
      lampOvertempIndicator(codes, fact("lampOvertempIndicator", "Whether a lamp is too hot (not 0)."), 0),
      imageProcessor(codes, "imageProcessorTemperature", L"Image processor",
                     "The temperature of the image processor.", 52, minutes(4)),
      panelDriver(codes, "panelDriverTemperature", L"Panel driver", "The temperature of the panel driver.",
                  47, minutes(5)),
      backplane(codes, "backplaneTemperature", L"Backplane", "The temperature of the backplane.", 38,
                minutes(9)),
      postProcessing(codes, "postProcessingTemperature", L"Post-processing",
                     "The temperature of the post-processing.", 49, minutes(4)),
      quellFPGA(codes, "quellFPGATemperature", L"Quell FPGA", "The temperature of the Quell FPGA.", 57,
                minutes(3)),
      lampIntake(codes, "lampIntakeTemperature", L"Lamp intake",
                 "The temperature of the air that goes to the lamp.", 29, minutes(6)),
      lampExhaust(codes, "lampExhaustTemperature", L"Lamp exhaust",
                  "The temperature of the air that comes from the lamp.", 68, minutes(2)),
      dmdHeatsink(codes, "dmdHeatsinkTemperature", L"DMD heat sink",
                  "The temperature of the DMD's heat sink.", 43, minutes(7)) {
    serveGet(Methods::getLampCounter, lampCounter);
    serveGet(Methods::getLampHours, lampHours);
    serveGet(Methods::getProjectorHours, projectorHours);
    serveGet(Methods::getSoftware, software);
    serveGet(Methods::getModel, model);
    serveGet(Methods::getSerialNumber, serialNumber);
    serveGet(Methods::getNativeResolution, nativeResolution);
    serveGet(Methods::getSampleRate, sampleRate);
    serveGet(Methods::getSyncType, syncType);
    serveGet(Methods::getSync, sync);
    serveGet(Methods::getLampOvertempIndicator, lampOvertempIndicator);
    serveGet(Methods::getImageProcessorTemperature, imageProcessor.degrees);
    serveGet(Methods::getPanelDriverTemperature, panelDriver.degrees);
    serveGet(Methods::getBackplaneTemperature, backplane.degrees);
    serveGet(Methods::getPostProcessingTemperature, postProcessing.degrees);
    serveGet(Methods::getQuellFPGATemperature, quellFPGA.degrees);
    serveGet(Methods::getLampIntakeTemperature, lampIntake.degrees);
    serveGet(Methods::getLampExhaustTemperature, lampExhaust.degrees);
    serveGet(Methods::getDMDHeatsinkTemperature, dmdHeatsink.degrees);
    requests.bind(Methods::getAllTemperatures, [this] {
        Wire::Temperatures::Native all{true, {}};
        for (const Sensor* sensor : sensors) {
            all.second.first.emplace_back(sensor->name);
            all.second.second.push_back(sensor->degrees.get());
        }
        return all;
    });
}

void StatusModel::advance(std::chrono::steady_clock::duration elapsed) {
    const Seconds seconds = elapsed;
    if (power.isOn()) {
        sinceLastHour += seconds;
        const auto hours = std::chrono::duration_cast<std::chrono::hours>(sinceLastHour);
        sinceLastHour -= hours;
        std::vector<int> lamps = lampHours.get();
        for (int& lamp : lamps) {
            lamp += static_cast<int>(hours.count());
        }
        lampHours.set(std::move(lamps));
        projectorHours.set(projectorHours.get() + static_cast<int>(hours.count()));
    }
    for (Sensor* sensor : sensors) {
        sensor->advance(seconds, power.isOn());
    }
    lampOvertempIndicator.set(lampExhaust.degrees.get() > overtemperature ? 1 : 0);
}

void StatusModel::show(Scene& scene) const {
    const std::vector<int>& resolution = nativeResolution.get();
    if (resolution.size() == 2) {
        // Also what the device itself sets is drawn: within what can be.
        scene.width = std::clamp(resolution[0], 1, 65536);
        scene.height = std::clamp(resolution[1], 1, 65536);
    }
}

}  // namespace JsonDevice::Simulation
