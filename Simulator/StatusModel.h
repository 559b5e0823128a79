#pragma once

#include <array>
#include <chrono>
#include <vector>

#include "Simulator/Feature.h"
#include "Simulator/PowerModel.h"

namespace JsonDevice::Simulation {

/// What a projector tells of itself: identity, hours that grow while it is on,
/// and temperatures that follow the power as warm bodies do.
class StatusModel : public Feature {
public:
    StatusModel(RequestDispatcher& dispatcher, CodeTable& codeTable, const PowerModel& powerModel);

    void advance(std::chrono::steady_clock::duration elapsed) override;
    void show(Scene& scene) const override;

private:
    using Seconds = std::chrono::duration<double>;

    /// A sensor approaches the temperature that its place has while the
    /// projector is on, or off, by the same share in equal times.
    struct Sensor {
        Sensor(CodeTable& codes, const char* code, const wchar_t* name, const char* summary, double warm,
               Seconds timeConstant);
        void advance(Seconds elapsed, bool on);

        const wchar_t* name;
        double warm;
        Seconds timeConstant;
        /// The property has whole degrees.
        double exact;
        Property<Wire::Int> degrees;
    };

    const PowerModel& power;
    /// How long the projector was on that the hours do not count yet.
    Seconds sinceLastHour{0};

    Property<Wire::Int> lampCounter;
    Property<Wire::Ints> lampHours;
    Property<Wire::Int> projectorHours;
    Property<Wire::Text> software;
    Property<Wire::Text> model;
    Property<Wire::Text> serialNumber;
    Property<Wire::Ints> nativeResolution;
    Property<Wire::Text> sampleRate;
    Property<Wire::Text> syncType;
    Property<Wire::Text> sync;
    Property<Wire::Int> lampOvertempIndicator;

    Sensor imageProcessor;
    Sensor panelDriver;
    Sensor backplane;
    Sensor postProcessing;
    Sensor quellFPGA;
    Sensor lampIntake;
    Sensor lampExhaust;
    Sensor dmdHeatsink;
    const std::array<Sensor*, 8> sensors{&imageProcessor, &panelDriver, &backplane,   &postProcessing,
                                         &quellFPGA,      &lampIntake,  &lampExhaust, &dmdHeatsink};
};

}  // namespace JsonDevice::Simulation
